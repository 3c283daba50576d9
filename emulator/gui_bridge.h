#ifndef TARNWAVE_EMULATOR_GUI_BRIDGE_H
#define TARNWAVE_EMULATOR_GUI_BRIDGE_H

// How other threads (the HTTP server's) reach the GUI: work is posted to the
// host loop and its result awaited with a time limit, so that a GUI that is
// stuck gives an answer ("busy") instead of a hang. Work runs on the GUI
// thread only; it must capture what it needs by value, since a caller that
// gave up no longer waits for it.

#include "base/ebase.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <optional>

namespace emulator {

class GuiBridge
{
public:
    explicit GuiBridge(eMainloop &loop) : m_loop(loop) { }
    GuiBridge(const GuiBridge &) = delete;
    GuiBridge &operator=(const GuiBridge &) = delete;

    // The result of `work` run on the GUI thread, or nothing when it did not
    // finish within `limit` or the emulator is closing.
    template <class Result>
    std::optional<Result> call(std::function<Result()> work, std::chrono::milliseconds limit = std::chrono::seconds(5))
    {
        if (m_closing)
            return std::nullopt;
        auto promise = std::make_shared<std::promise<Result>>();
        std::future<Result> future = promise->get_future();
        m_loop.post([promise, work = std::move(work)] {
            try {
                promise->set_value(work());
            } catch (...) {
                promise->set_exception(std::current_exception());
            }
        });
        const auto deadline = std::chrono::steady_clock::now() + limit;
        // Waits in slices, so that closing ends every wait soon.
        while (future.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready) {
            if (m_closing || std::chrono::steady_clock::now() >= deadline)
                return std::nullopt;
        }
        try {
            return future.get();
        } catch (...) {
            return std::nullopt;
        }
    }

    // What became of a key press or typed text posted with press().
    struct PressOutcome
    {
        bool finished; // false: the press opened a modal run that is still on
        bool used; // a widget used it (a press that opened a modal run was used)
    };

    // Runs `work` (a key press) on the GUI thread and waits for it, like
    // call(); but when the press opens a modal window (a message box that runs
    // its own loop inside the press), answers as soon as that loop runs
    // instead of waiting until the window closes.
    std::optional<PressOutcome> press(std::function<bool()> work,
                                      std::chrono::milliseconds limit = std::chrono::seconds(5))
    {
        // 0: not finished, 1: finished unused, 2: finished used.
        auto state = std::make_shared<std::atomic<int>>(0);
        m_loop.post([state, work = std::move(work)] { *state = work() ? 2 : 1; });
        // Posted work runs in order, and a modal loop goes on with it: this
        // probe runs after the press, or inside the modal run it opened.
        const auto seen = call<int>([state] { return state->load(); }, limit);
        if (!seen)
            return std::nullopt;
        return PressOutcome{*seen != 0, *seen != 1};
    }

    // From now on every call gives up at once (the loop no longer runs).
    void close() { m_closing = true; }
    bool closing() const { return m_closing; }

private:
    eMainloop &m_loop;
    std::atomic<bool> m_closing{false};
};

} // namespace emulator

#endif
