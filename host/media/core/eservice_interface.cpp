#include "media/eservice.h"

#include "base/elog.h"

eServiceInterface *eServiceInterface::getInstance()
{
    static eServiceInterface instance;
    return &instance;
}

eServiceHandler *eServiceInterface::getServiceHandler(int type)
{
    std::lock_guard lock(m_mutex);
    const auto found = m_handlers.find(type);
    return found == m_handlers.end() ? nullptr : found->second;
}

void eServiceInterface::registerHandler(int type, eServiceHandler *handler)
{
    if (handler == nullptr)
        return;
    std::lock_guard lock(m_mutex);
    eServiceHandler *&slot = m_handlers[type];
    if (slot != handler)
        eDebug("service handler registered for type %d", type);
    slot = handler;
}

void eServiceInterface::unregisterHandler(int type, eServiceHandler *handler)
{
    std::lock_guard lock(m_mutex);
    const auto found = m_handlers.find(type);
    if (found != m_handlers.end() && found->second == handler)
        m_handlers.erase(found);
}
