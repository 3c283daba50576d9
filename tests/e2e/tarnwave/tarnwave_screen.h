#ifndef TARNWAVE_TESTS_E2E_TARNWAVE_TARNWAVE_SCREEN_H
#define TARNWAVE_TESTS_E2E_TARNWAVE_TARNWAVE_SCREEN_H

// Tarnwave in the emulator, as a test sees it through the control API: its
// window's title, the rows of the list in front, the status bar's icons and
// lines, and the keys; and what the station server was asked.

#include "emulator_process.h"
#include "support/station_server_process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace tarnwave_e2e {

// The emulators these tests start show their texts in English, unless a test
// sets another language before it starts one.
inline const bool englishByDefault = [] {
    setenv("TARNWAVE_LANGUAGE", "en", 1);
    return true;
}();

// The main window's title: the text of the top-level window of type eWindow
// that is not the host's menu; empty while it is not shown.
inline std::string titleOf(const std::string &widgets)
{
    const std::regex pattern("\\{\"type\":\"eWindow\",\"name\":\"\",\"text\":\"([^\"]*)\"");
    std::smatch match;
    return std::regex_search(widgets, match, pattern) ? match[1].str() : std::string();
}

// The texts of the rows of the list in front.
inline std::vector<std::string> rowsOf(const std::string &widgets)
{
    std::vector<std::string> rows;
    const std::regex list("\"rows\":\\[([^\\]]*)\\]");
    std::smatch match;
    if (!std::regex_search(widgets, match, list))
        return rows;
    const std::string inside = match[1].str();
    const std::regex row("\"((?:[^\"\\\\]|\\\\.)*)\"");
    for (auto it = std::sregex_iterator(inside.begin(), inside.end(), row); it != std::sregex_iterator(); ++it)
        rows.push_back((*it)[1].str());
    return rows;
}

// Whether a shown widget displays the skin image `name` ("extra.play", ...).
inline bool showsImage(const std::string &widgets, const std::string &name)
{
    return widgets.find("\"image\":\"" + name + "\"") != std::string::npos;
}

// The text of the first shown widget whose text starts with `prefix`.
inline std::string textStartingWith(const std::string &widgets, const std::string &prefix)
{
    const std::string marker = "\"text\":\"" + prefix;
    const std::size_t at = widgets.find(marker);
    if (at == std::string::npos)
        return {};
    const std::size_t start = at + 8;
    return widgets.substr(start, widgets.find('"', start + prefix.size()) - start);
}

// The texts of the warnings (and errors) in the emulator's log (GET /api/log).
inline std::vector<std::string> warningsOf(const std::string &log)
{
    std::vector<std::string> texts;
    const std::regex line("\"level\":\"(?:warning|error)\",\"text\":\"((?:[^\"\\\\]|\\\\.)*)\"");
    for (auto it = std::sregex_iterator(log.begin(), log.end(), line); it != std::sregex_iterator(); ++it)
        texts.push_back((*it)[1].str());
    return texts;
}

// How many times the station server was asked for `target`.
inline int requestsFor(const StationServerProcess &server, const std::string &target)
{
    const std::string log = server.log();
    int count = 0;
    for (std::size_t at = log.find(target); at != std::string::npos; at = log.find(target, at + 1))
        ++count;
    return count;
}

// The ids of the tune-in playlists the server was asked for, in order.
inline std::vector<std::string> tunedInIds(const StationServerProcess &server)
{
    std::vector<std::string> ids;
    const std::string log = server.log();
    const std::regex request("GET /sbin/tunein-station\\.pls\\?id=(\\d+)");
    for (auto it = std::sregex_iterator(log.begin(), log.end(), request); it != std::sregex_iterator(); ++it)
        ids.push_back((*it)[1].str());
    return ids;
}

// Drives one running emulator with Tarnwave in it.
class Screen
{
public:
    explicit Screen(const EmulatorProcess &emulator) : m_emulator(emulator) { }

    std::string widgets() const { return m_emulator.get("/api/widgets").body; }
    std::string title() const { return titleOf(widgets()); }
    void key(const std::string &name) const { ASSERT_EQ(m_emulator.post("/api/key/" + name).status, 200) << name; }
    void settle() const { ASSERT_EQ(m_emulator.post("/api/settle?ms=10000").status, 200); }

    // Polls the widget tree until `done(widgets)` holds; false after `limit`.
    template <class Predicate>
    bool waitFor(Predicate done, std::chrono::milliseconds limit = std::chrono::seconds(10)) const
    {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (!done(widgets())) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return true;
    }

    // Waits until the main window's title starts with `prefix`.
    bool waitForTitle(const std::string &prefix, std::chrono::milliseconds limit = std::chrono::seconds(20)) const
    {
        return waitFor([&](const std::string &shown) { return titleOf(shown).rfind(prefix, 0) == 0; }, limit);
    }

    // Yellow, OK on the first genre, OK on the first of its stations: the
    // playlist is fetched and the station starts. The station's row text.
    std::string playFirstStationOfFirstGenre() const
    {
        EXPECT_TRUE(waitForTitle("Tarnwave / ")) << widgets();
        key("yellow");
        EXPECT_TRUE(waitForTitle("Tarnwave / Genre List")) << widgets();
        const std::vector<std::string> genres = rowsOf(widgets());
        EXPECT_FALSE(genres.empty());
        key("ok");
        EXPECT_TRUE(waitForTitle("Tarnwave / search by ")) << widgets();
        const std::vector<std::string> stations = rowsOf(widgets());
        EXPECT_FALSE(stations.empty()) << widgets();
        key("ok");
        return stations.empty() ? std::string() : stations.front();
    }

    bool showsPlay() const { return showsImage(widgets(), "extra.play"); }
    bool waitForPlayIcon(std::chrono::milliseconds limit = std::chrono::seconds(15)) const
    {
        return waitFor([](const std::string &shown) { return showsImage(shown, "extra.play"); }, limit);
    }

private:
    const EmulatorProcess &m_emulator;
};

} // namespace tarnwave_e2e

#endif
