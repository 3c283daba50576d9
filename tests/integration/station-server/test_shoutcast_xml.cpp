// The SHOUTcast directory's legacy replies passed on with the gateway's own
// tune-in base, and the checks of ids and playlists.

#include "shoutcast_xml.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using station::shoutcast::isStationId;
using station::shoutcast::hasStreamLine;
using station::shoutcast::passOn;
using station::shoutcast::ReplyError;

constexpr const char *ownBase = "/sbin/tunein-station.pls";

// Why `xml` is refused as the list `root`, or "(passed on)".
std::string refusalOf(const std::string &xml, std::string_view root)
{
    try {
        passOn(xml, root, ownBase);
    } catch (const ReplyError &error) {
        return error.what();
    }
    return "(passed on)";
}

TEST(ShoutcastXml, AnEmptyTuneInElementGetsTheOwnBaseAndTheRestStaysByteForByte)
{
    const std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<stationlist>\n"
                            "<tunein base=\"/yp/x.pls\" base-m3u=\"/yp/x.m3u\"/>\n"
                            "<station name=\"A &amp; B &#233;\" mt=\"audio/mpeg\" id=\"7\" br=\"128\"/>\n"
                            "</stationlist>\n";
    const auto passed = passOn(xml, "stationlist", ownBase);
    EXPECT_EQ(passed.body, "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<stationlist>\n"
                           "<tunein base=\"/sbin/tunein-station.pls\"/>\n"
                           "<station name=\"A &amp; B &#233;\" mt=\"audio/mpeg\" id=\"7\" br=\"128\"/>\n"
                           "</stationlist>\n");
    EXPECT_EQ(passed.tuneInBase, "/yp/x.pls");
}

TEST(ShoutcastXml, ATuneInElementWithAnEndTagKeepsIt)
{
    const auto passed = passOn("<stationlist><tunein base='/a.pls' >x</tunein></stationlist>", "stationlist", ownBase);
    EXPECT_EQ(passed.body, "<stationlist><tunein base=\"/sbin/tunein-station.pls\">x</tunein></stationlist>");
}

TEST(ShoutcastXml, EveryTuneInIsRewrittenAndTheLastBaseCounts)
{
    const auto passed = passOn("<stationlist><tunein base=\"/one.pls\"/><station id=\"1\"/>"
                               "<tunein base=\"/two.pls\"/><station id=\"2\"/></stationlist>",
                               "stationlist", ownBase);
    EXPECT_EQ(passed.body, "<stationlist><tunein base=\"/sbin/tunein-station.pls\"/><station id=\"1\"/>"
                           "<tunein base=\"/sbin/tunein-station.pls\"/><station id=\"2\"/></stationlist>");
    EXPECT_EQ(passed.tuneInBase, "/two.pls");
}

TEST(ShoutcastXml, ABaseThatIsNoPlainPathIsNotTaken)
{
    for (const std::string base : {"http://evil.example/x", "/x?y=1", "/a b", "", "/", "x.pls"}) {
        const auto passed =
            passOn("<stationlist><tunein base=\"" + base + "\"/></stationlist>", "stationlist", ownBase);
        EXPECT_EQ(passed.tuneInBase, "") << base;
        EXPECT_EQ(passed.body, "<stationlist><tunein base=\"/sbin/tunein-station.pls\"/></stationlist>") << base;
    }
}

TEST(ShoutcastXml, ALatin1ReplyIsReadInItsOwnEncodingAndPassedOnAsItCame)
{
    const std::string xml = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><stationlist>"
                            "<tunein base=\"/t.pls\"/><station name=\"Caf\xE9\"/></stationlist>";
    const auto passed = passOn(xml, "stationlist", ownBase);
    EXPECT_EQ(passed.body, "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><stationlist>"
                           "<tunein base=\"/sbin/tunein-station.pls\"/><station name=\"Caf\xE9\"/></stationlist>");
}

TEST(ShoutcastXml, AGenreListWithoutTuneInIsPassedOnUnchanged)
{
    const std::string xml = "<genrelist><genre name=\"Jazz\"></genre></genrelist>";
    EXPECT_EQ(passOn(xml, "genrelist", ownBase).body, xml);
}

