#ifndef TARNWAVE_TESTS_SUPPORT_RUN_LOOP_H
#define TARNWAVE_TESTS_SUPPORT_RUN_LOOP_H

#include "base/ebase.h"

#include <chrono>

// Processes rounds of `loop` until `done()` holds; false when `limit` passed first.
template <class Predicate>
bool runUntil(eMainloop &loop, Predicate done, std::chrono::milliseconds limit = std::chrono::seconds(5))
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        loop.processOneEvent(50);
    }
    return true;
}

#endif
