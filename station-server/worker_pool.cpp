#include "worker_pool.h"

namespace station {

WorkerPool::WorkerPool(std::size_t workers, std::size_t queueLimit)
    : workerCount_(workers), queueLimit_(queueLimit > 0 ? queueLimit : 1)
{
    workers_.reserve(workers);
    for (std::size_t i = 0; i < workers; ++i)
        workers_.emplace_back([this] { work(); });
}

WorkerPool::~WorkerPool()
{
    shutdown();
}

bool WorkerPool::hasRoom() const
{
    std::lock_guard lock(mutex_);
    // A job just enqueued waits in the queue until a woken worker takes it,
    // so a burst of jobs for idle workers must not count as waiting.
    return busyWorkers_ + jobs_.size() < workerCount_ + queueLimit_;
}

void WorkerPool::enqueue(std::function<void()> job)
{
    {
        std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    jobAdded_.notify_one();
}

void WorkerPool::shutdown()
{
    {
        std::lock_guard lock(mutex_);
        if (shuttingDown_ && workers_.empty())
            return;
        shuttingDown_ = true;
    }
    jobAdded_.notify_all();
    for (std::thread &worker : workers_)
        worker.join();
    workers_.clear();
}

void WorkerPool::work()
{
    for (;;) {
        std::function<void()> job;
        {
            std::unique_lock lock(mutex_);
            jobAdded_.wait(lock, [this] { return !jobs_.empty() || shuttingDown_; });
            if (jobs_.empty())
                return;
            job = std::move(jobs_.front());
            jobs_.pop_front();
            ++busyWorkers_;
        }
        job();
        std::lock_guard lock(mutex_);
        --busyWorkers_;
    }
}

} // namespace station
