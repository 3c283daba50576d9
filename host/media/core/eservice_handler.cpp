#include "media/eservice.h"

void eServiceHandler::addRef(const eServiceReference &ref)
{
    ++m_references[ref.path];
}

void eServiceHandler::removeRef(const eServiceReference &ref)
{
    const auto found = m_references.find(ref.path);
    if (found == m_references.end())
        return;
    if (--found->second <= 0)
        m_references.erase(found);
}

int eServiceHandler::referenceCount(const eServiceReference &ref) const
{
    const auto found = m_references.find(ref.path);
    return found == m_references.end() ? 0 : found->second;
}
