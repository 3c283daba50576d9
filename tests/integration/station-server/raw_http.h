#ifndef TARNWAVE_TESTS_STATION_SERVER_RAW_HTTP_H
#define TARNWAVE_TESTS_STATION_SERVER_RAW_HTTP_H

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

// HTTP on a plain socket, byte for byte, so that a test sends exactly what a
// box would (a raw blank in the target) and sees exactly what came back, when
// it came, and whether the server closed.

struct HttpReply
{
    bool complete = false; // a whole head arrived
    std::string version;
    int status = -1;
    std::map<std::string, std::string> headers; // names in lower case
    std::string body; // whatever followed the head

    std::string header(const std::string &lowerCaseName) const;
};

HttpReply parseHttpReply(const std::string &raw);

class RawConnection
{
public:
    using Clock = std::chrono::steady_clock;
    struct Arrival
    {
        Clock::time_point at;
        std::size_t bytes = 0;
    };

    // Throws std::runtime_error when the loopback port cannot be reached.
    explicit RawConnection(int port);
    ~RawConnection();
    RawConnection(const RawConnection &) = delete;
    RawConnection &operator=(const RawConnection &) = delete;

    void send(std::string_view bytes);
    // Receives until the server closes (true) or `limit` passes (false).
    bool receiveUntilClosed(std::chrono::milliseconds limit);
    // Receives for `duration`, or less when the server closes.
    void receiveFor(std::chrono::milliseconds duration);
    // Receives until the reply's head is complete (true), or false.
    bool receiveHead(std::chrono::milliseconds limit);
    // Closes our side now.
    void close();

    const std::string &received() const { return received_; }
    bool closedByServer() const { return closedByServer_; }
    const std::vector<Arrival> &arrivals() const { return arrivals_; }
    Clock::time_point connectedAt() const { return connectedAt_; }

private:
    // Waits up to `limit` for bytes and keeps them; false when none came.
    bool receiveSome(std::chrono::milliseconds limit);

    int socket_ = -1;
    std::string received_;
    bool closedByServer_ = false;
    std::vector<Arrival> arrivals_;
    Clock::time_point connectedAt_;
};

// A GET of `target`, sent exactly as given, with "Connection: close" and any
// extra header lines ("Name: value"); the reply as it stood when the server
// closed or `limit` passed.
HttpReply httpGet(int port, const std::string &target, const std::vector<std::string> &extraHeaders = {},
                  std::chrono::milliseconds limit = std::chrono::seconds(10));

#endif
