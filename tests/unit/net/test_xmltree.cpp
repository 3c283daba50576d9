// The XML tree: elements, attributes, text and entities as the directory's
// replies and the favourites file use them, fed whole and in pieces.

#include "net/xmltree.h"

#include "support/random_input.h"
#include "unit/net/xml_tree_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

const std::string stationList = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                                "<stationlist>\n"
                                "  <tunein base=\"/sbin/tunein-station.pls\"/>\n"
                                "  <station name=\"Rock Antenne\" mt=\"audio/mpeg\" id=\"1001\" br=\"128\" "
                                "genre=\"Rock\" ct=\"Song A\" lc=\"12\"/>\n"
                                "  <station name=\"Jazz Lounge\" mt=\"audio/aacp\" id=\"1002\" br=\"64\"/>\n"
                                "  <station name=\"\" mt=\"audio/mpeg\"/>\n"
                                "</stationlist>\n";

std::vector<const XMLTreeNode *> childrenOf(const XMLTreeNode *node)
{
    std::vector<const XMLTreeNode *> children;
    for (const XMLTreeNode *child = node->GetChild(); child != nullptr; child = child->GetNext())
        children.push_back(child);
    return children;
}

TEST(XmlTree, NoRootBeforeAnythingIsParsed)
{
    XMLTreeParser parser("UTF-8");
    EXPECT_EQ(parser.RootNode(), nullptr);
    EXPECT_EQ(parser.GetErrorCode(), 0);
    EXPECT_STREQ(parser.ErrorString(), "");
}

TEST(XmlTree, StationListBecomesRootWithChildrenInDocumentOrder)
{
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(stationList.data(), static_cast<int>(stationList.size()), 1), 0) << parser.ErrorString();

    const XMLTreeNode *root = parser.RootNode();
    ASSERT_NE(root, nullptr);
    EXPECT_STREQ(root->GetType(), "stationlist");
    EXPECT_EQ(root->GetParent(), nullptr);
    EXPECT_EQ(root->GetNext(), nullptr);

    const auto children = childrenOf(root);
    ASSERT_EQ(children.size(), 4u);
    EXPECT_STREQ(children[0]->GetType(), "tunein");
    EXPECT_STREQ(children[0]->GetAttributeValue("base"), "/sbin/tunein-station.pls");
    EXPECT_STREQ(children[1]->GetType(), "station");
    EXPECT_STREQ(children[1]->GetAttributeValue("name"), "Rock Antenne");
    EXPECT_STREQ(children[1]->GetAttributeValue("mt"), "audio/mpeg");
    EXPECT_STREQ(children[1]->GetAttributeValue("id"), "1001");
    EXPECT_STREQ(children[1]->GetAttributeValue("br"), "128");
    EXPECT_STREQ(children[1]->GetAttributeValue("genre"), "Rock");
    EXPECT_STREQ(children[1]->GetAttributeValue("lc"), "12");
    EXPECT_STREQ(children[2]->GetAttributeValue("mt"), "audio/aacp");
    for (const XMLTreeNode *child : children)
        EXPECT_EQ(child->GetParent(), root);
}

TEST(XmlTree, AbsentAttributeIsNullAndEmptyAttributeIsEmptyText)
{
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(stationList.data(), static_cast<int>(stationList.size()), 1), 0);
    const auto children = childrenOf(parser.RootNode());
    ASSERT_EQ(children.size(), 4u);

    EXPECT_EQ(children[2]->GetAttributeValue("genre"), nullptr);
    EXPECT_EQ(children[2]->GetAttributeValue("ct"), nullptr);
    EXPECT_EQ(children[0]->GetAttributeValue("name"), nullptr);
    EXPECT_EQ(children[1]->GetAttributeValue("Name"), nullptr) << "attribute names are case-sensitive";
    EXPECT_EQ(children[1]->GetAttributeValue(""), nullptr);
    EXPECT_EQ(children[1]->GetAttributeValue(nullptr), nullptr);
    ASSERT_NE(children[3]->GetAttributeValue("name"), nullptr);
    EXPECT_STREQ(children[3]->GetAttributeValue("name"), "");
}

