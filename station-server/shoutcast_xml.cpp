#include "shoutcast_xml.h"

#include <expat.h>

#include <algorithm>
#include <cctype>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace station::shoutcast {
namespace {

struct ParserFree
{
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using ParserHandle = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserFree>;

// Where a tunein start tag stands in the reply's bytes.
struct TagSpan
{
    std::size_t offset = 0;
    std::size_t length = 0;
};

bool isPlainPath(std::string_view text)
{
    return text.size() > 1 && text.size() <= 256 && text.front() == '/'
           && std::all_of(text.begin(), text.end(), [](char c) {
                  return std::isalnum(static_cast<unsigned char>(c)) != 0
                         || std::string_view("/._-~").find(c) != std::string_view::npos;
              });
}

// An element name for a message: at most 40 bytes, cut before a character
// that would not fit whole (expat gives names in UTF-8).
std::string shortName(const std::string &name)
{
    constexpr std::size_t longest = 40;
    if (name.size() <= longest)
        return name;
    std::size_t cut = longest;
    while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80)
        --cut;
    return name.substr(0, cut) + "...";
}

class TuneInFinder
{
public:
    explicit TuneInFinder(XML_Parser parser) : parser_(parser) { }

    static void XMLCALL onStart(void *self, const XML_Char *name, const XML_Char **attributes)
    {
        static_cast<TuneInFinder *>(self)->start(name, attributes);
    }

    static void XMLCALL onDoctype(void *self, const XML_Char *, const XML_Char *, const XML_Char *, int)
    {
        static_cast<TuneInFinder *>(self)->refuse("the reply declares a document type");
    }

    std::string root;
    std::vector<TagSpan> tuneIns;
    std::string tuneInBase;
    std::string refusal; // why the reply cannot be passed on, though well-formed

private:
    void start(std::string_view name, const XML_Char **attributes)
    {
        if (root.empty())
            root = name;
        if (name != "tunein")
            return;
        // Only a tag that stands in the reply's own bytes can be spliced; one
        // from an entity cannot (no DOCTYPE gets this far, but to be sure).
        if (XML_GetCurrentByteCount(parser_) <= 0)
            return refuse("a tunein element comes from an entity");
        tuneIns.push_back({static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_)),
                           static_cast<std::size_t>(XML_GetCurrentByteCount(parser_))});
        tuneInBase.clear();
        for (const XML_Char **attribute = attributes; *attribute != nullptr; attribute += 2) {
            if (std::string_view(attribute[0]) == "base" && isPlainPath(attribute[1]))
                tuneInBase = attribute[1];
        }
    }

    void refuse(std::string why)
    {
        refusal = std::move(why);
        XML_StopParser(parser_, XML_FALSE);
    }

    XML_Parser parser_;
};

} // namespace

PassedReply passOn(std::string_view xml, std::string_view root, std::string_view ownBase)
{
    // The encoding is the one the reply declares (UTF-8 without a declaration).
    const ParserHandle parser(XML_ParserCreate(nullptr));
    if (!parser)
        throw ReplyError("out of memory for the XML parser");
    if (xml.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw ReplyError("the reply is too large");
    // The box reads ASCII-based encodings only (not UTF-16, say), and the
    // tune-in base is spliced in as ASCII.
    if (xml.find('\0') != std::string_view::npos)
        throw ReplyError("the reply holds NUL bytes (not an ASCII-based encoding)");
    TuneInFinder finder(parser.get());
    XML_SetUserData(parser.get(), &finder);
    XML_SetStartElementHandler(parser.get(), &TuneInFinder::onStart);
    // The directory's lists declare no document type. One that does could
    // define entities, whose elements have no bytes of their own to splice.
    XML_SetStartDoctypeDeclHandler(parser.get(), &TuneInFinder::onDoctype);
    const XML_Status status = XML_Parse(parser.get(), xml.data(), static_cast<int>(xml.size()), XML_TRUE);
    if (!finder.refusal.empty())
        throw ReplyError(finder.refusal);
    if (status != XML_STATUS_OK) {
        throw ReplyError("no well-formed XML (line " + std::to_string(XML_GetCurrentLineNumber(parser.get())) + ": "
                         + XML_ErrorString(XML_GetErrorCode(parser.get())) + ")");
    }
    if (finder.root != root)
        throw ReplyError("the reply is <" + shortName(finder.root) + ">, not <" + std::string(root) + ">");

    PassedReply passed;
    passed.tuneInBase = finder.tuneInBase;
    std::size_t copied = 0;
    for (const TagSpan &tag : finder.tuneIns) {
        const bool empty = xml.substr(tag.offset, tag.length).ends_with("/>");
        passed.body.append(xml.substr(copied, tag.offset - copied));
        passed.body.append("<tunein base=\"").append(ownBase).append(empty ? "\"/>" : "\">");
        copied = tag.offset + tag.length;
    }
    passed.body.append(xml.substr(copied));
    return passed;
}

bool isStationId(std::string_view text)
{
    return !text.empty() && text.size() <= 18
           && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool hasStreamLine(std::string_view playlist)
{
    std::size_t start = 0;
    while (start < playlist.size()) {
        const std::size_t end = std::min(playlist.find('\n', start), playlist.size());
        const std::string_view line = playlist.substr(start, end - start);
        if (line.find("File") != std::string_view::npos) {
            const std::size_t equals = line.find('=');
            return equals != std::string_view::npos && equals + 1 < line.size() && line.substr(equals + 1) != "\r";
        }
        start = end + 1;
    }
    return false;
}

} // namespace station::shoutcast
