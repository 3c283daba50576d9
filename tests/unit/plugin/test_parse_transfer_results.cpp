// What the end of a transfer shows: the status line for each result code
// (setError), the branches of the end of a list transfer, and the string sink
// that collects a playlist.

#include "directory_test_support.h"
#include "plugin_test_support.h"

#include "directory/ehttpdownloadstring.h"

#include "base/messages.h"
#include "net/ehttpconnection.h"
#include "net/ehttpdownloadxml.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using directorytest::namesOf;
using directorytest::parseInto;

namespace {

class TransferResults : public ::testing::Test
{
protected:
    // A connection that the host reports as finished with `code`; never
    // started, so nothing goes out.
    eHTTPConnection *finishedConnection(int code, const char *reason)
    {
        int error = 0;
        reply.reset(eHTTPConnection::doRequest("http://127.0.0.1:9/sbin/newxml.phtml", eApp, &error));
        EXPECT_NE(reply, nullptr);
        reply->code = code;
        reply->code_descr = reason;
        return reply.get();
    }

    void loadGenres()
    {
        parseInto(window, 1, "<genrelist><genre name=\"Kept\"/></genrelist>");
        window.lb_status->setText("Download...  One moment please...");
    }

    // The genre list loaded once, and a new request for it that has just
    // finished with `code`: a fresh parser, the connection, and, when a
    // `body` came, the sink that fed it into the parser.
    void finishGenreRequest(int code, const char *reason, const char *body = nullptr)
    {
        loadGenres();
        window.currentList = 1;
        delete window.xmlParser; // whatever parser was left behind
        window.xmlParser = new XMLTreeParser("UTF-8");
        window.connection = finishedConnection(code, reason);
        if (!body)
            return;
        // The sink belongs to the connection, as the host's sinks do.
        window.xmlSink = new eHTTPDownloadXML(window.connection, *window.xmlParser);
        std::string bytes = body;
        window.xmlSink->haveData(bytes.data(), static_cast<int>(bytes.size()));
        window.xmlSink->haveData(nullptr, 0);
    }

