// eHTTPConnection: the connection's life, its sinks, and the delivery of what
// its transfer received, always from the main loop.

#include "net/ehttpconnection.h"

#include "base/elog.h"
#include "net/ehttpdatasource.h"
#include "net/http_transfer.h"
#include "net/http_url.h"

#include <algorithm>
#include <utility>

namespace {

eHTTPConnection::Limits currentLimits;
int runningTransfers = 0;

} // namespace

void eHTTPConnection::setLimits(const Limits &limits)
{
    currentLimits = limits;
}

eHTTPConnection::Limits eHTTPConnection::limits()
{
    return currentLimits;
}

int eHTTPConnection::activeTransfers()
{
    return runningTransfers;
}

eHTTPConnection *eHTTPConnection::doRequest(const char *url, eMainloop *loop, int *error)
{
    if (error != nullptr)
        *error = 0;
    if (loop == nullptr)
        loop = eApp;
    std::string sent = url != nullptr ? boxhost::net::percentEncodeUnsafeBytes(url) : std::string();
    if (loop == nullptr || !boxhost::net::isFetchableUrl(sent)) {
        eDebug("eHTTPConnection: cannot fetch \"%s\"", url != nullptr ? url : "(null)");
        if (error != nullptr)
            *error = errorOther;
        return nullptr;
    }
    return new eHTTPConnection(loop, std::move(sent));
}

eHTTPConnection::eHTTPConnection(eMainloop *loop, eString url)
    : m_loop(loop), m_url(std::move(url)), m_token(std::make_shared<LifeToken>(LifeToken{this}))
{
}

eHTTPConnection::~eHTTPConnection()
{
    m_token->connection = nullptr;
    if (m_started && !m_completed)
        --runningTransfers;
    // Stops the request first, so that nothing reaches a sink being freed.
    m_transfer.reset();
    for (std::unique_ptr<eHTTPDataSource> &sink : std::exchange(m_sinks, {}))
        sink->connection = nullptr;
}

void eHTTPConnection::start()
{
    if (m_started) {
        eWarning("eHTTPConnection: %s started twice", m_url.c_str());
        return;
    }
    m_started = true;
    ++runningTransfers;
    eDebug("eHTTPConnection: GET %s", m_url.c_str());
    m_transfer = std::make_unique<boxhost::net::HttpTransfer>(*this, m_loop);
    if (!m_transfer->start(m_url, local_header, currentLimits)) {
        eWarning("eHTTPConnection: %s could not be started", m_url.c_str());
        m_transfer.reset();
        finished(errorOther);
    }
}

void eHTTPConnection::adoptSink(eHTTPDataSource *sink)
{
    m_sinks.emplace_back(sink);
}

void eHTTPConnection::forgetSink(eHTTPDataSource *sink)
{
    const auto found =
        std::find_if(m_sinks.begin(), m_sinks.end(),
                     [sink](const std::unique_ptr<eHTTPDataSource> &owned) { return owned.get() == sink; });
    if (found != m_sinks.end()) {
        found->release(); // being destroyed by someone else
        m_sinks.erase(found);
    }
    if (m_sink == sink)
        m_sink = nullptr;
}

void eHTTPConnection::replyStatus(int statusCode, const std::string &reason)
{
    code = statusCode;
    code_descr = reason;
}

void eHTTPConnection::bodyPiece(const char *data, std::size_t length)
{
    m_pendingPieces.emplace_back(data, length);
    scheduleDelivery();
}

void eHTTPConnection::finished(int result)
{
    m_finished = true;
    m_result = result;
    scheduleDelivery();
}

void eHTTPConnection::scheduleDelivery()
{
    if (m_deliveryPosted)
        return;
    m_deliveryPosted = true;
    m_loop->post([token = m_token] { deliver(token); });
}

// Hands the received pieces to the sink and then, once the transfer ended,
// emits the completion and deletes the connection. Any slot called here may
// delete the connection or run a nested loop that delivers further pieces, so
// the connection is looked up again after each call.
void eHTTPConnection::deliver(const std::shared_ptr<LifeToken> &token)
{
    eHTTPConnection *self = token->connection;
    if (self == nullptr)
        return;
    self->m_deliveryPosted = false;
    while (!self->m_pendingPieces.empty()) {
        std::string piece = std::move(self->m_pendingPieces.front());
        self->m_pendingPieces.pop_front();
        if (!self->m_sinkAsked) {
            self->m_sinkAsked = true;
            eHTTPDataSource *sink = self->createDataSink(self);
            if ((self = token->connection) == nullptr)
                return;
            if (sink != nullptr && sink->connection == nullptr) {
                sink->connection = self;
                self->adoptSink(sink);
            }
            self->m_sink = sink;
        }
        if (self->m_sink != nullptr) {
            self->m_sink->haveData(piece.data(), static_cast<int>(piece.size()));
            if ((self = token->connection) == nullptr)
                return;
        }
    }
    if (!self->m_finished || self->m_completed)
        return;
    self->m_completed = true;
    --runningTransfers;
    if (self->m_result == 0 && self->m_sink != nullptr) {
        self->m_sink->haveData(nullptr, 0);
        if ((self = token->connection) == nullptr)
            return;
    }
    eDebug("eHTTPConnection: %s done: %d (status %d)", self->m_url.c_str(), self->m_result, self->code);
    self->transferDone(self->m_result);
    // The host frees the connection once its completion has been handled.
    delete token->connection;
}
