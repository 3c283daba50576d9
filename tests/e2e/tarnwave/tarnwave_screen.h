#ifndef TARNWAVE_TESTS_E2E_TARNWAVE_TARNWAVE_SCREEN_H
#define TARNWAVE_TESTS_E2E_TARNWAVE_TARNWAVE_SCREEN_H

// Tarnwave in the emulator, as a test sees it through the control API: its
// window's title, the rows of the list in front, the status bar's icons and
// lines, the settings menu, the search window, the message boxes and the
// directory browser, and the keys and typed text; and what the station
// server was asked.

#include "emulator_process.h"

#include "gui/widgets/json_writer.h"
#include "support/station_server_process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <optional>
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

// `text` as the emulator writes it inside a JSON string: escaped by the
// host's own JSON writer, without the quotes around it.
inline std::string jsonEscaped(const std::string &text)
{
    JsonWriter json;
    json.value(text);
    return json.str().substr(1, json.str().size() - 2);
}

// The JSON string that starts with the quote at `at`, unescaped as the
// emulator writes it; `at` ends up after its closing quote.
inline std::string readJsonString(const std::string &json, std::size_t &at)
{
    std::string text;
    for (++at; at < json.size() && json[at] != '"'; ++at) {
        if (json[at] != '\\' || at + 1 >= json.size()) {
            text += json[at];
            continue;
        }
        switch (const char escaped = json[++at]) {
        case 'n': text += '\n'; break;
        case 'r': text += '\r'; break;
        case 't': text += '\t'; break;
        case 'u':
            // Only control characters come as \u00XX.
            text += static_cast<char>(std::stoi(json.substr(at + 1, 4), nullptr, 16));
            at += 4;
            break;
        default: text += escaped; break;
        }
    }
    ++at;
    return text;
}

// The value of `"key":` at or after `from`, as a string; empty when absent.
inline std::string jsonStringAfter(const std::string &json, const std::string &key, std::size_t from = 0)
{
    std::size_t at = json.find("\"" + key + "\":\"", from);
    if (at == std::string::npos)
        return {};
    at += key.size() + 3;
    return readJsonString(json, at);
}

// A list box as shown: its rows (unescaped) and the current one.
struct ShownList
{
    std::vector<std::string> rows;
    int current = -1;

    std::string currentRow() const
    {
        return current >= 0 && current < static_cast<int>(rows.size()) ? rows[static_cast<std::size_t>(current)]
                                                                       : std::string();
    }
    int indexOf(const std::string &row) const
    {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (rows[i] == row)
                return static_cast<int>(i);
        }
        return -1;
    }
};

// Where the description of the first shown window whose start matches
// `window` begins ("\"type\":\"eSetupWindow\"", ...); npos when none shows.
inline std::size_t windowAt(const std::string &widgets, const std::string &window)
{
    return widgets.find("{" + window);
}

// The first list box described at or after `from`.
inline ShownList listAfter(const std::string &widgets, std::size_t from)
{
    ShownList list;
    std::size_t at = from == std::string::npos ? std::string::npos : widgets.find("\"rows\":[", from);
    if (at == std::string::npos)
        return list;
    for (at += 8; at < widgets.size() && widgets[at] == '"';) {
        list.rows.push_back(readJsonString(widgets, at));
        if (widgets[at] == ',')
            ++at;
    }
    const std::size_t current = widgets.find("\"current\":", at);
    if (current != std::string::npos)
        list.current = std::stoi(widgets.substr(current + 10));
    return list;
}

inline const std::string mainWindow = "\"type\":\"eWindow\",\"name\":\"\",\"text\":\"Tarnwave / ";
inline const std::string setupMenu = "\"type\":\"eSetupWindow\"";
inline const std::string messageBox = "\"type\":\"eMessageBox\"";
inline const std::string directoryBrowser = "\"type\":\"pBrowser\"";

// The list in front of the main window, of the settings menu, of the browser.
inline ShownList mainList(const std::string &widgets)
{
    return listAfter(widgets, windowAt(widgets, mainWindow));
}
inline ShownList menuList(const std::string &widgets)
{
    return listAfter(widgets, windowAt(widgets, setupMenu));
}
inline ShownList browserList(const std::string &widgets)
{
    return listAfter(widgets, windowAt(widgets, directoryBrowser));
}

// A message box as shown: its caption, text, icon and focused button.
struct ShownMessage
{
    bool shown = false;
    std::string caption;
    std::string text;
    std::string icon; // the skin image, "messagebox.question", ...
    std::string focusedButton; // "yes", "no", ...
};

