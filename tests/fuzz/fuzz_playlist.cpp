// A station's playlist (the body of a tune-in reply) turned into the address
// that is played, as the end of a playlist transfer does it, and that address
// as the stream player takes it. Checked: the address played is a substring
// of the body on the first line that mentions "File", without a line feed;
// a body without such a line plays nothing; the player's form of the address
// has no blank or control byte left and is refused unless its scheme is one
// the player plays.

#include "fuzz_support.h"
#include "main_window_box.h"

#include "media/eservice.h"
#include "media/gstreamer/stream_address.h"
#include "net/ehttpconnection.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int topList = 2;

// Stands in for the host's player of URL streams: notes what it is asked to play.
class RecordingPlayer : public eServiceHandler
{
public:
    RecordingPlayer() { eServiceInterface::getInstance()->registerHandler(eServiceReference::idStream, this); }
    ~RecordingPlayer() override
    {
        eServiceInterface::getInstance()->unregisterHandler(eServiceReference::idStream, this);
    }
    int play(const eServiceReference &ref, int) override
    {
        played.push_back(ref.path);
        return 0;
    }
    int getState() override { return played.empty() ? stateStopped : stateRunning; }
    eString getInfo(int) override { return eString(); }
    int stop(int) override { return 0; }

    std::vector<std::string> played;
};

// The window with a station chosen on the top list and a finished playlist
// transfer (never started) whose reply was 200.
struct PlaylistBox
{
    PlaylistBox() : window(fuzz::MainWindowBox::instance().window())
    {
        int error = 0;
        reply.reset(eHTTPConnection::doRequest("http://127.0.0.1:9/sbin/tunein-station.pls?id=1", eApp, &error));
        reply->code = 200;
        reply->code_descr = "OK";
        station = std::make_shared<Listentry>(1, "Smooth Radio");
        station->type = Listentry::ENTRY_STATION;
        station->bitrate = "128";
        station->genre = "Jazz";
        new my_ListBox(window.lists[topList], station, false);
    }
    // The window, which outlives this box, must not keep the player that goes with it.
    ~PlaylistBox() { window.Stop(false); }
    PlaylistBox(const PlaylistBox &) = delete;
    PlaylistBox &operator=(const PlaylistBox &) = delete;

    Ctarnwave &window;
    RecordingPlayer player;
    std::unique_ptr<eHTTPConnection> reply;
    std::shared_ptr<Listentry> station;
};

bool mentionsFile(std::string_view line)
{
    return line.find("File") != std::string_view::npos;
}

// The address is on the first line that mentions "File".
void checkAddress(std::string_view body, const std::string &address)
{
    const std::size_t at = body.find(address);
    FUZZ_CHECK(at != std::string_view::npos, "not in the body: " + fuzz::printable(address));
    FUZZ_CHECK(address.find('\n') == std::string::npos, fuzz::printable(address));
    // The line that holds it (the first such place that is on a "File" line).
    std::size_t lineStart = 0;
    for (;;) {
        const std::size_t lineEnd = std::min(body.find('\n', lineStart), body.size());
        const std::string_view line = body.substr(lineStart, lineEnd - lineStart);
        if (mentionsFile(line)) {
            FUZZ_CHECK(line.find(address) != std::string_view::npos,
                       fuzz::printable(address) + " is not on the first File line " + fuzz::printable(line));
            FUZZ_CHECK(line.ends_with(address), "the address stops early: " + fuzz::printable(address));
            return;
        }
        FUZZ_CHECK(lineEnd < body.size(), "no line mentions File");
        lineStart = lineEnd + 1;
    }
}

// The player's form of the address: blanks and controls percent-encoded,
// trailing blanks and line ends gone; played only for its four schemes.
void checkPlayersAddress(const std::string &address)
{
    const std::string played = boxmedia::streamAddress(address);
    const std::size_t kept = address.find_last_not_of(" \t\r\n") + 1; // 0 when nothing is left
    const auto encoded = std::count_if(address.begin(), address.begin() + static_cast<long>(kept),
                                       [](char c) { return static_cast<unsigned char>(c) <= 0x20 || c == 0x7f; });
    FUZZ_CHECK(played.size() == kept + 2 * static_cast<std::size_t>(encoded), fuzz::printable(played));
    FUZZ_CHECK(std::none_of(played.begin(), played.end(),
                            [](char c) { return static_cast<unsigned char>(c) <= 0x20 || c == 0x7f; }),
               fuzz::printable(played));
    const std::string scheme = boxmedia::addressScheme(played);
    const bool playable = scheme == "http" || scheme == "https" || scheme == "icy" || scheme == "icyx";
    FUZZ_CHECK(playable == !boxmedia::refusalReason(played).has_value(), fuzz::printable(played));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::MainWindowBox::instance();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static PlaylistBox box;
    const std::string_view body = fuzz::text(data, size);
    Ctarnwave &window = box.window;

    box.station->url = "";
    box.player.played.clear();
    window.selectedEntry = window.lists[topList]->getEntry(0);
    window.connection = box.reply.get();
    window.playlistText = std::string(body);
    window.str_TransferDone(0);

    FUZZ_CHECK(window.playlistText.empty() && window.connection == nullptr, "the transfer is not cleared up");
    std::size_t lineStart = 0;
    bool hasFileLine = false;
    while (!hasFileLine && lineStart < body.size()) {
        const std::size_t lineEnd = std::min(body.find('\n', lineStart), body.size());
        hasFileLine = mentionsFile(body.substr(lineStart, lineEnd - lineStart));
        lineStart = lineEnd + 1;
    }
    if (!hasFileLine) {
        FUZZ_CHECK(box.player.played.empty() && box.station->url.empty(), "played without a File line");
        return 0;
    }
    FUZZ_CHECK(box.player.played.size() == 1, std::to_string(box.player.played.size()) + " plays");
    const std::string &address = box.player.played.front();
    FUZZ_CHECK(box.station->url == address, "the record holds " + fuzz::printable(box.station->url));
    checkAddress(body, address);
    checkPlayersAddress(address);
    return 0;
}
