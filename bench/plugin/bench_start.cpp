// Starting the plug-in as the host's menu does: tarnwave.so loaded with
// dlopen, gPlugin_exec(301) called, until the first frame that shows its
// window is composed, with 100 favourites in the favourites file (the plug-in
// opens on them). Beside it, interleaved: a bare toolkit window with a list of
// 100 text rows, shown and run until its first frame, which is what opening
// any window of that size costs. The target is absolute: at most 30 ms.

#include "support/directory_reply.h"
#include "support/ratio_report.h"

#include "base/boxpath.h"
#include "base/ebase.h"
#include "base/econfig.h"
#include "base/elog.h"
#include "gui/elistbox.h"
#include "gui/eskin.h"
#include "gui/ewindow.h"
#include "gui/widgets/escreen.h"
#include "system/gplugin.h"
#include "support/temp_dir.h"

#include <dlfcn.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int favouriteCount = 100;

// The box around the plug-in: a root with the favourites, the loop, the built
// default skin, and the plug-in loaded as the host loads it.
class StartBench
{
public:
    static StartBench &instance()
    {
        static StartBench bench;
        return bench;
    }

    // Runs `open` (which shows a window and runs it) until the first frame is
    // composed, then presses exit so that it returns; the microseconds from
    // the call to that frame.
    double untilFirstFrame(const std::function<void()> &open)
    {
        std::optional<Clock::time_point> firstFrame;
        SigC::Connection watch = eScreen::osd().frameComposed.connect([&firstFrame](const eRect &) {
            if (firstFrame)
                return;
            firstFrame = Clock::now();
            eApp->post([] { eScreen::osd().handleKey("exit"); });
        });
        const Clock::time_point start = Clock::now();
        open();
        watch.disconnect();
        if (!firstFrame)
            throw std::runtime_error("no frame was composed");
        return std::chrono::duration<double, std::micro>(*firstFrame - start).count();
    }

    double pluginStart()
    {
        return untilFirstFrame([this] { entry_(gPluginRun); });
    }

    double bareWindow()
    {
        return untilFirstFrame([] {
            eWindow window(0);
            window.setText("Favourites");
            window.cmove(ePoint(80, 90));
            window.cresize(eSize(560, 430));
            auto *list = new eListBox<eListBoxEntryText>(&window);
            list->move(ePoint(0, 50));
            list->resize(eSize(560, 290));
            for (int i = 1; i <= favouriteCount; ++i)
                new eListBoxEntryText(list, eString().sprintf("Favourite station %d", i));
            window.show();
            window.exec();
            window.hide();
        });
    }

private:
    StartBench()
    {
        boxlog::setStderrLevel(boxlog::Level::error);
        std::filesystem::create_directories(boxPath("/var/tuxbox/config"));
        writeFile(boxPath("/var/tuxbox/config/genrelist.xml"), bench::favouritesFile(favouriteCount));
        eConfig::reload();
        // Nothing answers here: the start must not depend on the network.
        eConfig::getInstance()->setKey("/tarnwave/directory", std::string("http://127.0.0.1:9"));
        if (skin_.load((std::string(TARNWAVE_BINARY_DIR) + "/data/skin/default.xml").c_str()) != 0)
            throw std::runtime_error("the default skin is not built");
        skin_.setActive();
        const std::string path = std::string(TARNWAVE_BINARY_DIR) + "/plugin/tarnwave.so";
        library_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library_ == nullptr)
            throw std::runtime_error(std::string("cannot load the plug-in: ") + dlerror());
        entry_ = reinterpret_cast<gPluginEntry>(dlsym(library_, "gPlugin_exec"));
        if (entry_ == nullptr)
            throw std::runtime_error("the plug-in has no gPlugin_exec");
    }

    TempBoxRoot root_;
    eApplication app_;
    eSkin skin_;
    void *library_ = nullptr; // kept loaded until the process ends, as the host keeps it
    gPluginEntry entry_ = nullptr;
};

const bool registered = [] {
    bench::registerInterleaved(
        "start/plugin_exec_to_first_frame", 20, [] { return StartBench::instance().pluginStart(); },
        [] { return StartBench::instance().bareWindow(); });
    bench::targetAbsolute("start/plugin_exec_to_first_frame", 30'000.0);
    return true;
}();

} // namespace

TARNWAVE_BENCH_MAIN()
