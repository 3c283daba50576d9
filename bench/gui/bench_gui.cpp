// The toolkit's drawing on its hot paths, each beside a plain copy of one
// 720x576 ARGB frame measured in the same run:
//  - a cursor move on a list of 500 rows, with the frame that shows it
//    composed (the two rows that changed, or the whole list when it scrolls);
//  - a full screen compose of a window that holds a full list.
// Both have frame budgets: at most 2 ms and 5 ms.

#include "support/ratio_report.h"

#include "gui/elistbox.h"
#include "gui/escreen.h"
#include "gui/ewindow.h"
#include "gui/gpixmap.h"

#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr int rowCount = 500;

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

void cursorMove(benchmark::State &state)
{
    ListScreen screen;
    for (auto _ : state) {
        screen.list->goNext();
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

const bool registered = [] {
    benchmark::RegisterBenchmark("gui/list_cursor_move_500", cursorMove)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("gui/list_cursor_move_500/reference", frameCopy)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("gui/full_compose", fullCompose)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("gui/full_compose/reference", frameCopy)->Unit(benchmark::kMicrosecond);
    // Frame budgets: a key press must show within a fraction of a 40 ms PAL frame.
    bench::targetAbsolute("gui/list_cursor_move_500", 2000.0);
    bench::targetAbsolute("gui/full_compose", 5000.0);
    return true;
}();

} // namespace

TARNWAVE_BENCH_MAIN()
