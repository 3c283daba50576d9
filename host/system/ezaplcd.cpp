#include "system/ezaplcd.h"

#include "gui/eskin.h"
#include "gui/widgets/escreen.h"
#include "gui/widgets/json_writer.h"

namespace {

constexpr int titleHeight = 22;

} // namespace

eZapLCDPage::eZapLCDPage()
{
    setScreen(&eScreen::lcd());
    const eSize size = eScreen::lcd().size();
    resize(size);
    setBackgroundColor(gColor(0, 0, 0));
    const eSkin *skin = eSkin::getActive();

    title = new eLabel(this, eLabel::flagVCenter | eLabel::flagNoWrap, 0, "");
    title->move(ePoint(2, 0));
    title->resize(eSize(size.width() - 4, titleHeight));
    title->setFont(gFont("Bold", skin->queryValue("lcd.titleSize", 14)));
    title->setForegroundColor(gColor(255, 255, 255));

    content = new eLabel(this, 0, 0, "");
    content->move(ePoint(2, titleHeight + 2));
    content->resize(eSize(size.width() - 4, size.height() - titleHeight - 2));
    content->setFont(gFont("Regular", skin->queryValue("lcd.contentSize", 13)));
    content->setForegroundColor(gColor(255, 255, 255));
}

eZapLCD::eZapLCD() : idlePage(new eZapLCDPage), menuPage(new eZapLCDPage)
{
    idlePage->title->setText("Tarnwave Box");
    idlePage->show();
}

eZapLCD *eZapLCD::getInstance()
{
    // Made on first use and kept for the life of the process, like the panel.
    static eZapLCD *lcd = new eZapLCD;
    return lcd;
}

std::string eZapLCD::describe() const
{
    const auto page = [](JsonWriter &json, const eZapLCDPage *lcdPage) {
        json.beginObject();
        json.key("title").value(lcdPage->title->getText());
        json.key("content").value(lcdPage->content->getText());
        json.key("shown").value(lcdPage->isVisible());
        json.endObject();
    };
    JsonWriter json;
    json.beginObject();
    json.key("shown").value(menuPage->isVisible() ? "menu" : idlePage->isVisible() ? "idle" : "none");
    json.key("idle");
    page(json, idlePage);
    json.key("menu");
    page(json, menuPage);
    json.endObject();
    return json.str();
}
