// The XML tree on input that is not a well-formed document: errors reported
// with a text and a line, the failure sticking, and never a crash.

#include "net/xmltree.h"

#include "support/random_input.h"
#include "unit/net/xml_tree_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

const std::string goodDocument = "<stationlist>\n"
                                 "<tunein base=\"/sbin/tunein-station.pls\"/>\n"
                                 "<station name=\"A &amp; B\" mt=\"audio/mpeg\" id=\"1\" br=\"128\"/>\n"
                                 "<station name=\"C\" mt=\"audio/mpeg\" id=\"2\" br=\"96\">text</station>\n"
                                 "</stationlist>\n";

TEST(XmlTreeBadInput, HtmlPageIsNotWellFormed)
{
    const std::string page = "<html>\n<head><title>503</title></head>\n<body><p>Busy<br></body>\n</html>\n";
    XMLTreeParser parser("UTF-8");
    EXPECT_EQ(parseInPieces(parser, page, 2048), 0);
    EXPECT_NE(parser.GetErrorCode(), 0);
    EXPECT_STREQ(parser.ErrorString(), "mismatched tag");
    EXPECT_EQ(parser.GetCurrentLineNumber(), 3);
}

TEST(XmlTreeBadInput, PlainTextIsNotXml)
{
    const std::string text = "Service temporarily unavailable, try again later.\n";
    XMLTreeParser parser("UTF-8");
    EXPECT_EQ(parseInPieces(parser, text, 2048), 0);
    EXPECT_STRNE(parser.ErrorString(), "");
    EXPECT_EQ(parser.RootNode(), nullptr);
}

TEST(XmlTreeBadInput, ErrorFoundWhenFedInSevenBytePiecesAndItSticks)
{
    const std::string broken = "<genrelist>\n<genre name=\"Rock\"></genre>\n<genre name=\"Pop\"></gerne>\n</genrelist>";
    XMLTreeParser parser("UTF-8");
    int failedAt = -1;
    for (std::size_t offset = 0; offset < broken.size(); offset += 7) {
        const auto length = static_cast<int>(std::min<std::size_t>(7, broken.size() - offset));
        const bool last = offset + 7 >= broken.size();
        if (parser.Parse(broken.data() + offset, length, last ? 1 : 0) == 0) {
            failedAt = static_cast<int>(offset);
            break;
        }
    }
    ASSERT_GE(failedAt, 0) << "the mismatched end tag was not noticed";
    // The piece with the wrong end tag (offset 56..63) or the one after it.
    EXPECT_GE(failedAt, 49);
    EXPECT_LE(failedAt, 70);
    EXPECT_STREQ(parser.ErrorString(), "mismatched tag");
    EXPECT_EQ(parser.GetCurrentLineNumber(), 3);

    const std::string rest = "</genrelist>";
    EXPECT_EQ(parser.Parse(rest.data(), static_cast<int>(rest.size()), 0), 0);
    EXPECT_EQ(parser.Parse(nullptr, 0, 1), 0);
    EXPECT_STREQ(parser.ErrorString(), "mismatched tag");
}

TEST(XmlTreeBadInput, NulByteIsAnError)
{
    std::string document = "<genrelist><genre name=\"Ro";
    document += '\0';
    document += "ck\"/></genrelist>";
    XMLTreeParser parser("UTF-8");
    EXPECT_EQ(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0);
    EXPECT_NE(parser.GetErrorCode(), 0);
}

TEST(XmlTreeBadInput, EmptyInputHasNoRootAndFails)
{
    XMLTreeParser parser("UTF-8");
    EXPECT_EQ(parser.Parse("", 0, 1), 0);
    EXPECT_EQ(parser.RootNode(), nullptr);
    EXPECT_STREQ(parser.ErrorString(), "no element found");
}

TEST(XmlTreeBadInput, TruncatedDocumentFailsOnTheFinalCall)
{
    const std::string cut = goodDocument.substr(0, goodDocument.size() / 2);
    XMLTreeParser parser("UTF-8");
    EXPECT_NE(parser.Parse(cut.data(), static_cast<int>(cut.size()), 0), 0);
    EXPECT_EQ(parser.Parse(nullptr, 0, 1), 0);
    EXPECT_STRNE(parser.ErrorString(), "");
    // What arrived before the cut is there.
    ASSERT_NE(parser.RootNode(), nullptr);
    EXPECT_STREQ(parser.RootNode()->GetType(), "stationlist");
}

TEST(XmlTreeBadInput, CallAfterTheFinalOneFailsButKeepsTheTree)
{
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(goodDocument.data(), static_cast<int>(goodDocument.size()), 1), 0);
    EXPECT_EQ(parser.Parse("<x/>", 4, 1), 0);
    EXPECT_STRNE(parser.ErrorString(), "");
    ASSERT_NE(parser.RootNode(), nullptr);
    EXPECT_STREQ(parser.RootNode()->GetType(), "stationlist");
}

TEST(XmlTreeBadInput, NegativeLengthIsRefused)
{
    XMLTreeParser parser("UTF-8");
    EXPECT_EQ(parser.Parse("<a/>", -1, 0), 0);
    EXPECT_EQ(parser.Parse("<a/>", 4, 1), 0);
}

TEST(XmlTreeBadInput, EntityExpansionBombIsRefused)
{
    std::string bomb = "<!DOCTYPE r [<!ENTITY a0 \"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx\">";
    for (int i = 1; i < 12; ++i) {
        bomb += "<!ENTITY a" + std::to_string(i) + " \"";
        for (int k = 0; k < 10; ++k)
            bomb += "&a" + std::to_string(i - 1) + ";";
        bomb += "\">";
    }
    bomb += "]><r a=\"&a11;\">&a11;</r>";
    XMLTreeParser parser("UTF-8");
    EXPECT_EQ(parser.Parse(bomb.data(), static_cast<int>(bomb.size()), 1), 0);
    EXPECT_STRNE(parser.ErrorString(), "");
}

TEST(XmlTreeBadInput, DamagedDocumentsNeverCrash)
{
    Random random(404);
    for (int round = 0; round < 500; ++round) {
        std::string document = goodDocument;
        const std::size_t changes = random.between(1, 6);
        for (std::size_t i = 0; i < changes; ++i) {
            const std::size_t at = random.between(0, document.size() - 1);
            switch (random.between(0, 2)) {
            case 0: document[at] = random.byte(); break;
            case 1: document.erase(at, random.between(1, 8)); break;
            default: document.insert(at, 1, random.oneOf(std::string_view("<>&\"'/=;#x \0\xC3\xE9", 15))); break;
            }
        }
        XMLTreeParser parser(round % 2 == 0 ? "UTF-8" : "ISO-8859-1");
        const int result = parseInPieces(parser, document, random.between(1, 64));
        SCOPED_TRACE(printable(document));
        if (result == 0) {
            EXPECT_NE(parser.GetErrorCode(), 0);
            EXPECT_STRNE(parser.ErrorString(), "");
        } else {
            // A document that still parsed has a whole tree to walk.
            ASSERT_NE(parser.RootNode(), nullptr);
            EXPECT_FALSE(treeText(parser.RootNode()).empty());
        }
    }
}

} // namespace
