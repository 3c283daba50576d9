// The XML tree's encodings: the parser's encoding for documents that name
// none, the document's own declaration or byte-order mark otherwise; the tree
// is UTF-8 either way.

#include "net/xmltree.h"

#include "unit/net/xml_tree_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

// "Café Ñandú" in ISO-8859-1 and in UTF-8.
const std::string latin1Name = "Caf\xE9 \xD1"
                               "and\xFA";
const std::string utf8Name = "Caf\xC3\xA9 \xC3\x91"
                             "and\xC3\xBA";

// `text` (ASCII or Latin-1) in UTF-16, little- or big-endian, with or without
// its byte-order mark.
std::string utf16(std::string_view text, bool bigEndian, bool withMark)
{
    std::string document;
    if (withMark)
        document = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : text) {
        document += bigEndian ? '\0' : c;
        document += bigEndian ? c : '\0';
    }
    return document;
}

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
    const std::string document = utf16("<genrelist><genre name=\"Caf\xE9\"/></genrelist>", false, true);
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0) << parser.ErrorString();
    EXPECT_EQ(nameOfFirstChild(parser), "Caf\xC3\xA9");
}

// One byte cannot tell UTF-16 from the parser's own encoding: a document
// whose first piece is a single byte is read as it is read whole, its
// declaration included.
TEST(XmlTreeEncoding, UnknownEncodingOfAUtf16DocumentIsAnErrorAlsoByteByByte)
{
    const std::string text = "<?xml version=\"1.0\" encoding=\"X-NO-SUCH\"?><genrelist/>";
    const struct
    {
        const char *form;
        std::string document;
    } forms[] = {{"little-endian, marked", utf16(text, false, true)},
                 {"big-endian, marked", utf16(text, true, true)},
                 {"big-endian", utf16(text, true, false)}};
    for (const auto &[form, document] : forms) {
        XMLTreeParser whole("UTF-8");
        EXPECT_EQ(whole.Parse(document.data(), static_cast<int>(document.size()), 1), 0) << form;
        XMLTreeParser pieces("UTF-8");
        EXPECT_EQ(parseInPieces(pieces, document, 1), 0) << form;
        EXPECT_STREQ(pieces.ErrorString(), whole.ErrorString()) << form;
    }
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
