// The toolkit's drawing on its hot paths, each beside a plain copy of one
// 720x576 ARGB frame measured in the same run:
//  - a cursor move within the page of a list of 500 rows, with the frame
//    that shows it composed (the two rows that changed);
//  - a full screen compose of a window that holds a full list.
// And a list of 100,000 rows filled, sorted, paged to its end and cleared,
// beside the same rows in a plain vector: only rows in view are drawn and
// nothing walks the whole list per row, so the list stays within a small
// factor of the vector.

#include "support/ratio_report.h"

#include "gui/elistbox.h"
#include "gui/ewindow.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int rowCount = 500;
constexpr int largeRowCount = 100000;

// A window laid out as the radio's main window: a list over most of the screen.
struct ListScreen
{
    ListScreen()
    {
        window = std::make_unique<eWindow>(0);
        window->setText("Tarnwave / Top List");
        window->cmove(ePoint(80, 90));
        window->cresize(eSize(560, 430));
        list = new eListBox<eListBoxEntryText>(window.get());
        list->move(ePoint(0, 0));
        list->resize(eSize(560, 330));
        list->setFlags(eListBoxBase::flagWrapAround);
        for (int i = 1; i <= rowCount; ++i)
            new eListBoxEntryText(list, eString().sprintf("%d  Station number %d - the best of radio", i, i));
        window->show();
        eScreen::osd().invalidateAll();
        eScreen::osd().compose();
    }

    std::unique_ptr<eWindow> window;
    eListBox<eListBoxEntryText> *list = nullptr;
};

void frameCopy(benchmark::State &state)
{
    const std::size_t pixels = 720 * 576;
    std::vector<std::uint32_t> source(pixels, 0x80402010u);
    std::vector<std::uint32_t> target(pixels);
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), pixels * sizeof(std::uint32_t));
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
}

// Down and up again within the page: each move repaints the two rows that
// changed (a move that scrolls repaints the list, as a full compose does).
void cursorMove(benchmark::State &state)
{
    ListScreen screen;
    bool down = true;
    for (auto _ : state) {
        if (down)
            screen.list->goNext();
        else
            screen.list->goPrev();
        down = !down;
        eScreen::osd().compose();
    }
    benchmark::DoNotOptimize(eScreen::osd().pixmap().data());
}

void fullCompose(benchmark::State &state)
{
    ListScreen screen;
    for (auto _ : state) {
        eScreen::osd().invalidateAll();
        eScreen::osd().compose();
    }
    benchmark::DoNotOptimize(eScreen::osd().pixmap().data());
}

// A text row ordered by a key, as the plug-in's rows are.
class KeyedRow : public eListBoxEntryText
{
public:
    KeyedRow(eListBoxBase *list, const eString &text, int sortKey) : eListBoxEntryText(list, text), key(sortKey) { }
    bool operator<(const eListBoxEntry &other) const override { return key < static_cast<const KeyedRow &>(other).key; }

    int key;
};

void largeList(benchmark::State &state)
{
    eWindow window(0);
    window.cmove(ePoint(100, 80));
    window.cresize(eSize(400, 360));
    auto *list = new eListBox<KeyedRow>(&window, nullptr, 1, 30);
    list->move(ePoint(0, 0));
    list->resize(window.getClientSize());
    window.show();
    for (auto _ : state) {
        // Filled in reverse key order, half of it inside an update.
        for (int i = 0; i < largeRowCount / 2; ++i)
            new KeyedRow(list, eString().setNum(i), largeRowCount - i);
        list->beginAtomic();
        for (int i = largeRowCount / 2; i < largeRowCount; ++i)
            new KeyedRow(list, eString().setNum(i), largeRowCount - i);
        list->endAtomic();
        list->sort();
        list->setCurrent(list->getEntry(0));
        int pages = 0;
        while (list->goPageDown() == 0) {
            if (++pages % 1000 == 0)
                eScreen::osd().compose();
        }
        eScreen::osd().compose();
        list->clearList();
        eScreen::osd().compose();
    }
}

// The same rows as plain records in a vector: filled, sorted by key, paged
// through by index and cleared.
void largeListReference(benchmark::State &state)
{
    struct Row
    {
        std::string text;
        int key;
    };
    std::vector<std::unique_ptr<Row>> rows;
    constexpr std::size_t pageSize = 12;
    for (auto _ : state) {
        for (int i = 0; i < largeRowCount; ++i)
            rows.push_back(std::make_unique<Row>(Row{std::to_string(i), largeRowCount - i}));
        std::stable_sort(rows.begin(), rows.end(), [](const auto &a, const auto &b) { return a->key < b->key; });
        std::size_t current = 0;
        while (current + pageSize < rows.size())
            current += pageSize;
        benchmark::DoNotOptimize(rows[current].get());
        rows.clear();
    }
}

const bool registered = [] {
    bench::registerPair("gui/list_cursor_move_500", cursorMove, frameCopy);
    bench::registerPair("gui/full_compose", fullCompose, frameCopy);
    bench::registerPair("gui/list_100000_rows", largeList, largeListReference, 7);
    // Only the two changed rows are repainted on a cursor move; a full
    // compose paints the whole screen a few times over (background, window,
    // list, rows).
    bench::targetAtMost("gui/list_cursor_move_500", 2.0);
    bench::targetAtMost("gui/full_compose", 4.0);
    bench::targetAtMost("gui/list_100000_rows", 20.0);
    return true;
}();

} // namespace

TARNWAVE_BENCH_MAIN()
