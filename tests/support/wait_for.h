#ifndef TARNWAVE_TESTS_SUPPORT_WAIT_FOR_H
#define TARNWAVE_TESTS_SUPPORT_WAIT_FOR_H

#include <chrono>
#include <thread>

// Polls `done()` every few milliseconds until it holds; false when `limit`
// passed first. For conditions that other processes or threads bring about
// (no host loop needed; see run_loop.h for that).
template <class Predicate>
bool within(std::chrono::milliseconds limit, Predicate done)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

#endif