inline ShownMessage messageOf(const std::string &widgets)
{
    ShownMessage message;
    const std::size_t at = windowAt(widgets, messageBox);
    if (at == std::string::npos)
        return message;
    message.shown = true;
    message.caption = jsonStringAfter(widgets, "text", at);
    const std::size_t icon = widgets.find("\"name\":\"icon\"", at);
    if (icon != std::string::npos)
        message.icon = jsonStringAfter(widgets, "image", icon);
    const std::size_t text = widgets.find("\"name\":\"text\"", at);
    if (text != std::string::npos)
        message.text = jsonStringAfter(widgets, "text", text);
    const std::regex focused("\"type\":\"eButton\",\"name\":\"([a-z]+)\",[^{]*\\{[^}]*\\},\"visible\":true,"
                             "\"focused\":true");
    std::smatch match;
    const std::string rest = widgets.substr(at);
    if (std::regex_search(rest, match, focused))
        message.focusedButton = match[1].str();
    return message;
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

    const EmulatorProcess &emulator() const { return m_emulator; }

    // Types into the text field that has the focus ("\b" deletes the
    // character before the cursor).
    void type(const std::string &characters) const
    {
        ASSERT_EQ(m_emulator.post("/api/text", characters).status, 200) << characters;
    }

    // Waits until a window that `windowAt` finds by `window` shows.
    bool waitForWindow(const std::string &window, std::chrono::milliseconds limit = std::chrono::seconds(10)) const
    {
        return waitFor([&](const std::string &shown) { return windowAt(shown, window) != std::string::npos; }, limit);
    }

    // Moves the cursor of the list that `listOf` reads to the row `row`, with
    // up and down; false when the list has no such row.
    template <class ListReader>
    bool moveCursorTo(const std::string &row, ListReader listOf) const
    {
        for (int presses = 0; presses < 1000; ++presses) {
            const ShownList list = listOf(widgets());
            const int wanted = list.indexOf(row);
            if (wanted < 0)
                return false;
            if (list.current == wanted)
                return true;
            key(list.current < wanted ? "down" : "up");
        }
        return false;
    }

    // Opens the settings menu with its cursor on the row `row`; false when
    // the menu did not open or has no such row.
    bool pointMenuAt(const std::string &row) const
    {
        key("menu");
        return waitForWindow(setupMenu) && moveCursorTo(row, menuList);
    }

    // Opens the settings menu and chooses its row `row` with OK.
    bool chooseFromMenu(const std::string &row) const
    {
        if (!pointMenuAt(row))
            return false;
        key("ok");
        return true;
    }

    // The message box once one shows (`shown` false after `limit`).
    ShownMessage waitForMessage(std::chrono::milliseconds limit = std::chrono::seconds(10)) const
    {
        ShownMessage message;
        waitFor(
            [&](const std::string &shown) {
                message = messageOf(shown);
                return message.shown;
            },
            limit);
        return message;
    }

    // Moves the focus of the message box in front to its button `button`
    // ("yes", "no", "ok") and presses it.
    bool answer(const std::string &button) const
    {
        for (int presses = 0; presses < 4; ++presses) {
            const ShownMessage message = messageOf(widgets());
            if (!message.shown)
                return false;
            if (message.focusedButton == button) {
                key("ok");
                return true;
            }
            key(button == "yes" ? "left" : "right");
        }
        return false;
    }

    // The text of the search window's field while it shows.
    static std::optional<std::string> searchField(const std::string &widgets)
    {
        const std::size_t at = windowAt(widgets, "\"type\":\"eTextInputField\"");
        if (at == std::string::npos)
            return std::nullopt;
        return jsonStringAfter(widgets, "text", at);
    }

    // Menu, "search", the proposal replaced by `text`, down to the start
    // button and OK. The proposal the search window showed; nothing when it
    // did not open.
    std::optional<std::string> search(const std::string &text) const
    {
        std::optional<std::string> proposal;
        if (!chooseFromMenu("search")
            || !waitFor([&](const std::string &shown) { return (proposal = searchField(shown)).has_value(); }))
            return std::nullopt;
        // One backspace for each character (not each UTF-8 byte).
        std::string erase;
        for (const char byte : *proposal) {
            if ((static_cast<unsigned char>(byte) & 0xC0) != 0x80)
                erase += '\b';
        }
        type(erase + text);
        EXPECT_TRUE(waitFor([&](const std::string &shown) { return searchField(shown) == text; })) << widgets();
        key("down");
        EXPECT_TRUE(waitFor([](const std::string &shown) {
            return shown.find("\"text\":\"start\",") != std::string::npos
                   && std::regex_search(shown, std::regex("\"text\":\"start\",[^{]*\\{[^}]*\\},\"visible\":true,"
                                                          "\"focused\":true"));
        })) << "the start button has the focus";
        key("ok");
        return proposal;
    }

    // Leaves the plug-in with exit and starts it again as the host's plug-in
    // menu does; true once its window shows again.
    bool leaveAndStartAgain() const
    {
        key("exit");
        // A streamripper that another test runs on this PC makes the plug-in
        // ask whether to stop it: it is not ours to stop.
        const auto gone = [this](const std::string &shown) {
            if (messageOf(shown).text == "Stop Record\nTarnwave working in Background")
                answer("no");
            return windowAt(shown, mainWindow) == std::string::npos && !messageOf(shown).shown;
        };
        if (!waitFor(gone))
            return false;
        return m_emulator.post("/api/plugin/start").status == 200 && waitForTitle("Tarnwave / ");
    }

    // OK on the station row `name` of the list in front; true once the
    // station line names it and the play icon shows.
    bool playStation(const std::string &name) const
    {
        if (!moveCursorTo(name, mainList))
            return false;
        key("ok");
        return waitFor(
            [&](const std::string &shown) {
                return showsImage(shown, "extra.play")
                       && shown.find("\"text\":\"" + jsonEscaped(name) + "\"") != std::string::npos;
            },
            std::chrono::seconds(15));
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
