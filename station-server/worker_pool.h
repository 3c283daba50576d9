#ifndef TARNWAVE_STATION_SERVER_WORKER_POOL_H
#define TARNWAVE_STATION_SERVER_WORKER_POOL_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace station {

// A fixed number of workers, each running one job at a time (a request, or a
// stream for as long as it plays), and a queue of jobs waiting for one. The
// queue's limit is for the one who enqueues to heed (hasRoom), so that it can
// refuse work instead of waiting.
class WorkerPool
{
public:
    WorkerPool(std::size_t workers, std::size_t queueLimit);
    ~WorkerPool();
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    // True while fewer than queueLimit jobs wait beyond the idle workers.
    bool hasRoom() const;
    void enqueue(std::function<void()> job);
    // Runs what is queued, then ends the workers.
    void shutdown();

private:
    void work();

    std::size_t workerCount_;
    std::size_t queueLimit_;
    mutable std::mutex mutex_;
    std::condition_variable jobAdded_;
    std::deque<std::function<void()>> jobs_;
    std::size_t busyWorkers_ = 0;
    bool shuttingDown_ = false;
    std::vector<std::thread> workers_;
};

} // namespace station

#endif
