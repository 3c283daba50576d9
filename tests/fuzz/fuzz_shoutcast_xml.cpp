// A reply of the SHOUTcast directory's keyed API, passed on by the gateway
// with its own tune-in base, and the gateway's checks of a station id and a
// playlist. Checked: a refused reply says why in one line; a reply passed on
// is XML that the box's own parser reads, with the root asked for, every
// tunein element naming only the gateway's base, and every other element,
// attribute and text just as the box reads them in the reply that came; the
// directory's own base is a plain path or nothing.

#include "fuzz_support.h"

#include "shoutcast_xml.h"

#include "net/xmltree.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace {

using station::shoutcast::ReplyError;

constexpr std::size_t longestInput = 64 * 1024;
constexpr std::string_view ownBase = "/sbin/tunein-station.pls";

bool isPlainPath(std::string_view text)
{
    if (text.size() < 2 || text.front() != '/')
        return false;
    for (const char c : text) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')
                           || std::string_view("/._-~").find(c) != std::string_view::npos;
        if (!plain)
            return false;
    }
    return true;
}

std::string text(const XMLTreeNode &node)
{
    return std::string(node.GetData() != nullptr ? node.GetData() : "", node.GetDataSize());
}

// The element `passed` must be `came` as the box reads it, but for the
// attributes of a tunein element.
void checkSame(const XMLTreeNode &came, const XMLTreeNode &passed)
{
    const std::string name = came.GetType();
    FUZZ_CHECK(name == passed.GetType(), name + " became " + passed.GetType());
    FUZZ_CHECK(text(came) == text(passed), "the text of " + name);
    if (name == "tunein") {
        FUZZ_CHECK(passed.GetAttributeCount() == 1, "a tunein element with more than its base");
        const char *base = passed.GetAttributeValue("base");
        FUZZ_CHECK(base != nullptr && base == ownBase, "a tunein element without the gateway's base");
    } else {
        FUZZ_CHECK(came.GetAttributeCount() == passed.GetAttributeCount(), "the attributes of " + name);
        for (int i = 0; i < came.GetAttributeCount(); ++i) {
            FUZZ_CHECK(std::string_view(came.GetAttributeNameAt(i)) == passed.GetAttributeNameAt(i), name);
            FUZZ_CHECK(std::string_view(came.GetAttributeValueAt(i)) == passed.GetAttributeValueAt(i),
                       fuzz::printable(came.GetAttributeValueAt(i)));
        }
    }
    const XMLTreeNode *child = came.GetChild();
    const XMLTreeNode *passedChild = passed.GetChild();
    for (; child != nullptr && passedChild != nullptr; child = child->GetNext(), passedChild = passedChild->GetNext())
        checkSame(*child, *passedChild);
    FUZZ_CHECK(child == nullptr && passedChild == nullptr, "the children of " + name);
}

void checkPassedOn(std::string_view reply, std::string_view root)
{
    station::shoutcast::PassedReply passed;
    try {
        passed = station::shoutcast::passOn(reply, root, ownBase);
    } catch (const ReplyError &error) {
        fuzz::checkRefusal(error.what());
        return;
    }
    FUZZ_CHECK(passed.tuneInBase.empty() || isPlainPath(passed.tuneInBase), fuzz::printable(passed.tuneInBase));
    XMLTreeParser came(nullptr);
    FUZZ_CHECK(came.Parse(reply.data(), static_cast<int>(reply.size()), 1) != 0,
               std::string("the box cannot read what the gateway read: ") + came.ErrorString());
    XMLTreeParser box(nullptr);
    FUZZ_CHECK(box.Parse(passed.body.data(), static_cast<int>(passed.body.size()), 1) != 0,
               std::string(box.ErrorString()) + " in " + fuzz::printable(passed.body));
    FUZZ_CHECK(box.RootNode() != nullptr && box.RootNode()->GetType() == root, "not a " + std::string(root));
    checkSame(*came.RootNode(), *box.RootNode());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size > longestInput)
        return 0;
    const std::string_view reply = fuzz::text(data, size);
    checkPassedOn(reply, "stationlist");
    checkPassedOn(reply, "genrelist");
    (void)station::shoutcast::isStationId(reply);
    (void)station::shoutcast::hasStreamLine(reply);
    return 0;
}
