#ifndef TARNWAVE_HOST_NET_EHTTPDOWNLOADXML_H
#define TARNWAVE_HOST_NET_EHTTPDOWNLOADXML_H

// A body sink that feeds the reply into an XML tree parser as it arrives:
//
//   eHTTPDataSource *Window::makeSink(eHTTPConnection *conn)
//   {
//       xmlSink = new eHTTPDownloadXML(conn, *xmlParser);
//       return xmlSink;
//   }
//
// and, when the transfer is done, xmlSink->error says whether the body parsed.
// Like every sink it belongs to its connection; the parser belongs to the
// caller. A parser destroyed before the body ended counts as a parse error.

#include "base/estring.h"
#include "net/ehttpdatasource.h"

class XMLTreeParser;

class eHTTPDownloadXML : public eHTTPDataSource
{
public:
    eHTTPDownloadXML(eHTTPConnection *c, XMLTreeParser &parser);
    ~eHTTPDownloadXML() override;

    // Pieces go to the parser; the end of the body (len 0) is its final call.
    // After a parse error the rest of the body is ignored.
    void haveData(void *data, int len) override;

    // 0 while the body parsed, non-zero once the parser reported an error.
    int error = 0;

    // What the parser said, with its line ("line 3: mismatched tag"); "" while
    // there is no error.
    const eString &errorString() const { return m_errorText; }

private:
    // Told by the parser when it is destroyed: a parser deleted while its
    // transfer still runs is not fed any further.
    struct ParserWatch : sigc::notifiable
    {
        eHTTPDownloadXML *sink;
    };
    static void parserDestroyed(sigc::notifiable *watch);

    XMLTreeParser *m_parser;
    ParserWatch m_watch{{}, this};
    eString m_errorText;
};

#endif