TEST(ShoutcastXml, AReplyThatIsNotWellFormedIsRefused)
{
    for (const std::string xml :
         {"", "<stationlist>", "<stationlist><station name=\"a\" </stationlist>", "<html><body>maintenance</html>",
          "{\"json\": true}", "<?xml version=\"1.0\"?><stationlist>\xff</stationlist>"}) {
        EXPECT_THROW(passOn(xml, "stationlist", ownBase), ReplyError) << xml;
    }
}

TEST(ShoutcastXml, AReplyWhoseRootIsAnotherIsRefusedNamingIt)
{
    EXPECT_EQ(refusalOf("<response><statusCode>401</statusCode></response>", "genrelist"),
              "the reply is <response>, not <genrelist>");
}

TEST(ShoutcastXml, ALongRootNameIsShortenedInTheRefusal)
{
    EXPECT_EQ(refusalOf("<h" + std::string(200, 'x') + "\xC3\xA9/>", "genrelist"),
              "the reply is <h" + std::string(39, 'x') + "...>, not <genrelist>");
    // Not within a character: the cut goes before the one that would not fit.
    EXPECT_EQ(refusalOf("<" + std::string(39, 'x') + "\xC3\xA9\xC3\xA9/>", "genrelist"),
              "the reply is <" + std::string(39, 'x') + "...>, not <genrelist>");
}

TEST(ShoutcastXml, ADocumentTypeIsRefusedSoThatNoTuneInHidesInAnEntity)
{
    EXPECT_EQ(refusalOf("<?xml version=\"1.0\"?><!DOCTYPE stationlist [<!ENTITY t \"<tunein base='http://evil/x'/>\">]>"
                        "<stationlist>&t;<station id=\"1\"/></stationlist>",
                        "stationlist"),
              "the reply declares a document type");
    EXPECT_EQ(refusalOf("<!DOCTYPE stationlist><stationlist/>", "stationlist"), "the reply declares a document type");
}

TEST(ShoutcastXml, AReplyWithNulBytesIsRefused)
{
    const std::string utf16("<\0s\0/\0>\0", 8);
    EXPECT_THROW(passOn(utf16, "s", ownBase), ReplyError);
}

TEST(ShoutcastXml, AnEntityBombIsRefusedUnexpanded)
{
    std::string xml = "<?xml version=\"1.0\"?><!DOCTYPE s [<!ENTITY a \"aaaaaaaaaa\">";
    char previous = 'a';
    for (char name = 'b'; name <= 'k'; ++name) {
        xml += std::string("<!ENTITY ") + name + " \"";
        for (int i = 0; i < 10; ++i)
            xml += std::string("&") + previous + ";";
        xml += "\">";
        previous = name;
    }
    xml += "]><stationlist><station name=\"&k;\"/></stationlist>";
    EXPECT_EQ(refusalOf(xml, "stationlist"), "the reply declares a document type");
}

TEST(ShoutcastXml, StationIdsAreDigits)
{
    EXPECT_TRUE(isStationId("1"));
    EXPECT_TRUE(isStationId("123456789012345678"));
    EXPECT_FALSE(isStationId(""));
    EXPECT_FALSE(isStationId("1234567890123456789"));
    EXPECT_FALSE(isStationId("12a"));
    EXPECT_FALSE(isStationId("-1"));
    EXPECT_FALSE(isStationId("1 "));
    EXPECT_FALSE(isStationId("../1"));
}

TEST(ShoutcastXml, APlaylistHasAStreamLineWhereTheBoxLooksForOne)
{
    EXPECT_TRUE(hasStreamLine("[playlist]\nFile1=http://x/1\n"));
    EXPECT_TRUE(hasStreamLine("[playlist]\r\nnumberofentries=1\r\nFile1=http://x/1\r\n"));
    EXPECT_FALSE(hasStreamLine(""));
    EXPECT_FALSE(hasStreamLine("<html>not found</html>"));
    EXPECT_FALSE(hasStreamLine("[playlist]\nFile1=\nFile2=http://x/2\n"));
    EXPECT_FALSE(hasStreamLine("[playlist]\r\nFile1=\r\n"));
    EXPECT_FALSE(hasStreamLine("Files are gone\nFile1=http://x/1\n"));
}

} // namespace
