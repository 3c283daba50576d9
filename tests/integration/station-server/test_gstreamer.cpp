// A station's stream played by GStreamer as the box's player plays it: over
// HTTP with ICY metadata (souphttpsrc in radio mode), decoded to audio, the
// station title arriving as a tag.

#include "raw_http.h"
#include "support/gstreamer_sanitizer_settings.h"
#include "support/station_server_process.h"
#include "xml_document.h"

#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

namespace {

using namespace std::chrono_literals;

struct GstObjectUnref
{
    void operator()(gpointer object) const { gst_object_unref(object); }
};
using Pipeline = std::unique_ptr<GstElement, GstObjectUnref>;

struct Decoded
{
    std::vector<std::int16_t> samples; // mono
    int sampleRate = 0;
    std::vector<std::string> titles;
    std::string error;
};

// Plays the URL until `seconds` of audio are decoded (or 15 s pass) and
// collects the audio and every title tag.
Decoded decode(const std::string &url, double seconds)
{
    static const bool initialised = [] {
        gst_init(nullptr, nullptr);
        return true;
    }();
    (void)initialised;
    Decoded decoded;
    GError *parseError = nullptr;
    const std::string description = "souphttpsrc iradio-mode=true location=\"" + url
                                    + "\" ! decodebin ! audioconvert ! "
                                      "audio/x-raw,format=S16LE,channels=1 ! appsink name=sink sync=false";
    Pipeline pipeline(gst_parse_launch(description.c_str(), &parseError));
    if (parseError != nullptr) {
        decoded.error = parseError->message;
        g_error_free(parseError);
        return decoded;
    }
    GstElement *sink = gst_bin_get_by_name(GST_BIN(pipeline.get()), "sink");
    std::unique_ptr<GstElement, GstObjectUnref> sinkHolder(sink);
    GstBus *bus = gst_element_get_bus(pipeline.get());
    std::unique_ptr<GstBus, GstObjectUnref> busHolder(bus);
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);

    const auto deadline = std::chrono::steady_clock::now() + 15s;
    while (std::chrono::steady_clock::now() < deadline) {
        while (GstMessage *message = gst_bus_pop(bus)) {
            if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_TAG) {
                GstTagList *tags = nullptr;
                gst_message_parse_tag(message, &tags);
                gchar *title = nullptr;
                if (gst_tag_list_get_string(tags, GST_TAG_TITLE, &title)) {
                    decoded.titles.emplace_back(title);
                    g_free(title);
                }
                gst_tag_list_unref(tags);
            } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
                GError *error = nullptr;
                gst_message_parse_error(message, &error, nullptr);
                decoded.error = error->message;
                g_error_free(error);
            }
            gst_message_unref(message);
        }
        if (!decoded.error.empty())
            break;
        const bool enough =
            decoded.sampleRate > 0 && static_cast<double>(decoded.samples.size()) >= seconds * decoded.sampleRate;
        if (enough && !decoded.titles.empty())
            break;
        GstSample *sample = gst_app_sink_try_pull_sample(GST_APP_SINK(sink), 50 * GST_MSECOND);
        if (sample == nullptr || enough) {
            if (sample != nullptr)
                gst_sample_unref(sample);
            continue;
        }
        if (decoded.sampleRate == 0) {
            const GstStructure *format = gst_caps_get_structure(gst_sample_get_caps(sample), 0);
            gst_structure_get_int(format, "rate", &decoded.sampleRate);
        }
        GstBuffer *buffer = gst_sample_get_buffer(sample);
        GstMapInfo map;
        if (gst_buffer_map(buffer, &map, GST_MAP_READ)) {
            const std::size_t count = map.size / sizeof(std::int16_t);
            const std::size_t old = decoded.samples.size();
            decoded.samples.resize(old + count);
            std::memcpy(decoded.samples.data() + old, map.data, count * sizeof(std::int16_t));
            gst_buffer_unmap(buffer, &map);
        }
        gst_sample_unref(sample);
    }
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    gst_element_get_state(pipeline.get(), nullptr, nullptr, GST_CLOCK_TIME_NONE);
    return decoded;
}

double rms(const std::vector<std::int16_t> &samples, std::size_t begin, std::size_t end)
{
    double sum = 0.0;
    for (std::size_t i = begin; i < end; ++i)
        sum += static_cast<double>(samples[i]) * samples[i];
    return std::sqrt(sum / static_cast<double>(end - begin));
}

// Normalised correlation of two stretches of the same length.
double correlation(const std::vector<std::int16_t> &a, const std::vector<std::int16_t> &b, std::size_t length)
{
    double ab = 0.0;
    double aa = 0.0;
    double bb = 0.0;
    for (std::size_t i = 0; i < length; ++i) {
        ab += static_cast<double>(a[i]) * b[i];
        aa += static_cast<double>(a[i]) * a[i];
        bb += static_cast<double>(b[i]) * b[i];
    }
    return ab / std::sqrt(aa * bb);
}

std::vector<XmlElement> topStations(const StationServerProcess &server)
{
    return parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg").body).all("station");
}

} // namespace

TEST(StationServerGStreamer, StreamDecodesAndCarriesTheTitle)
{
    StationServerProcess server({"--title-interval", "3600"});
    const auto stations = topStations(server);
    ASSERT_FALSE(stations.empty());
    const XmlElement &station = stations.front();
    const Decoded decoded = decode(server.baseUrl() + "/stream/" + station.at("id"), 2.0);
    ASSERT_EQ(decoded.error, "");
    ASSERT_GT(decoded.sampleRate, 0);
    ASSERT_GE(decoded.samples.size(), static_cast<std::size_t>(2 * decoded.sampleRate)) << "less than 2 s decoded";
    // Audible all through: every quarter second has sound in it.
    const auto quarter = static_cast<std::size_t>(decoded.sampleRate / 4);
    for (std::size_t at = 0; at + quarter <= decoded.samples.size(); at += quarter)
        EXPECT_GT(rms(decoded.samples, at, at + quarter), 500.0) << "silence at sample " << at;
    ASSERT_FALSE(decoded.titles.empty()) << "no title tag";
    EXPECT_EQ(decoded.titles.front(), station.at("ct"));
}

TEST(StationServerGStreamer, EachStationHasItsOwnTune)
{
    StationServerProcess server;
    const auto stations = topStations(server);
    ASSERT_GE(stations.size(), 3u);
    // Two stations of the same bitrate, so that only their tunes differ.
    const auto other = std::find_if(stations.begin() + 1, stations.end(), [&](const XmlElement &station) {
        return station.at("br") == stations[0].at("br");
    });
    ASSERT_NE(other, stations.end());
    const Decoded first = decode(server.baseUrl() + "/stream/" + stations[0].at("id"), 2.0);
    const Decoded again = decode(server.baseUrl() + "/stream/" + stations[0].at("id"), 2.0);
    const Decoded second = decode(server.baseUrl() + "/stream/" + other->at("id"), 2.0);
    ASSERT_EQ(first.error, "");
    ASSERT_EQ(second.error, "");
    ASSERT_EQ(first.sampleRate, second.sampleRate);
    const auto length = static_cast<std::size_t>(2 * first.sampleRate);
    ASSERT_GE(first.samples.size(), length);
    ASSERT_GE(again.samples.size(), length);
    ASSERT_GE(second.samples.size(), length);
    // Every listener hears the station's tune from its start; another station
    // plays another tune.
    EXPECT_GT(correlation(first.samples, again.samples, length), 0.95);
    EXPECT_LT(correlation(first.samples, second.samples, length), 0.5);
}
