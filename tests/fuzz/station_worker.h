#ifndef TARNWAVE_TESTS_FUZZ_STATION_WORKER_H
#define TARNWAVE_TESTS_FUZZ_STATION_WORKER_H

// The station server's handlers, on the catalogue it ships with, serving one
// request the way a worker serves it once the request gate has it whole: on
// a Connection (which repairs the request line) over a socket, behind
// cpp-httplib's parsing. The server is never started and nothing streams.

#include "catalogue.h"
#include "faults.h"
#include "loop_cache.h"
#include "station_service.h"
#include "stop_flag.h"
#include "title_schedule.h"

#include <httplib.h>

#include <string>

namespace fuzz {

struct ServedRequest
{
    httplib::Request parsed; // what cpp-httplib read of the head; no method when it refused it first
    std::string requestLine; // as the connection noted it for the access log
    std::string reply; // every byte written to the client
    bool readPastTheEnd = false; // the worker wanted more than it was given
};

class StationWorker : public httplib::Server
{
public:
    StationWorker();

    // Serves `received`, the bytes that arrived for the request.
    ServedRequest serve(const std::string &received);

    const station::Catalogue &catalogue() const { return catalogue_; }

private:
    station::Catalogue catalogue_;
    station::TitleSchedule titles_;
    station::LoopCache loops_;
    station::FaultTable faults_;
    station::StationService service_;
    station::StopFlag stop_;
};

} // namespace fuzz

#endif
