// eHTTPDownloadXML over a real transfer: the body parsed while it arrives in
// small pieces, a parse failure noticed mid-body, and a Latin-1 reply.

#include "integration/net/http_test_support.h"
#include "net/ehttpdownloadxml.h"
#include "net/xmltree.h"
#include "support/run_loop.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

using namespace std::chrono_literals;

namespace {

std::string stationReply(int stations)
{
    std::string reply = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<stationlist>\n"
                        "<tunein base=\"/sbin/tunein-station.pls\"/>\n";
    for (int i = 1; i <= stations; ++i)
        reply += "<station name=\"Station " + std::to_string(i) + " &amp; Friends\" mt=\"audio/mpeg\" id=\""
                 + std::to_string(i) + "\" br=\"128\"/>\n";
    return reply + "</stationlist>\n";
}

// Sends `body` in pieces of `pieceSize` bytes.
void serveInPieces(httplib::Response &response, std::string body, std::size_t pieceSize, const char *type)
{
    response.set_chunked_content_provider(type, [body, pieceSize](std::size_t, httplib::DataSink &sink) {
        for (std::size_t offset = 0; offset < body.size(); offset += pieceSize)
            if (!sink.write(body.data() + offset, std::min(pieceSize, body.size() - offset)))
                return false;
        sink.done();
        return true;
    });
}

class DownloadXml : public ::testing::Test, public SigC::Object
{
protected:
    void TearDown() override { gate.open(); }

    eMainloop loop;
    Gate gate;
    TestHttpServer server{[this](httplib::Server &s) {
        s.Get("/half-then-wait", [this](const httplib::Request &, httplib::Response &response) {
            response.set_chunked_content_provider("text/xml", [this](std::size_t, httplib::DataSink &sink) {
                const std::string body = stationReply(50);
                const std::size_t half = body.size() / 2;
                sink.write(body.data(), half);
                gate.waitOpen(10s);
                sink.write(body.data() + half, body.size() - half);
                sink.done();
                return true;
            });
        });
        s.Get("/stations", [](const httplib::Request &, httplib::Response &response) {
            serveInPieces(response, stationReply(300), 7, "text/xml");
        });
        s.Get("/broken", [](const httplib::Request &, httplib::Response &response) {
            std::string body = stationReply(300);
            body.replace(body.find("</stationlist>"), 14, "</stationlits>");
            serveInPieces(response, body, 7, "text/xml");
        });
        s.Get("/latin1", [](const httplib::Request &, httplib::Response &response) {
            response.set_content("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"
                                 "<genrelist><genre name=\"Chanson fran\xE7"
                                 "aise\"/></genrelist>",
                                 "text/xml; charset=ISO-8859-1");
        });
    }};

    std::unique_ptr<XMLTreeParser> ownedParser = std::make_unique<XMLTreeParser>("UTF-8");
    XMLTreeParser &parser = *ownedParser;
    eHTTPDownloadXML *xmlSink = nullptr;
    bool completed = false;
    int result = 1;

    void fetch(const std::string &path, const std::function<void()> &whileRunning = {})
    {
        int error = 0;
        eHTTPConnection *connection = eHTTPConnection::doRequest(server.url(path).c_str(), &loop, &error);
        ASSERT_NE(connection, nullptr);
        CONNECT(connection->transferDone, DownloadXml::transferDone);
        CONNECT(connection->createDataSink, DownloadXml::createSink);
        connection->start();
        if (whileRunning)
            whileRunning();
        ASSERT_TRUE(runUntil(
            loop, [&] { return completed; }, 10s));
    }

    eHTTPDataSource *createSink(eHTTPConnection *c)
    {
        xmlSink = new eHTTPDownloadXML(c, parser);
        return xmlSink;
    }
    void transferDone(int error)
    {
        completed = true;
        result = error;
        sinkError = xmlSink != nullptr ? xmlSink->error : -1;
        sinkErrorText = xmlSink != nullptr ? xmlSink->errorString() : "";
        xmlSink = nullptr;
    }
    int sinkError = -1;
    std::string sinkErrorText;
};

TEST_F(DownloadXml, ReplyInSevenBytePiecesBecomesTheTree)
{
    fetch("/stations");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(sinkError, 0) << sinkErrorText;
    ASSERT_NE(parser.RootNode(), nullptr);
    int stations = 0;
    const XMLTreeNode *last = nullptr;
    for (const XMLTreeNode *node = parser.RootNode()->GetChild(); node != nullptr; node = node->GetNext())
        if (std::string(node->GetType()) == "station") {
            ++stations;
            last = node;
        }
    EXPECT_EQ(stations, 300);
    ASSERT_NE(last, nullptr);
    EXPECT_STREQ(last->GetAttributeValue("name"), "Station 300 & Friends");
    EXPECT_EQ(last->GetAttributeValue("genre"), nullptr);
}

TEST_F(DownloadXml, ParseFailureInSevenBytePiecesIsRecorded)
{
    fetch("/broken");
    EXPECT_EQ(result, 0) << "the transfer itself succeeded";
    EXPECT_NE(sinkError, 0);
    EXPECT_NE(sinkErrorText.find("mismatched tag"), std::string::npos) << sinkErrorText;
    EXPECT_NE(parser.GetErrorCode(), 0);
}

TEST_F(DownloadXml, Latin1ReplyIsReadAsItsDeclarationSays)
{
    fetch("/latin1");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(sinkError, 0) << sinkErrorText;
    ASSERT_NE(parser.RootNode(), nullptr);
    EXPECT_STREQ(parser.RootNode()->GetChild()->GetAttributeValue("name"), "Chanson fran\xC3\xA7"
                                                                           "aise");
}

TEST_F(DownloadXml, ParserDeletedDuringTheTransferIsNotFedAnyFurther)
{
    fetch("/half-then-wait", [this] {
        ASSERT_TRUE(runUntil(
            loop, [this] { return ownedParser->RootNode() != nullptr; }, 5s));
        ownedParser.reset(); // as a new list request replaces the parser
        gate.open();
    });
    EXPECT_EQ(result, 0);
    EXPECT_NE(sinkError, 0);
    EXPECT_EQ(sinkErrorText, "the parser was deleted before the reply ended");
}

} // namespace
