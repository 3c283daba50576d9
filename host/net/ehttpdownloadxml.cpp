// eHTTPDownloadXML: the body of a reply parsed into an XML tree while it arrives.

#include "net/ehttpdownloadxml.h"

#include "base/elog.h"
#include "net/xmltree.h"

eHTTPDownloadXML::eHTTPDownloadXML(eHTTPConnection *c, XMLTreeParser &parser) : eHTTPDataSource(c), m_parser(&parser)
{
    m_parser->add_destroy_notify_callback(&m_watch, &eHTTPDownloadXML::parserDestroyed);
}

eHTTPDownloadXML::~eHTTPDownloadXML()
{
    if (m_parser != nullptr)
        m_parser->remove_destroy_notify_callback(&m_watch);
}

void eHTTPDownloadXML::parserDestroyed(sigc::notifiable *watch)
{
    static_cast<ParserWatch *>(watch)->sink->m_parser = nullptr;
}

void eHTTPDownloadXML::haveData(void *data, int len)
{
    if (error != 0 || len < 0)
        return;
    if (m_parser == nullptr) {
        error = 1;
        m_errorText = "the parser was deleted before the reply ended";
        eDebug("eHTTPDownloadXML: %s", m_errorText.c_str());
        return;
    }
    const int isFinal = len == 0 ? 1 : 0;
    if (m_parser->Parse(static_cast<const char *>(data), len, isFinal) != 0)
        return;
    error = 1;
    m_errorText.sprintf("line %d: %s", m_parser->GetCurrentLineNumber(), m_parser->ErrorString());
    eDebug("eHTTPDownloadXML: %s", m_errorText.c_str());
}
