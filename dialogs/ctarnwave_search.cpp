// The search window's layout.

#include "dialogs/ctarnwave_search.h"

#include "base/messages.h"
#include "gui/ebutton.h"
#include "gui/eskin.h"

Ctarnwave_search::Ctarnwave_search(std::string text) : eWindow(0)
{
    cmove(ePoint(140, 120));
    cresize(eSize(450, 100));
    setText(translated("search"));

    const int fontsize = eSkin::getActive()->queryValue("fontsize", 20);

    // The field wears the number field's decoration, as the box's other
    // input windows do.
    input = new eTextInputField(this, nullptr, nullptr, "eNumber");
    input->move(ePoint(5, 5));
    input->resize(eSize(440, fontsize + 10));
    input->setMaxChars(100);
    input->loadDeco();
    input->setText(text);

    eButton *start = new eButton(this, nullptr, 1, "eButton");
    start->move(ePoint(120, getClientSize().height() - 50));
    start->resize(eSize(170, fontsize + 15));
    start->setText(translated("start"));
    start->loadDeco();
    CONNECT(start->selected, eWidget::accept);
}
