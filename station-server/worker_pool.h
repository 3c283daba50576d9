#ifndef TARNWAVE_STATION_SERVER_WORKER_POOL_H
#define TARNWAVE_STATION_SERVER_WORKER_POOL_H

#include <httplib.h>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace station {

// A fixed number of workers, each serving one connection at a time (a stream
// keeps its worker for as long as it plays), and a bounded queue of accepted
// connections waiting for one. When the queue is full, accepting waits, so
// further clients wait in the kernel's listen backlog instead of piling up
// here.
class BoundedWorkerPool final : public httplib::TaskQueue
{
public:
    BoundedWorkerPool(std::size_t workers, std::size_t queueLimit);
    ~BoundedWorkerPool() override;
    BoundedWorkerPool(const BoundedWorkerPool &) = delete;
    BoundedWorkerPool &operator=(const BoundedWorkerPool &) = delete;

    void enqueue(std::function<void()> job) override;
    // Runs what is queued, then ends the workers.
    void shutdown() override;

private:
    void work();

    std::size_t queueLimit_;
    std::mutex mutex_;
    std::condition_variable jobAdded_;
    std::condition_variable jobTaken_;
    std::deque<std::function<void()>> jobs_;
    bool shuttingDown_ = false;
    std::vector<std::thread> workers_;
};

} // namespace station

#endif