    plugintest::Box box;
    Ctarnwave window;
    std::unique_ptr<eHTTPConnection> reply;
};

TEST_F(TransferResults, UnknownCodeIsShownWithItsNumber)
{
    window.setError(-7);
    EXPECT_EQ(window.lb_status->getText(), "unknown error -7");
    window.setError(-1);
    EXPECT_EQ(window.lb_status->getText(), "unknown error -1");
    window.setError(-4);
    EXPECT_EQ(window.lb_status->getText(), "unknown error -4");
    window.setError(5);
    EXPECT_EQ(window.lb_status->getText(), "unknown error 5");
}

TEST_F(TransferResults, NameThatDoesNotResolveAndRefusedConnectionHaveTheirOwnWords)
{
    window.setError(-2);
    EXPECT_EQ(window.lb_status->getText(), "Can't resolve hostname!");
    window.setError(-3);
    EXPECT_EQ(window.lb_status->getText(), "Can't connect! (check network settings)");
}

TEST_F(TransferResults, WordsAreTranslated)
{
    setMessageLanguage("de");
    window.setError(-2);
    const eString resolve = window.lb_status->getText();
    window.setError(-7);
    const eString unknown = window.lb_status->getText();
    setMessageLanguage("");
    EXPECT_EQ(resolve, "Hostname kann nicht aufgelöst werden!");
    EXPECT_EQ(unknown, "unbekannter Fehler -7");
}

TEST_F(TransferResults, ServerReplyOtherThan200IsShownWithCodeAndReason)
{
    window.connection = finishedConnection(503, "Service Unavailable");
    window.setError(0);
    EXPECT_EQ(window.lb_status->getText(), "error: server replied 503 Service Unavailable");
    window.connection = nullptr;
}

TEST_F(TransferResults, ZeroWithoutConnectionOrWith200ClearsTheLine)
{
    window.lb_status->setText("old");
    window.setError(0);
    EXPECT_EQ(window.lb_status->getText(), "");
    window.lb_status->setText("old");
    window.connection = finishedConnection(200, "OK");
    window.setError(0);
    EXPECT_EQ(window.lb_status->getText(), "");
    window.connection = nullptr;
}

TEST_F(TransferResults, ListTransferErrorIsShownAndLeavesTheList)
{
    finishGenreRequest(0, "");
    window.xml_TransferDone(-3);
    EXPECT_EQ(window.lb_status->getText(), "Can't connect! (check network settings)");
    EXPECT_EQ(namesOf(window, 1), std::vector<std::string>{"Kept"});
    EXPECT_EQ(window.xmlParser, nullptr);
    EXPECT_EQ(window.connection, nullptr);
}

TEST_F(TransferResults, ListReplyOtherThan200IsShownAndLeavesTheList)
{
    finishGenreRequest(503, "Service Unavailable");
    window.xml_TransferDone(0);
    EXPECT_EQ(window.lb_status->getText(), "error: server replied 503 Service Unavailable");
    EXPECT_EQ(namesOf(window, 1), std::vector<std::string>{"Kept"});
    EXPECT_EQ(window.connection, nullptr);
}

TEST_F(TransferResults, BodyThatDidNotParseSaysXmlParseErrorWithoutFullStop)
{
    finishGenreRequest(200, "OK", "<genrelist><genre name=\"New\"></genrelist>");
    ASSERT_NE(window.xmlSink->error, 0);

    window.xml_TransferDone(0);
    EXPECT_EQ(window.lb_status->getText(), "XML parse error");
    EXPECT_EQ(namesOf(window, 1), std::vector<std::string>{"Kept"});
    EXPECT_EQ(window.xmlSink, nullptr);
    EXPECT_EQ(window.xmlParser, nullptr);
}

TEST_F(TransferResults, BodyThatParsedBecomesTheListAndTheSinkIsForgotten)
{
    finishGenreRequest(200, "OK", "<genrelist><genre name=\"New\"/><genre name=\"Newer\"/></genrelist>");

    window.xml_TransferDone(0);
    EXPECT_EQ(namesOf(window, 1), (std::vector<std::string>{"New", "Newer"}));
    EXPECT_EQ(window.getText(), "Tarnwave / Genre List   (2 entries)");
    EXPECT_EQ(window.xmlSink, nullptr);
}

TEST_F(TransferResults, ReplyWithoutBodyShowsNothingNew)
{
    finishGenreRequest(200, "OK");
    const eString title = window.getText();
    window.xml_TransferDone(0);
    EXPECT_EQ(window.lb_status->getText(), "Download...  One moment please...");
    EXPECT_EQ(namesOf(window, 1), std::vector<std::string>{"Kept"});
    EXPECT_EQ(window.getText(), title);
    EXPECT_EQ(window.xmlParser, nullptr);
    EXPECT_EQ(window.connection, nullptr);
}

TEST_F(TransferResults, StringSinkJoinsPiecesInArrivalOrderAndTheEndAddsNothing)
{
    eString body = "kept ";
    auto *sink = new eHTTPDownloadString(nullptr, &body);
    std::unique_ptr<eHTTPDownloadString> owner(sink);
    EXPECT_EQ(sink->target, &body);
    EXPECT_EQ(sink->done, 0);

    char first[] = "[playlist]\nFi";
    char second[] = {'l', 'e', '\0', '1', '='};
    char third[] = "http://x/\n";
    sink->haveData(first, static_cast<int>(sizeof first - 1));
    sink->haveData(second, static_cast<int>(sizeof second));
    sink->haveData(third, static_cast<int>(sizeof third - 1));
    EXPECT_EQ(sink->done, 0);
    sink->haveData(nullptr, 0);
    EXPECT_EQ(sink->done, 1);
    const char expected[] = "kept [playlist]\nFile\0"
                            "1=http://x/\n";
    EXPECT_EQ(body, std::string(expected, sizeof expected - 1));

    // Going away leaves the text alone.
    owner.reset();
    EXPECT_EQ(body, std::string(expected, sizeof expected - 1));
}

TEST_F(TransferResults, PlaylistSinkWritesIntoThePlaylistText)
{
    window.connection = finishedConnection(0, "");
    eHTTPDataSource *sink = window.create_STR_DataSink(window.connection);
    ASSERT_EQ(sink, window.strSink);
    EXPECT_EQ(window.strSink->target, &window.playlistText);
    EXPECT_EQ(window.strSink->done, 0);
    char piece[] = "File1=http://p/";
    sink->haveData(piece, static_cast<int>(sizeof piece - 1));
    EXPECT_EQ(window.playlistText, "File1=http://p/");
    window.connection = nullptr;
}

TEST_F(TransferResults, ListSinkFeedsTheWindowsParser)
{
    delete window.xmlParser; // whatever parser was left behind
    window.xmlParser = new XMLTreeParser("UTF-8");
    window.connection = finishedConnection(0, "");
    eHTTPDataSource *sink = window.create_XML_DataSink(window.connection);
    ASSERT_EQ(sink, window.xmlSink);
    char body[] = "<genrelist><genre name=\"Fed\"/></genrelist>";
    sink->haveData(body, static_cast<int>(sizeof body - 1));
    sink->haveData(nullptr, 0);
    ASSERT_NE(window.xmlParser->RootNode(), nullptr);
    EXPECT_STREQ(window.xmlParser->RootNode()->GetChild()->GetAttributeValue("name"), "Fed");
    window.connection = nullptr;
}

} // namespace
