#include "slow_clients.h"

#include "support/station_server_process.h"

#include <stdexcept>

std::vector<std::unique_ptr<RawConnection>> openIdleConnections(const StationServerProcess &server, std::size_t count)
{
    std::vector<std::unique_ptr<RawConnection>> idle;
    for (std::size_t i = 0; i < count; ++i)
        idle.push_back(std::make_unique<RawConnection>(server.port()));
    return idle;
}

std::string endlessHead()
{
    return "GET /sbin/newxml.phtml HTTP/1.1\r\nHost: 127.0.0.1\r\nUser-Agent: trickle\r\nX-Filler: "
           + std::string(200, 'a');
}

TricklingClients::TricklingClients(const StationServerProcess &server, std::size_t count,
                                   std::chrono::milliseconds pause)
{
    for (std::size_t i = 0; i < count; ++i)
        connections_.push_back(std::make_unique<RawConnection>(server.port()));
    thread_ = std::thread([this, pause] { trickle(pause); });
}

TricklingClients::~TricklingClients()
{
    done_ = true;
    thread_.join();
}

void TricklingClients::trickle(std::chrono::milliseconds pause)
{
    const std::string head = endlessHead();
    std::vector<bool> refused(connections_.size(), false);
    for (std::size_t position = 0; position < head.size() && !done_; ++position) {
        for (std::size_t i = 0; i < connections_.size(); ++i) {
            if (refused[i])
                continue;
            try {
                connections_[i]->send(head.substr(position, 1));
                ++bytesSent_;
            } catch (const std::runtime_error &) {
                refused[i] = true; // the server has closed it
                ++closedByServer_;
            }
        }
        std::this_thread::sleep_for(pause);
    }
}
