// A skin file loaded as the box loads its skin, then the toolkit's widgets
// drawn with it and each window it builds made, shown and drawn. Checked: a file that is refused adds nothing; one
// that loads answers every lookup of the names it holds, and builds exactly
// the windows it knows.

#include "fuzz_support.h"

#include "gui/ebutton.h"
#include "gui/elabel.h"
#include "gui/elistbox.h"
#include "gui/emessagebox.h"
#include "gui/enumber.h"
#include "gui/eskin.h"
#include "gui/etextinputfield.h"
#include "gui/ewidget.h"
#include "gui/ewindow.h"
#include "gui/widgets/escreen.h"
#include "net/xmltree.h"
#include "support/temp_dir.h"

#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <string_view>

namespace {

// The names the file gives its items, read with a parser of its own: every
// "name" attribute of an element two levels below the root.
std::set<std::string> itemNames(std::string_view contents)
{
    std::set<std::string> names;
    XMLTreeParser parser(nullptr);
    parser.Parse(contents.data(), static_cast<int>(contents.size()), 1);
    const XMLTreeNode *root = parser.RootNode();
    for (const XMLTreeNode *section = root ? root->GetChild() : nullptr; section; section = section->GetNext())
        for (const XMLTreeNode *item = section->GetChild(); item; item = item->GetNext())
            if (const char *name = item->GetAttributeValue("name"))
                names.insert(name);
    return names;
}

void checkNothingAdded(const eSkin &skin, const std::set<std::string> &names)
{
    for (const std::string &name : names) {
        FUZZ_CHECK(!skin.hasColor(name) && !skin.hasFont(name) && !skin.hasValue(name) && !skin.hasBuild(name)
                       && !skin.queryDeco(name).valid && skin.queryImage(name) == nullptr,
                   "a refused skin added " + fuzz::printable(name));
    }
}

// The toolkit's widgets, which take their look from the active skin (window
// title and border, fonts of labels, list rows, number and text fields, a
// message box), made and drawn in a window.
void drawToolkitWindow()
{
    eWindow window;
    window.setText("Internet radio");
    window.move(ePoint(80, 90));
    window.resize(eSize(560, 430));
    auto *list = new eListBox<eListBoxEntryText>(&window, nullptr, 1, 0, "eListBox");
    list->move(ePoint(0, 50));
    list->resize(eSize(540, 200));
    for (const char *row : {"Jazz", "Caf\xC3\xA9 M\xC3\xBCnchen", ""})
        new eListBoxEntryText(list, row);
    auto *label = new eLabel(&window);
    label->setText("status");
    label->resize(eSize(200, 30));
    auto *button = new eButton(&window);
    button->setText("OK");
    button->resize(eSize(100, 40));
    int number = 7;
    auto *digits = new eNumber(&window, 1, 0, 999, 3, &number);
    digits->resize(eSize(80, 40));
    auto *field = new eTextInputField(&window);
    field->setText("disco");
    field->resize(eSize(200, 40));
    window.show();
    eMessageBox box("Delete the favourite?", "Favourites", eMessageBox::btYes | eMessageBox::btNo);
    box.show();
    eScreen::osd().compose();
    box.hide();
    window.hide();
    eScreen::osd().compose();
}

// Every lookup answers; every window build the skin has is made and drawn.
void useEverything(eSkin &skin, const std::set<std::string> &names)
{
    skin.setActive();
    drawToolkitWindow();
    for (const std::string &name : names) {
        skin.queryColor(name);
        skin.queryFont(name);
        skin.queryValue(name, 0);
        skin.queryImage(name);
        skin.queryDeco(name);
        eWidget window;
        window.move(ePoint(80, 90));
        window.resize(eSize(560, 430));
        const bool known = skin.hasBuild(name);
        FUZZ_CHECK((skin.build(&window, name.c_str()) == 0) == known, "build and hasBuild disagree on " + name);
        FUZZ_CHECK(known || window.getChildren().empty(), "an unknown build made widgets: " + name);
        window.show();
        eScreen::osd().compose();
        window.hide();
    }
    eScreen::osd().compose();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static TempDir directory;
    const std::string_view contents = fuzz::text(data, size);
    const std::string path = directory.str() + "/skin.xml";
    writeFile(path, std::string(contents));

    const std::set<std::string> names = itemNames(contents);
    eSkin skin;
    if (skin.load(path.c_str()) != 0)
        checkNothingAdded(skin, names);
    else
        useEverything(skin, names);
    return 0;
}
