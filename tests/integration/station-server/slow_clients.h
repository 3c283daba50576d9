#ifndef TARNWAVE_TESTS_INTEGRATION_STATION_SERVER_SLOW_CLIENTS_H
#define TARNWAVE_TESTS_INTEGRATION_STATION_SERVER_SLOW_CLIENTS_H

// Clients that hold a station server's connections without finishing a
// request, for the slow-client tests and the benchmark of a normal request
// beside them: connections that send nothing, and connections that send a
// request head that never ends, a byte at a time.

#include "raw_http.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

class StationServerProcess;

// `count` connections to the server that send nothing.
std::vector<std::unique_ptr<RawConnection>> openIdleConnections(const StationServerProcess &server, std::size_t count);

// A request head that never ends within a test: 260 bytes.
std::string endlessHead();

// Connections that each send the endless head one byte at a time, a byte every
// `pause`, from one thread, until the server closes them or they are dropped.
class TricklingClients
{
public:
    TricklingClients(const StationServerProcess &server, std::size_t count, std::chrono::milliseconds pause);
    ~TricklingClients();
    TricklingClients(const TricklingClients &) = delete;
    TricklingClients &operator=(const TricklingClients &) = delete;

    std::size_t bytesSent() const { return bytesSent_; }
    // How many of the connections the server has closed so far.
    std::size_t closedByServer() const { return closedByServer_; }

private:
    void trickle(std::chrono::milliseconds pause);

    std::vector<std::unique_ptr<RawConnection>> connections_;
    std::atomic<bool> done_{false};
    std::atomic<std::size_t> bytesSent_{0};
    std::atomic<std::size_t> closedByServer_{0};
    std::thread thread_;
};

#endif
