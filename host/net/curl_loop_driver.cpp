// CurlLoopDriver: libcurl's socket and timer requests mapped onto the host
// main loop's watches and timer.

#include "net/curl_loop_driver.h"

#include "net/http_url.h"

#include <new>
#include <utility>

namespace boxhost::net {

namespace {

// Every loop's driver while a transfer holds it. Loop thread only.
std::map<eMainloop *, std::weak_ptr<CurlLoopDriver>> &driversByLoop()
{
    static std::map<eMainloop *, std::weak_ptr<CurlLoopDriver>> drivers;
    return drivers;
}

} // namespace

std::shared_ptr<CurlLoopDriver> CurlLoopDriver::forLoop(eMainloop *loop)
{
    auto &drivers = driversByLoop();
    const auto found = drivers.find(loop);
    if (found != drivers.end())
        if (std::shared_ptr<CurlLoopDriver> driver = found->second.lock())
            return driver;
    initCurlOnce();
    std::shared_ptr<CurlLoopDriver> driver(new CurlLoopDriver(loop));
    drivers[loop] = driver;
    return driver;
}

CurlLoopDriver::CurlLoopDriver(eMainloop *loop) : m_loop(loop), m_multi(curl_multi_init()), m_timer(loop)
{
    if (m_multi == nullptr)
        throw std::bad_alloc();
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &CurlLoopDriver::onSocketRequest);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &CurlLoopDriver::onTimerRequest);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
    m_timer.timeout.connect([this] { timerExpired(); });
}

CurlLoopDriver::~CurlLoopDriver()
{
    for (const auto &running : m_running)
        curl_multi_remove_handle(m_multi, running.first);
    // Closes the connections kept for reuse; libcurl lets go of their sockets here.
    curl_multi_cleanup(m_multi);
    auto &drivers = driversByLoop();
    const auto found = drivers.find(m_loop);
    if (found != drivers.end() && found->second.expired())
        drivers.erase(found);
}

bool CurlLoopDriver::add(CURL *easy, std::function<void(CURLcode)> finished)
{
    m_running.emplace(easy, std::move(finished));
    if (curl_multi_add_handle(m_multi, easy) != CURLM_OK) {
        m_running.erase(easy);
        return false;
    }
    return true;
}

void CurlLoopDriver::remove(CURL *easy)
{
    if (m_running.erase(easy) > 0)
        curl_multi_remove_handle(m_multi, easy);
}

int CurlLoopDriver::onSocketRequest(CURL *, curl_socket_t socket, int what, void *driver, void *)
{
    static_cast<CurlLoopDriver *>(driver)->watchSocket(socket, what);
    return 0;
}

int CurlLoopDriver::onTimerRequest(CURLM *, long timeoutMs, void *driver)
{
    auto *self = static_cast<CurlLoopDriver *>(driver);
    if (timeoutMs < 0)
        self->m_timer.stop();
    else
        self->m_timer.start(timeoutMs, true);
    return 0;
}

void CurlLoopDriver::watchSocket(curl_socket_t socket, int what)
{
    if (what == CURL_POLL_REMOVE) {
        const auto found = m_watches.find(socket);
        if (found != m_watches.end()) {
            found->second->stop();
            m_retiredWatches.push_back(std::move(found->second));
            m_watches.erase(found);
        }
        return;
    }
    int requested = 0;
    if ((what & CURL_POLL_IN) != 0)
        requested |= eSocketNotifier::Read;
    if ((what & CURL_POLL_OUT) != 0)
        requested |= eSocketNotifier::Write;
    std::unique_ptr<eSocketNotifier> &watch = m_watches[socket];
    if (!watch) {
        watch = std::make_unique<eSocketNotifier>(m_loop, socket, requested);
        watch->activated.connect([this, socket](int events) { socketReady(socket, events); });
    } else {
        watch->setRequested(requested);
        watch->start();
    }
}

void CurlLoopDriver::socketReady(curl_socket_t socket, int events)
{
    m_retiredWatches.clear();
    const auto found = m_watches.find(socket);
    const int requested = found != m_watches.end() ? found->second->getRequested() : 0;
    // A hang-up or an error is handed on as readiness for what was asked, so
    // that libcurl reads or writes and meets the condition itself.
    const bool trouble = (events & (eSocketNotifier::Hungup | eSocketNotifier::Error)) != 0;
    int mask = 0;
    if ((events & eSocketNotifier::Read) != 0 || (trouble && (requested & eSocketNotifier::Read) != 0))
        mask |= CURL_CSELECT_IN;
    if ((events & eSocketNotifier::Write) != 0 || (trouble && (requested & eSocketNotifier::Write) != 0))
        mask |= CURL_CSELECT_OUT;
    if ((events & eSocketNotifier::Error) != 0)
        mask |= CURL_CSELECT_ERR;
    int running = 0;
    curl_multi_socket_action(m_multi, socket, mask, &running);
    collectFinished();
}

void CurlLoopDriver::timerExpired()
{
    m_retiredWatches.clear();
    int running = 0;
    curl_multi_socket_action(m_multi, CURL_SOCKET_TIMEOUT, 0, &running);
    collectFinished();
}

void CurlLoopDriver::collectFinished()
{
    std::vector<std::pair<std::function<void(CURLcode)>, CURLcode>> finished;
    int left = 0;
    while (CURLMsg *message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        CURL *easy = message->easy_handle;
        const CURLcode result = message->data.result;
        const auto found = m_running.find(easy);
        if (found == m_running.end())
            continue;
        finished.emplace_back(std::move(found->second), result);
        m_running.erase(found);
        curl_multi_remove_handle(m_multi, easy);
    }
    for (auto &[report, result] : finished)
        report(result);
}

} // namespace boxhost::net
