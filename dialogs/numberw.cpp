// The number window's layout and its wait for more digits.

#include "dialogs/numberw.h"

#include "base/ebase.h"
#include "base/messages.h"
#include "gui/elabel.h"
#include "gui/eskin.h"

namespace {

// How long the window waits for another digit before it takes the number.
constexpr int digitWaitMs = 3000;

} // namespace

numberW::numberW(int firstDigit, int maxNumber) : eWindow(0)
{
    // The window has no more specific caption than this.
    setText(translated("Title"));
    move(ePoint(200, 140));
    resize(eSize(280, 120));

    const int fontsize = eSkin::getActive()->queryValue("fontsize", 20);

    eLabel *label = new eLabel(this, 0, 0, "eLabel");
    label->setText(translated("Number:"));
    label->move(ePoint(50, 15));
    label->resize(eSize(110, fontsize + 4));

    eString maxText;
    maxText.setNum(maxNumber, 10);
    const int maxDigits = static_cast<int>(maxText.length());

    number = new eNumber(this, 1, 1, maxNumber, maxDigits, nullptr, 1, label, 1, "eNumber");
    number->move(ePoint(160, 15));
    number->resize(eSize(60, fontsize + 4));
    number->setNumber(firstDigit);
    CONNECT(number->selected, numberW::selected);
    CONNECT(number->numberChanged, numberW::numberChanged);

    // The wait runs from now, before any further digit.
    timer = new eTimer(eApp);
    timer->start(digitWaitMs, true);
    CONNECT(timer->timeout, numberW::timeout);
}

numberW::~numberW()
{
    // A timeout after the window closed must not reach it.
    if (timer->isActive())
        timer->stop();
    delete timer;
}

void numberW::numberChanged()
{
    timer->start(digitWaitMs, true);
}

void numberW::selected(int *value)
{
    timer->stop();
    if (!value)
        close(-1);
    else
        close(number->getNumber());
}

void numberW::timeout()
{
    // Running out of time takes the number shown, as OK does.
    close(number->getNumber());
}
