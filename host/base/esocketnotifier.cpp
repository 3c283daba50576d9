// eSocketNotifier: a registration in its loop's watch list while running.

#include "base/ebase.h"

#include "base/elog.h"

eSocketNotifier::eSocketNotifier(eMainloop *loop, int fd, int requested, bool startnow)
    : m_loop(loop), m_fd(fd), m_requested(requested)
{
    if (m_loop != nullptr)
        m_loop->attach(this);
    if (startnow)
        start();
}

eSocketNotifier::~eSocketNotifier()
{
    stop();
    if (m_loop != nullptr)
        m_loop->detach(this);
}

void eSocketNotifier::start()
{
    if (m_loop == nullptr) {
        eWarning("eSocketNotifier: fd %d started without a main loop", m_fd);
        return;
    }
    if (!isRunning())
        m_serial = m_loop->addWatch(this);
}

void eSocketNotifier::stop()
{
    if (!isRunning())
        return;
    if (m_loop != nullptr)
        m_loop->removeWatch(m_serial);
    m_serial = 0;
}

void eSocketNotifier::detachFromLoop()
{
    m_serial = 0;
    m_loop = nullptr;
}
