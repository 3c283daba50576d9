// Playback as the user meets it, against the local station server with the
// real stream player:
//  - time to sound: OK on a station row to the player reporting that it
//    plays (the tune-in playlist fetched, the stream opened), beside a bare
//    GStreamer playbin brought to PLAYING on the same stream, interleaved;
//  - the status tick: the GUI time of one Sstatus while a station plays,
//    beside the look at the process table that every tick makes.

#include "support/ratio_report.h"

#include "plugin/ctarnwave.h"

#include "base/ebase.h"
#include "base/econfig.h"
#include "base/messages.h"
#include "gui/eskin.h"
#include "gui/widgets/escreen.h"
#include "media/eservice.h"
#include "media/gstreamer/audio_sink.h"
#include "media/gstreamer/gst_runtime.h"
#include "media/gstreamer/register_stream_handler.h"
#include "support/gstreamer_sanitizer_settings.h"
#include "support/station_server_process.h"
#include "support/temp_dir.h"
#include "system/putils.h"

#include <gst/gst.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

// A station of the catalogue that the lists show (MP3 at 128 kbit/s).
constexpr const char *stationId = "38869";

double microsecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// The box with Tarnwave's main window on the station server, a station row
// in front; made on first use and kept for the whole run.
class PlaybackBench
{
public:
    static PlaybackBench &instance()
    {
        static PlaybackBench bench;
        return bench;
    }

    std::string streamUrl() const { return server.baseUrl() + "/stream/" + stationId; }

    // OK on the station row until the player says it plays.
    double okToSound()
    {
        window->Stop(false);
        station->url = ""; // each round fetches the playlist again
        const Clock::time_point start = Clock::now();
        eScreen::osd().handleKey("ok");
        while (!isPlaying()) {
            if (microsecondsSince(start) > 20e6)
                throw std::runtime_error("the station did not start playing within 20 s");
            app.processOneEvent(10);
        }
        const double elapsed = microsecondsSince(start);
        window->Stop(false);
        return elapsed;
    }

    // A bare playbin on the same stream, with the same sink, to PLAYING.
    double bareToPlaying() const
    {
        GstElement *playbin = gst_element_factory_make("playbin", nullptr);
        const boxmedia::GstElementHandle sink = boxmedia::makeAudioSink();
        g_object_set(playbin, "uri", streamUrl().c_str(), "audio-sink", sink.get(), nullptr);
        GstBus *bus = gst_element_get_bus(playbin);
        const Clock::time_point start = Clock::now();
        gst_element_set_state(playbin, GST_STATE_PLAYING);
        double elapsed = -1.0;
        while (elapsed < 0.0) {
            GstMessage *message = gst_bus_timed_pop_filtered(
                bus, 20 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_STATE_CHANGED | GST_MESSAGE_ERROR));
            if (!message)
                throw std::runtime_error("the bare playbin did not play within 20 s");
            GstState state = GST_STATE_VOID_PENDING;
            if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
                gst_message_unref(message);
                throw std::runtime_error("the bare playbin failed");
            }
            if (GST_MESSAGE_SRC(message) == GST_OBJECT(playbin)) {
                gst_message_parse_state_changed(message, nullptr, &state, nullptr);
                if (state == GST_STATE_PLAYING)
                    elapsed = microsecondsSince(start);
            }
            gst_message_unref(message);
        }
        gst_element_set_state(playbin, GST_STATE_NULL);
        gst_object_unref(bus);
        gst_object_unref(playbin);
        return elapsed;
    }

    // Starts the station unless it plays, and waits until it does, for the status tick.
    void playStation()
    {
        if (isPlaying())
            return;
        okToSound();
        window->Stop(false);
        eScreen::osd().handleKey("ok");
        const Clock::time_point start = Clock::now();
        while (!isPlaying() && microsecondsSince(start) < 20e6)
            app.processOneEvent(10);
    }

    Ctarnwave &mainWindow() { return *window; }

private:
    PlaybackBench()
    {
        // Both sides play into the same silent sink that keeps real time.
        setenv("TARNWAVE_AUDIO_SINK", "fakesink sync=true", 1);
        if (!boxmedia::ensureGstreamer())
            throw std::runtime_error("GStreamer does not start");
        eConfig::reload();
        eConfig::getInstance()->setKey("/tarnwave/directory", server.baseUrl());
        if (skin.load((std::string(TARNWAVE_BINARY_DIR) + "/data/skin/default.xml").c_str()) != 0)
            throw std::runtime_error("the default skin is not built");
        skin.setActive();
        boxmedia::registerStreamHandler();

        window = std::make_unique<Ctarnwave>();
        window->show();
        station = std::make_shared<Listentry>(1, "Bench Radio");
        station->type = Listentry::ENTRY_STATION;
        station->tuneinBase = "/sbin/tunein-station.pls";
        station->id = stationId;
        station->bitrate = "128";
        station->genre = "House";
        new my_ListBox(window->lists[2], station, false);
        window->currentList = 2;
        window->showCurrList();
        // The station's tune is encoded on its first listener: not timed.
        okToSound();
        bareToPlaying();
    }

    bool isPlaying() const
    {
        return window->stream && window->stream->getState() == 0
               && window->stream->getInfo(0) == translated("playing...");
    }

    StationServerProcess server;
    TempBoxRoot root;
    eApplication app;
    eSkin skin;
    std::unique_ptr<Ctarnwave> window;
    std::shared_ptr<Listentry> station;
};

void statusTick(benchmark::State &state)
{
    PlaybackBench &bench = PlaybackBench::instance();
    bench.playStation();
    Ctarnwave &window = bench.mainWindow();
    for (auto _ : state)
        window.Sstatus();
    window.statusTimer->start(1000, true);
}

void processTableLook(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(pUtils::is_running("streamripper"));
}

const bool registered = [] {
    bench::registerInterleaved(
        "playback/ok_to_sound", 20, [] { return PlaybackBench::instance().okToSound(); },
        [] { return PlaybackBench::instance().bareToPlaying(); });
    bench::targetAtMost("playback/ok_to_sound", 1.25);

    bench::registerPair("playback/status_tick", statusTick, processTableLook);
    // A tick must not be felt: a fifth of a millisecond of the GUI thread.
    bench::targetAbsolute("playback/status_tick", 200.0);
    return true;
}();

} // namespace

int main(int argc, char **argv)
{
    useMallocForGlibSlices(argv);
    return bench::runAndReport(argc, argv);
}
