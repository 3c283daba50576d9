#ifndef TARNWAVE_HOST_NET_CURL_LOOP_DRIVER_H
#define TARNWAVE_HOST_NET_CURL_LOOP_DRIVER_H

// libcurl's multi interface driven by a host main loop (host internal): an
// eSocketNotifier for each socket libcurl asks to have watched, one eTimer for
// the timeout it asks for. Transfers on the same loop share one driver, which
// lives as long as one of them holds it.
//
// The driver calls nothing but libcurl and the `finished` callbacks of its
// transfers, and those only after libcurl has returned: code outside never
// runs inside a libcurl call, so it may add and remove transfers freely.

#include "base/ebase.h"

#include <curl/curl.h>

#include <functional>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

namespace boxhost::net {

class CurlLoopDriver
{
public:
    // The driver of `loop`, made when none exists. Loop thread only.
    static std::shared_ptr<CurlLoopDriver> forLoop(eMainloop *loop);

    ~CurlLoopDriver();
    CurlLoopDriver(const CurlLoopDriver &) = delete;
    CurlLoopDriver &operator=(const CurlLoopDriver &) = delete;

    // Runs `easy`; `finished` is called once with libcurl's result when it
    // ends, after the handle has been taken out again. False when libcurl
    // refused the handle (then `finished` is never called).
    bool add(CURL *easy, std::function<void(CURLcode)> finished);
    // Takes a running handle out; its `finished` is not called. Must not be
    // called from inside a libcurl callback.
    void remove(CURL *easy);

private:
    explicit CurlLoopDriver(eMainloop *loop);

    static int onSocketRequest(CURL *easy, curl_socket_t socket, int what, void *driver, void *);
    static int onTimerRequest(CURLM *multi, long timeoutMs, void *driver);

    void watchSocket(curl_socket_t socket, int what);
    void socketReady(curl_socket_t socket, int events);
    void timerExpired();
    void collectFinished();

    eMainloop *m_loop;
    CURLM *m_multi;
    eTimer m_timer;
    std::map<curl_socket_t, std::unique_ptr<eSocketNotifier>> m_watches;
    // Watches libcurl let go of while one of them may be emitting; freed at
    // the start of the next event.
    std::vector<std::unique_ptr<eSocketNotifier>> m_retiredWatches;
    std::unordered_map<CURL *, std::function<void(CURLcode)>> m_running;
};

} // namespace boxhost::net

#endif