TEST(XmlTree, AttributesCanBeListedInDocumentOrder)
{
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(stationList.data(), static_cast<int>(stationList.size()), 1), 0);
    const XMLTreeNode *station = childrenOf(parser.RootNode())[2];
    ASSERT_EQ(station->GetAttributeCount(), 4);
    EXPECT_STREQ(station->GetAttributeNameAt(0), "name");
    EXPECT_STREQ(station->GetAttributeValueAt(0), "Jazz Lounge");
    EXPECT_STREQ(station->GetAttributeNameAt(3), "br");
    EXPECT_STREQ(station->GetAttributeValueAt(3), "64");
    EXPECT_EQ(station->GetAttributeNameAt(4), nullptr);
    EXPECT_EQ(station->GetAttributeValueAt(-1), nullptr);
    EXPECT_EQ(parser.RootNode()->GetAttributeCount(), 0);
}

TEST(XmlTree, EntitiesAndCharacterReferencesAreDecoded)
{
    const std::string document = "<!DOCTYPE genrelist [<!ENTITY rr \"Rock &amp; Roll\">]>\n"
                                 "<genrelist>"
                                 "<genre name=\"Jazz &amp; Blues\" url=\"http://h/?a=1&amp;b=2\"></genre>"
                                 "<genre name=\"&lt;Top&gt; &quot;40&quot; &apos;s\"/>"
                                 "<genre name=\"Caf&#233; &#x263A;\"/>"
                                 "<genre name=\"&rr;\">A &amp; B &#65;</genre>"
                                 "</genrelist>";
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0) << parser.ErrorString();
    const auto genres = childrenOf(parser.RootNode());
    ASSERT_EQ(genres.size(), 4u);
    EXPECT_STREQ(genres[0]->GetAttributeValue("name"), "Jazz & Blues");
    EXPECT_STREQ(genres[0]->GetAttributeValue("url"), "http://h/?a=1&b=2");
    EXPECT_STREQ(genres[1]->GetAttributeValue("name"), "<Top> \"40\" 's");
    EXPECT_STREQ(genres[2]->GetAttributeValue("name"), "Caf\xC3\xA9 \xE2\x98\xBA");
    EXPECT_STREQ(genres[3]->GetAttributeValue("name"), "Rock & Roll");
    EXPECT_STREQ(genres[3]->GetData(), "A & B A");
}

TEST(XmlTree, TextIsKeptPerElementAndJoinedAroundChildren)
{
    const std::string document = "<a>one<b>inner</b>two<c/>three</a>";
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0);
    const XMLTreeNode *root = parser.RootNode();
    EXPECT_STREQ(root->GetData(), "onetwothree");
    EXPECT_EQ(root->GetDataSize(), 11u);
    const auto children = childrenOf(root);
    ASSERT_EQ(children.size(), 2u);
    EXPECT_STREQ(children[0]->GetData(), "inner");
    EXPECT_STREQ(children[1]->GetData(), "");
    EXPECT_EQ(children[1]->GetDataSize(), 0u);
}

TEST(XmlTree, DeeperElementsHangBelowTheirParents)
{
    const std::string document = "<r><a><b><c x=\"1\"/></b></a><d/></r>";
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0);
    EXPECT_EQ(treeText(parser.RootNode()), "r[]\"\"(a[]\"\"(b[]\"\"(c[x=1]\"\"())) d[]\"\"())");
    const XMLTreeNode *c = parser.RootNode()->GetChild()->GetChild()->GetChild();
    ASSERT_NE(c, nullptr);
    EXPECT_STREQ(c->GetParent()->GetParent()->GetType(), "a");
    EXPECT_EQ(c->GetChild(), nullptr);
}

TEST(XmlTree, PiecesOfAnySizeGiveTheSameTreeAsTheWholeDocument)
{
    XMLTreeParser whole("UTF-8");
    ASSERT_NE(parseInPieces(whole, stationList, stationList.size()), 0);
    const std::string expected = treeText(whole.RootNode());
    for (const std::size_t pieceSize : {1u, 2u, 3u, 7u, 64u, 2048u}) {
        XMLTreeParser pieces("UTF-8");
        ASSERT_NE(parseInPieces(pieces, stationList, pieceSize), 0) << pieceSize << ": " << pieces.ErrorString();
        EXPECT_EQ(treeText(pieces.RootNode()), expected) << "pieces of " << pieceSize;
    }
}

