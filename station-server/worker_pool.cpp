#include "worker_pool.h"

namespace station {

BoundedWorkerPool::BoundedWorkerPool(std::size_t workers, std::size_t queueLimit)
    : queueLimit_(queueLimit > 0 ? queueLimit : 1)
{
    workers_.reserve(workers);
    for (std::size_t i = 0; i < workers; ++i)
        workers_.emplace_back([this] { work(); });
}

BoundedWorkerPool::~BoundedWorkerPool()
{
    shutdown();
}

void BoundedWorkerPool::enqueue(std::function<void()> job)
{
    {
        std::unique_lock lock(mutex_);
        jobTaken_.wait(lock, [this] { return jobs_.size() < queueLimit_ || shuttingDown_; });
        jobs_.push_back(std::move(job));
    }
    jobAdded_.notify_one();
}

void BoundedWorkerPool::shutdown()
{
    {
        std::lock_guard lock(mutex_);
        if (shuttingDown_ && workers_.empty())
            return;
        shuttingDown_ = true;
    }
    jobAdded_.notify_all();
    jobTaken_.notify_all();
    for (std::thread &worker : workers_)
        worker.join();
    workers_.clear();
}

void BoundedWorkerPool::work()
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
        }
        jobTaken_.notify_one();
        job();
    }
}

} // namespace station
