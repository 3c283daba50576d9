// hello_list: a small, complete box plug-in to copy when you start one.
//
// It shows one window with a list of fruit, a line that says which fruit was
// chosen, and captions for the two colour keys it uses:
//
//   up, down   move the list's cursor (the list does this itself)
//   OK         shows the row under the cursor in the line below the list, and
//              keeps it in the box's settings for the next start
//   red        sorts the rows by name
//   green      adds a row and puts the cursor on it
//   exit       closes the window: gPlugin_exec returns to the host
//
// It includes nothing but the SDK (the host's headers, "base/...", "gui/...",
// "system/...") and the standard library, and links nothing but the host
// library; see CMakeLists.txt here and host/README.md.

#include "base/econfig.h"
#include "base/elog.h"
#include "base/estring.h"
#include "gui/eaction.h"
#include "gui/elabel.h"
#include "gui/elistbox.h"
#include "gui/eskin.h"
#include "gui/etextpara.h"
#include "gui/ewindow.h"
#include "system/ezaplcd.h"
#include "system/gplugin.h"

#include <string>

namespace {

// Where the last choice is kept in the box's settings. Prefix every key with
// your plug-in's name so that it never meets another plug-in's key.
constexpr const char *lastChosenKey = "/hello_list/lastChosen";

// A list row: eListBoxEntryText draws one line of text; this row adds an
// order, so that eListBoxBase::sort() can sort by name (the default order of
// rows is "keep them as they are").
class FruitRow : public eListBoxEntryText
{
public:
    FruitRow(eListBox<FruitRow> *list, const eString &name) : eListBoxEntryText(list, name) { }

    bool operator<(const eListBoxEntry &other) const override { return getText() < other.getText(); }
};

class HelloListWindow : public eWindow
{
public:
    HelloListWindow()
    {
        // The name is for tests and the control API; the text is the title.
        setName("hello-list");
        setText("Hello list");
        // cmove/cresize place the client area, the part below the title bar.
        cmove(ePoint(160, 110));
        cresize(eSize(400, 330));

        makeList();
        makeChosenLine();
        makeKeyCaptions();

        // The window gets every key first. eWindow already has the cursor
        // actions (up, down, ok, exit, ...); the colour keys come with the
        // shortcut actions.
        addActionMap(&i_shortcutActions->map);
        setFocus(m_list);
    }

    int eventHandler(const eWidgetEvent &event) override
    {
        if (event.type == eWidgetEvent::evtAction) {
            if (event.action == &i_shortcutActions->red) {
                m_list->sort();
                return 1; // used: nobody else sees it
            }
            if (event.action == &i_shortcutActions->green) {
                addRow();
                return 1;
            }
        }
        // Everything else: the focused list moves its cursor and emits
        // `selected` on OK, and the exit key closes the window (exec() then
        // returns -1).
        return eWindow::eventHandler(event);
    }

private:
    void makeList()
    {
        // Children made with `new` and a parent belong to the parent: the
        // window deletes them when it is destroyed. The same holds for rows,
        // which belong to their list.
        m_list = new eListBox<FruitRow>(this);
        m_list->setName("fruit");
        m_list->move(ePoint(10, 10));
        m_list->resize(eSize(380, 6 * eListBoxEntryText::getEntryHeight() + 2));
        for (const char *name : {"Cherry", "Apple", "Banana"})
            new FruitRow(m_list, name);
        // OK on a row. The slot is disconnected by itself when the window
        // goes (a SigC::Object), so it can never run on a deleted window.
        CONNECT(m_list->selected, HelloListWindow::rowChosen);
    }

    void makeChosenLine()
    {
        m_chosen = new eLabel(this, eLabel::flagVCenter);
        m_chosen->setName("chosen");
        m_chosen->move(ePoint(10, 6 * eListBoxEntryText::getEntryHeight() + 22));
        m_chosen->resize(eSize(380, 32));
        // Settings outlive the plug-in: the box keeps them in its store.
        eString last;
        if (eConfig::getInstance()->getKey(lastChosenKey, last) == 0)
            m_chosen->setText("Chosen last time: " + last);
        else
            m_chosen->setText("Nothing chosen yet");
    }

    // The captions take their colours and font from the active skin; every
    // lookup gives a fallback, so a skin without these names still works.
    void makeKeyCaptions()
    {
        const int top = getClientSize().height() - 46;
        makeCaption("key-red", "Sort", "std_dred", gColor(198, 40, 40), ePoint(10, top));
        makeCaption("key-green", "Add", "std_dgreen", gColor(46, 125, 50), ePoint(205, top));
    }

    void makeCaption(const char *name, const char *text, const char *skinColor, gColor fallback, ePoint position)
    {
        const eSkin *skin = eSkin::getActive();
        auto *caption = new eLabel(this, eLabel::flagVCenter);
        caption->setName(name);
        caption->move(position);
        caption->resize(eSize(185, 36));
        caption->setAlign(eTextPara::dirCenter);
        caption->setFont(skin->queryFont("epg.title"));
        caption->setBackgroundColor(skin->queryColor(skinColor, fallback));
        caption->setText(text);
    }

    void rowChosen(FruitRow *row)
    {
        if (row == nullptr) // OK on an empty list
            return;
        m_chosen->setText("Chosen: " + row->getText());
        // Writes the store at once, atomically; a failure is logged by the
        // host and the value is still kept for this run.
        eConfig::getInstance()->setKey(lastChosenKey, row->getText());
        eDebug("[hello_list] chose %s", row->getText().c_str());
    }

    void addRow()
    {
        ++m_added;
        auto *row = new FruitRow(m_list, eString().sprintf("New fruit %d", m_added));
        m_list->setCurrent(row);
    }

    eListBox<FruitRow> *m_list = nullptr;
    eLabel *m_chosen = nullptr;
    int m_added = 0;
};

} // namespace

// The plug-in's one exported symbol, looked up by name (system/gplugin.h):
// C linkage, default visibility (everything else is hidden, see
// CMakeLists.txt here). The host calls it on its GUI thread, inside its main
// loop, and waits for it to return; the window's exec() runs a nested loop
// meanwhile, so timers, transfers and painting go on.
GPLUGIN_ENTRY int gPlugin_exec(int command)
{
    if (command != gPluginRun) // any other command is only answered
        return 0;

    // While a plug-in runs, the front panel shows the menu page; a window
    // bound to it writes its title there and its lists their current row.
    eZapLCD *lcd = eZapLCD::getInstance();
    lcd->idlePage->hide();
    lcd->menuPage->show();

    {
        HelloListWindow window;
        window.setLCD(lcd->menuPage->title, lcd->menuPage->content);
        window.show();
        const int result = window.exec(); // until close(): -1 after the exit key
        window.hide();
        eDebug("[hello_list] window closed with %d", result);
    } // the window and everything in it are deleted here

    lcd->menuPage->hide();
    lcd->idlePage->show();
    return 0;
}