TEST(XmlTree, RandomSplitsGiveTheSameTree)
{
    XMLTreeParser whole("UTF-8");
    ASSERT_NE(whole.Parse(stationList.data(), static_cast<int>(stationList.size()), 1), 0);
    const std::string expected = treeText(whole.RootNode());
    Random random(2048);
    for (int round = 0; round < 200; ++round) {
        XMLTreeParser parser("UTF-8");
        std::size_t offset = 0;
        int result = 1;
        while (result != 0 && offset < stationList.size()) {
            const std::size_t length = random.between(0, stationList.size() - offset);
            result = parser.Parse(stationList.data() + offset, static_cast<int>(length), 0);
            offset += length;
        }
        ASSERT_NE(result, 0) << parser.ErrorString();
        ASSERT_NE(parser.Parse(nullptr, 0, 1), 0) << parser.ErrorString();
        EXPECT_EQ(treeText(parser.RootNode()), expected) << "round " << round;
    }
}

TEST(XmlTree, FileOfTwoFullPiecesEndsWithAnEmptyFinalCall)
{
    // A favourites file whose size is a multiple of the piece size: the
    // reader's last call is final with no bytes.
    std::string document = "<genrelist>\n";
    const std::string closing = "</genrelist>";
    int genres = 0;
    for (;;) {
        const std::string line = "\t<genre name=\"Genre " + std::to_string(genres + 1) + "\" ></genre>\n";
        if (document.size() + line.size() + closing.size() > 4096)
            break;
        document += line;
        ++genres;
    }
    document += closing;
    document.insert(document.size() - closing.size(), std::string(4096 - document.size(), ' '));
    ASSERT_EQ(document.size(), 4096u);

    XMLTreeParser parser("UTF-8");
    EXPECT_NE(parser.Parse(document.data(), 2048, 0), 0);
    EXPECT_NE(parser.Parse(document.data() + 2048, 2048, 0), 0);
    EXPECT_NE(parser.Parse(document.data() + 4096, 0, 1), 0) << parser.ErrorString();
    EXPECT_EQ(static_cast<int>(childrenOf(parser.RootNode()).size()), genres);
}

TEST(XmlTree, TenThousandStationsAreAllThereWithSharedNames)
{
    std::string document = "<stationlist><tunein base=\"/sbin/tunein-station.pls\"/>";
    for (int i = 0; i < 10000; ++i)
        document += "<station name=\"Station " + std::to_string(i) + "\" mt=\"audio/mpeg\" id=\""
                    + std::to_string(100000 + i) + "\" br=\"128\"/>\n";
    document += "</stationlist>";
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parseInPieces(parser, document, 2048), 0) << parser.ErrorString();

    const auto stations = childrenOf(parser.RootNode());
    ASSERT_EQ(stations.size(), 10001u);
    EXPECT_STREQ(stations[10000]->GetAttributeValue("name"), "Station 9999");
    EXPECT_STREQ(stations[10000]->GetAttributeValue("id"), "109999");
    // Each distinct name is stored once.
    EXPECT_EQ(stations[1]->GetType(), stations[10000]->GetType());
    EXPECT_EQ(stations[1]->GetAttributeNameAt(0), stations[5000]->GetAttributeNameAt(0));
}

TEST(XmlTree, NamesThatDifferFromTheSiblingBeforeAreKeptApart)
{
    const std::string document =
        "<r><a x=\"1\" y=\"2\"/><b y=\"3\" x=\"4\"/><a y=\"5\"/><a x=\"6\" y=\"7\" z=\"8\"/></r>";
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(document.data(), static_cast<int>(document.size()), 1), 0);
    EXPECT_EQ(treeText(parser.RootNode()),
              "r[]\"\"(a[x=1,y=2]\"\"() b[y=3,x=4]\"\"() a[y=5]\"\"() a[x=6,y=7,z=8]\"\"())");
    const auto children = childrenOf(parser.RootNode());
    EXPECT_STREQ(children[1]->GetAttributeValue("x"), "4");
    EXPECT_EQ(children[2]->GetAttributeValue("x"), nullptr);
}

TEST(XmlTree, LineNumberFollowsTheDocument)
{
    const std::string document = "<a>\n<b/>\n<c/>\n";
    XMLTreeParser parser("UTF-8");
    ASSERT_NE(parser.Parse(document.data(), static_cast<int>(document.size()), 0), 0);
    EXPECT_EQ(parser.GetCurrentLineNumber(), 4);
}

} // namespace
