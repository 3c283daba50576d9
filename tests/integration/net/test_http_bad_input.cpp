// Replies and requests that are not what the plug-in hopes for: a reply that is
// not XML, a reply with a NUL byte in it, and a search URL with a raw blank.
// Each ends with a clear code or error flag, never a crash.

#include "integration/net/http_test_support.h"
#include "net/ehttpdownloadxml.h"
#include "net/xmltree.h"
#include "support/run_loop.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using namespace std::chrono_literals;

namespace {

const std::string replyWithNul = std::string("<stationlist><station name=\"Ro") + '\0' + "ck\"/></stationlist>";

// A list request as the plug-in makes it: the body goes into an XML parser
// through eHTTPDownloadXML.
class XmlFetch : public SigC::Object
{
public:
    XmlFetch(eMainloop &loop, const std::string &url)
    {
        int error = 0;
        connection = eHTTPConnection::doRequest(url.c_str(), &loop, &error);
        if (connection == nullptr) {
            result = error;
            completed = true;
            return;
        }
        CONNECT(connection->transferDone, XmlFetch::transferDone);
        CONNECT(connection->createDataSink, XmlFetch::createSink);
        connection->local_header["User-Agent"] = "Tarnwave-Test";
        connection->start();
    }
    ~XmlFetch() override { delete connection; }
    XmlFetch(const XmlFetch &) = delete;
    XmlFetch &operator=(const XmlFetch &) = delete;

    XMLTreeParser parser{"UTF-8"};
    eHTTPConnection *connection = nullptr;
    bool completed = false;
    int result = 1;
    int code = 0;
    bool sinkMade = false;
    int sinkError = 0;
    std::string sinkErrorText;

private:
    eHTTPDataSource *createSink(eHTTPConnection *c)
    {
        m_sink = new eHTTPDownloadXML(c, parser);
        sinkMade = true;
        return m_sink;
    }
    void transferDone(int error)
    {
        completed = true;
        result = error;
        code = connection->code;
        if (m_sink != nullptr) {
            sinkError = m_sink->error;
            sinkErrorText = m_sink->errorString();
        }
        m_sink = nullptr; // forgotten at the end of each transfer
        connection = nullptr;
    }

    eHTTPDownloadXML *m_sink = nullptr;
};

class HttpBadInput : public ::testing::Test
{
protected:
    eMainloop loop;
    std::string lastTarget;
    std::string lastSearch;
    TestHttpServer server{[this](httplib::Server &s) {
        s.Get("/html", [](const httplib::Request &, httplib::Response &response) {
            response.set_content("<html><body><h1>Directory moved</h1><p>See the new site<br></body></html>",
                                 "text/html");
        });
        s.Get("/nul", [](const httplib::Request &, httplib::Response &response) {
            response.set_content(replyWithNul, "text/xml");
        });
        s.Get("/sbin/newxml.phtml", [this](const httplib::Request &request, httplib::Response &response) {
            lastTarget = request.target;
            lastSearch = request.get_param_value("search");
            response.set_content("<stationlist><station name=\"Found\" mt=\"audio/mpeg\" br=\"128\"/></stationlist>",
                                 "text/xml");
        });
    }};

    void run(XmlFetch &fetch)
    {
        ASSERT_TRUE(runUntil(
            loop, [&] { return fetch.completed; }, 5s));
    }
};

TEST_F(HttpBadInput, ReplyThatIsNotXmlSetsTheSinksErrorFlag)
{
    XmlFetch fetch(loop, server.url("/html"));
    run(fetch);
    EXPECT_EQ(fetch.result, 0);
    EXPECT_EQ(fetch.code, 200);
    ASSERT_TRUE(fetch.sinkMade);
    EXPECT_NE(fetch.sinkError, 0);
    EXPECT_EQ(fetch.sinkErrorText, "line 1: mismatched tag");
}

TEST_F(HttpBadInput, NulByteArrivesAsItIsAndFailsTheXml)
{
    Fetch raw(loop, server.url("/nul"));
    ASSERT_TRUE(runUntil(
        loop, [&] { return raw.done(); }, 5s));
    EXPECT_EQ(raw.result, 0);
    EXPECT_EQ(raw.received.body(), replyWithNul) << "the body is handed on byte for byte";

    XmlFetch fetch(loop, server.url("/nul"));
    run(fetch);
    EXPECT_EQ(fetch.result, 0);
    EXPECT_NE(fetch.sinkError, 0);
    EXPECT_FALSE(fetch.sinkErrorText.empty());
}

TEST_F(HttpBadInput, BlankInTheSearchIsSentPercentEncoded)
{
    XmlFetch fetch(loop, server.url("/sbin/newxml.phtml?search=hip hop"));
    ASSERT_NE(fetch.connection, nullptr);
    EXPECT_EQ(fetch.connection->url(), server.url("/sbin/newxml.phtml?search=hip%20hop"));
    run(fetch);
    EXPECT_EQ(fetch.result, 0);
    EXPECT_EQ(fetch.code, 200);
    EXPECT_EQ(lastTarget, "/sbin/newxml.phtml?search=hip%20hop");
    EXPECT_EQ(lastSearch, "hip hop");
    EXPECT_EQ(fetch.sinkError, 0);
    ASSERT_NE(fetch.parser.RootNode(), nullptr);
    EXPECT_STREQ(fetch.parser.RootNode()->GetChild()->GetAttributeValue("name"), "Found");
}

TEST_F(HttpBadInput, OtherUnsafeBytesInTheQueryAreEncodedAndEscapesKept)
{
    XmlFetch fetch(loop, server.url("/sbin/newxml.phtml?search=Caf\xC3\xA9 \"<50%25>\""));
    ASSERT_NE(fetch.connection, nullptr);
    run(fetch);
    EXPECT_EQ(fetch.result, 0);
    EXPECT_EQ(lastTarget, "/sbin/newxml.phtml?search=Caf%C3%A9%20%22%3C50%25%3E%22");
    EXPECT_EQ(lastSearch, "Caf\xC3\xA9 \"<50%>\"");
}

} // namespace
