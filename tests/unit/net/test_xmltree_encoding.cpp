// The XML tree's encodings: the parser's encoding for documents that name
// none, the document's own declaration or byte-order mark otherwise; the tree
// is UTF-8 either way.

#include "net/xmltree.h"

#include "unit/net/xml_tree_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// "Café Ñandú" in ISO-8859-1 and in UTF-8.
const std::string latin1Name = "Caf\xE9 \xD1" "and\xFA";
const std::string utf8Name = "Caf\xC3\xA9 \xC3\x91"
                             "and\xC3\xBA";

std::string nameOfFirstChild(const XMLTreeParser &parser)
{
    const XMLTreeNode *root = parser.RootNode();
    if (root == nullptr || root->GetChild() == nullptr)
        return "(no child)";
    const char *name = root->GetChild()->GetAttributeValue("name");
    return name != nullptr ? name : "(no name)";
}

TEST(XmlTreeEncoding, DeclaredLatin1DocumentIsReadAsLatin1ByAUtf8Parser)
{
    const std::string document =
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<genrelist><genre name=\"" + latin1Name + "\"/></genrelist>";
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0) << parser.ErrorString();
    EXPECT_EQ(nameOfFirstChild(parser), utf8Name);
}

TEST(XmlTreeEncoding, DeclarationIsHonouredWhenItArrivesByteByByte)
{
    const std::string document =
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<genrelist><genre name=\"" + latin1Name + "\"/></genrelist>";
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parseInPieces(parser, document, 1), 0) << parser.ErrorString();
    EXPECT_EQ(nameOfFirstChild(parser), utf8Name);
}

TEST(XmlTreeEncoding, UndeclaredDocumentIsReadInTheParsersEncoding)
{
    const std::string document = "<genrelist><genre name=\"" + latin1Name + "\"/></genrelist>";
    XMLTreeParser parser("ISO-8859-1");
    ASSERT_NE(parseInPieces(parser, document, 7), 0) << parser.ErrorString();
    EXPECT_EQ(nameOfFirstChild(parser), utf8Name);
}

TEST(XmlTreeEncoding, DeclarationWithoutEncodingLeavesTheParsersEncoding)
{
    const std::string document =
        "<?xml version=\"1.0\" standalone=\"yes\"?><genrelist><genre name=\"" + latin1Name + "\"/></genrelist>";
    XMLTreeParser parser("ISO-8859-1");
    ASSERT_NE(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0) << parser.ErrorString();
    EXPECT_EQ(nameOfFirstChild(parser), utf8Name);
}

TEST(XmlTreeEncoding, DeclaredUtf8WinsOverALatin1Parser)
{
    const std::string document =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><genrelist><genre name=\"" + utf8Name + "\"/></genrelist>";
    XMLTreeParser parser("ISO-8859-1");
    ASSERT_NE(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0) << parser.ErrorString();
    EXPECT_EQ(nameOfFirstChild(parser), utf8Name);
}

TEST(XmlTreeEncoding, Utf8ByteOrderMarkWinsOverALatin1Parser)
{
    const std::string document = "\xEF\xBB\xBF<genrelist><genre name=\"" + utf8Name + "\"/></genrelist>";
    XMLTreeParser parser("ISO-8859-1");
    ASSERT_NE(parseInPieces(parser, document, 1), 0) << parser.ErrorString();
    EXPECT_EQ(nameOfFirstChild(parser), utf8Name);
}

TEST(XmlTreeEncoding, Utf16DocumentWithByteOrderMarkBecomesUtf8)
{
    const std::string ascii = "<genrelist><genre name=\"Caf\xE9\"/></genrelist>";
    std::string document = "\xFF\xFE"; // UTF-16LE
    for (const char c : ascii) {
        document += c;
        document += '\0';
    }
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0) << parser.ErrorString();
    EXPECT_EQ(nameOfFirstChild(parser), "Caf\xC3\xA9");
}

TEST(XmlTreeEncoding, Latin1BytesInAnUndeclaredDocumentFailAUtf8Parser)
{
    const std::string document = "<genrelist><genre name=\"" + latin1Name + "\"/></genrelist>";
    XMLTreeParser parser("UTF-8");
    EXPECT_EQ(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0);
    EXPECT_NE(parser.GetErrorCode(), 0);
    EXPECT_STRNE(parser.ErrorString(), "");
}

TEST(XmlTreeEncoding, NoEncodingGivenMeansUtf8)
{
    const std::string document = "<genrelist><genre name=\"" + utf8Name + "\"/></genrelist>";
    XMLTreeParser parser(nullptr);
    ASSERT_NE(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0) << parser.ErrorString();
    EXPECT_EQ(nameOfFirstChild(parser), utf8Name);
}

TEST(XmlTreeEncoding, UnknownDeclaredEncodingIsAnError)
{
    const std::string document = "<?xml version=\"1.0\" encoding=\"X-NO-SUCH\"?><genrelist/>";
    XMLTreeParser parser("UTF-8");
    EXPECT_EQ(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0);
    EXPECT_STRNE(parser.ErrorString(), "");
    EXPECT_EQ(parser.RootNode(), nullptr);
}

TEST(XmlTreeEncoding, ShortUndeclaredDocumentsNeedNoDeclarationToWaitFor)
{
    for (const std::string document : {"<a/>", "<a></a>", "<a>\xE9</a>"}) {
        XMLTreeParser parser("ISO-8859-1");
        ASSERT_NE(parseInPieces(parser, document, 1), 0) << document << ": " << parser.ErrorString();
        ASSERT_NE(parser.RootNode(), nullptr);
        EXPECT_STREQ(parser.RootNode()->GetType(), "a");
    }
}

} // namespace
