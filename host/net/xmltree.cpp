// XMLTreeParser: expat's element events turned into a tree of XMLTreeNode,
// stored in an arena that lives as long as the parser.

#include "net/xmltree.h"

#include "net/xml_arena.h"

#include <expat.h>

#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace boxhost::xml {

namespace {

// What the beginning of a document says about its encoding.
enum class EncodingHint {
    undecided, // too few bytes yet to tell
    declared, // a byte-order mark or an encoding in the XML declaration
    undeclared // neither: the parser's own encoding applies
};

// Element and attribute names are a few bytes long: compared inline, they
// cost less than a call to strcmp, and a tree of 10,000 stations compares
// some 200,000 of them between building and reading.
inline bool sameName(const char *a, const char *b)
{
    while (*a != '\0' && *a == *b) {
        ++a;
        ++b;
    }
    return *a == *b;
}

// An XML declaration longer than this is not waited for any further.
constexpr std::size_t longestDeclaration = 1024;

EncodingHint encodingHintOf(std::string_view head, bool isFinal)
{
    static constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
    static constexpr std::string_view opening = "<?xml";
    const EncodingHint unknownYet = isFinal ? EncodingHint::undeclared : EncodingHint::undecided;

    if (head.size() >= 2) {
        const auto first = static_cast<unsigned char>(head[0]);
        const auto second = static_cast<unsigned char>(head[1]);
        // UTF-16 with its mark, or without one (a zero byte beside the first
        // character): expat tells these apart itself.
        if ((first == 0xFE && second == 0xFF) || (first == 0xFF && second == 0xFE) || first == 0 || second == 0)
            return EncodingHint::declared;
    }
    if (head.starts_with(utf8Mark))
        return EncodingHint::declared;
    // A lone first byte that may begin a UTF-16 mark or character needs the
    // second: deciding without it would let the parser's encoding override
    // the document's declaration.
    if (head.size() == 1 && (head[0] == '\xFE' || head[0] == '\xFF' || head[0] == '\0'))
        return unknownYet;
    if (head.size() <= opening.size())
        return opening.starts_with(head) || utf8Mark.starts_with(head) ? unknownYet : EncodingHint::undeclared;
    if (!head.starts_with(opening) || std::string_view(" \t\r\n").find(head[opening.size()]) == std::string_view::npos)
        return EncodingHint::undeclared;
    std::size_t end = head.find("?>");
    if (end == std::string_view::npos) {
        if (head.size() < longestDeclaration && !isFinal)
            return EncodingHint::undecided;
        end = head.size();
    }
    return head.substr(0, end).find("encoding") != std::string_view::npos ? EncodingHint::declared
                                                                          : EncodingHint::undeclared;
}

} // namespace

class TreeBuilder
{
public:
    explicit TreeBuilder(const char *encoding) : m_defaultEncoding(encoding != nullptr ? encoding : "") { }
    ~TreeBuilder()
    {
        if (m_expat != nullptr)
            XML_ParserFree(m_expat);
    }
    TreeBuilder(const TreeBuilder &) = delete;
    TreeBuilder &operator=(const TreeBuilder &) = delete;

    int parse(const char *buf, int len, bool isFinal)
    {
        if (m_errorCode != XML_ERROR_NONE)
            return 0;
        if (len < 0 || (buf == nullptr && len > 0))
            return fail(XML_ERROR_INVALID_ARGUMENT);
        if (m_finished)
            return fail(XML_ERROR_FINISHED);
        if (m_expat != nullptr)
            return feed(buf, len, isFinal);

        // Hold the first bytes back until they tell whether the document
        // names its own encoding.
        m_head.append(buf != nullptr ? buf : "", static_cast<std::size_t>(len));
        const EncodingHint hint = encodingHintOf(m_head, isFinal);
        if (hint == EncodingHint::undecided)
            return 1;
        const bool useDefault = hint == EncodingHint::undeclared && !m_defaultEncoding.empty();
        if (!createExpat(useDefault ? m_defaultEncoding.c_str() : nullptr))
            return fail(XML_ERROR_NO_MEMORY);
        const std::string head = std::move(m_head);
        m_head.clear();
        return feed(head.data(), static_cast<int>(head.size()), isFinal);
    }

    XMLTreeNode *root() const { return m_root; }
    int errorCode() const { return m_errorCode; }
    const char *errorString() const
    {
        if (m_errorCode == XML_ERROR_NONE)
            return "";
        const XML_LChar *text = XML_ErrorString(static_cast<XML_Error>(m_errorCode));
        return text != nullptr ? text : "unknown error";
    }
    int line() const { return m_expat != nullptr ? static_cast<int>(XML_GetCurrentLineNumber(m_expat)) : 1; }
    int column() const { return m_expat != nullptr ? static_cast<int>(XML_GetCurrentColumnNumber(m_expat)) : 0; }

private:
    // The element being filled and the last child added to it so far.
    struct OpenElement
    {
        XMLTreeNode *node;
        XMLTreeNode *lastChild;
    };

    bool createExpat(const char *encoding)
    {
        m_expat = XML_ParserCreate(encoding);
        if (m_expat == nullptr)
            return false;
        XML_SetUserData(m_expat, this);
        XML_SetElementHandler(m_expat, &TreeBuilder::onStart, &TreeBuilder::onEnd);
        XML_SetCharacterDataHandler(m_expat, &TreeBuilder::onText);
        return true;
    }

    int feed(const char *buf, int len, bool isFinal)
    {
        if (XML_Parse(m_expat, buf, len, isFinal ? XML_TRUE : XML_FALSE) == XML_STATUS_ERROR) {
            // A handler that ran out of memory stopped expat and set its own code.
            if (m_errorCode == XML_ERROR_NONE)
                m_errorCode = XML_GetErrorCode(m_expat);
            if (m_errorCode == XML_ERROR_NONE)
                m_errorCode = XML_ERROR_ABORTED;
            return 0;
        }
        if (isFinal)
            m_finished = true;
        return 1;
    }

    int fail(int code)
    {
        m_errorCode = code;
        return 0;
    }

    // The handlers run inside expat (C code): nothing may be thrown through it.
    static void XMLCALL onStart(void *user, const XML_Char *name, const XML_Char **attributes)
    {
        auto *self = static_cast<TreeBuilder *>(user);
        try {
            self->startElement(name, attributes);
        } catch (const std::bad_alloc &) {
            self->stopForMemory();
        }
    }

    static void XMLCALL onEnd(void *user, const XML_Char *)
    {
        auto *self = static_cast<TreeBuilder *>(user);
        try {
            self->endElement();
        } catch (const std::bad_alloc &) {
            self->stopForMemory();
        }
    }

    static void XMLCALL onText(void *user, const XML_Char *text, int length)
    {
        auto *self = static_cast<TreeBuilder *>(user);
        try {
            self->m_texts[self->m_open.size() - 1].append(text, static_cast<std::size_t>(length));
        } catch (const std::bad_alloc &) {
            self->stopForMemory();
        }
    }

    void stopForMemory()
    {
        m_errorCode = XML_ERROR_NO_MEMORY;
        XML_StopParser(m_expat, XML_FALSE);
    }

    void startElement(const char *name, const char **attributes)
    {
        std::size_t count = 0;
        while (attributes[2 * count] != nullptr)
            ++count;
        const ValueRun run = measureValues(attributes, count);

        // The node, its attribute list and the attribute values in one piece.
        static_assert(sizeof(XMLTreeNode) % alignof(XMLTreeNode::Attribute) == 0);
        const std::size_t valuesStart = sizeof(XMLTreeNode) + count * sizeof(XMLTreeNode::Attribute);
        auto *block = static_cast<std::byte *>(m_arena.allocate(valuesStart + run.bytes, alignof(XMLTreeNode)));
        auto *node = new (block) XMLTreeNode();
        node->m_type = elementName(name);
        node->m_names = &m_names;
        node->m_attributeCount = static_cast<std::uint32_t>(count);
        auto *stored = reinterpret_cast<XMLTreeNode::Attribute *>(block + sizeof(XMLTreeNode));
        if (run.contiguous && count > 0)
            std::memcpy(block + valuesStart, attributes[1], run.bytes);
        std::size_t valueOffset = valuesStart;
        for (std::size_t i = 0; i < count; ++i) {
            const char *value = attributes[2 * i + 1];
            const std::size_t length = i < maxRememberedLengths ? m_valueLengths[i] : std::strlen(value);
            if (!run.contiguous)
                std::memcpy(block + valueOffset, value, length + 1);
            new (stored + i)
                XMLTreeNode::Attribute{attributeName(i, attributes[2 * i]), static_cast<std::uint32_t>(valueOffset)};
            valueOffset += length + 1;
        }

        if (m_open.empty()) {
            m_root = node;
        } else {
            OpenElement &parent = m_open.back();
            node->m_parent = parent.node;
            if (parent.lastChild != nullptr)
                parent.lastChild->m_next = node;
            else
                parent.node->m_child = node;
            parent.lastChild = node;
        }
        m_open.push_back(OpenElement{node, nullptr});
        if (m_texts.size() < m_open.size())
            m_texts.emplace_back();
    }

    void endElement()
    {
        std::string &text = m_texts[m_open.size() - 1];
        if (!text.empty()) {
            XMLTreeNode *node = m_open.back().node;
            node->m_data = m_arena.copyString(text.data(), text.size());
            node->m_dataSize = static_cast<std::uint32_t>(text.size());
            text.clear();
        }
        m_open.pop_back();
    }

    // The attribute values of one element: their bytes with terminators, and
    // whether they lie one after the other in memory, as expat hands them
    // over as a rule; then one copy stores them all.
    struct ValueRun
    {
        std::size_t bytes;
        bool contiguous;
    };

    // Finds each value's length (remembered for the first ones) and whether
    // each next value starts right after the previous one's terminator: then
    // the run holds nothing but the values' own bytes and may be copied whole.
    ValueRun measureValues(const char **attributes, std::size_t count)
    {
        ValueRun run{0, true};
        for (std::size_t i = 0; i < count; ++i) {
            const char *value = attributes[2 * i + 1];
            const std::size_t length = std::strlen(value);
            if (i < maxRememberedLengths)
                m_valueLengths[i] = length;
            if (i + 1 < count && attributes[2 * i + 3] != value + length + 1)
                run.contiguous = false;
            run.bytes += length + 1;
        }
        return run;
    }

    // Sibling elements nearly always repeat the name and the attribute names
    // of the one before: those are recognised by a plain comparison before the
    // pool is asked.
    const char *elementName(const char *name)
    {
        if (m_recentElementName == nullptr || !sameName(m_recentElementName, name))
            m_recentElementName = m_names.name(m_names.intern(name));
        return m_recentElementName;
    }

    std::uint32_t attributeName(std::size_t index, const char *name)
    {
        if (index >= m_recentAttributeNames.size())
            m_recentAttributeNames.resize(index + 1, RecentName{nullptr, 0});
        RecentName &recent = m_recentAttributeNames[index];
        if (recent.text == nullptr || !sameName(recent.text, name)) {
            recent.id = m_names.intern(name);
            recent.text = m_names.name(recent.id);
        }
        return recent.id;
    }

    std::string m_defaultEncoding;
    XML_Parser m_expat = nullptr;
    std::string m_head; // the first bytes, until the encoding is decided
    int m_errorCode = XML_ERROR_NONE;
    bool m_finished = false;

    Arena m_arena;
    NamePool m_names{m_arena};
    XMLTreeNode *m_root = nullptr;
    std::vector<OpenElement> m_open;
    std::vector<std::string> m_texts; // the text of each open element, by depth; reused
    const char *m_recentElementName = nullptr;
    struct RecentName
    {
        const char *text;
        std::uint32_t id;
    };
    std::vector<RecentName> m_recentAttributeNames; // by position in the element
    // The value lengths of the element being stored, measured once.
    static constexpr std::size_t maxRememberedLengths = 32;
    std::size_t m_valueLengths[maxRememberedLengths] = {};
};

} // namespace boxhost::xml

const char *XMLTreeNode::GetAttributeValue(const char *name) const
{
    if (name == nullptr)
        return nullptr;
    const Attribute *attribute = attributes();
    for (std::uint32_t i = 0; i < m_attributeCount; ++i)
        if (boxhost::xml::sameName(m_names->name(attribute[i].name), name))
            return valueOf(attribute[i]);
    return nullptr;
}

const char *XMLTreeNode::GetAttributeNameAt(int index) const
{
    if (index < 0 || static_cast<std::uint32_t>(index) >= m_attributeCount)
        return nullptr;
    return m_names->name(attributes()[index].name);
}

const char *XMLTreeNode::GetAttributeValueAt(int index) const
{
    if (index < 0 || static_cast<std::uint32_t>(index) >= m_attributeCount)
        return nullptr;
    return valueOf(attributes()[index]);
}

XMLTreeParser::XMLTreeParser(const char *encoding) : m_builder(std::make_unique<boxhost::xml::TreeBuilder>(encoding))
{
}

XMLTreeParser::~XMLTreeParser() = default;

int XMLTreeParser::Parse(const char *buf, int len, int isFinal)
{
    return m_builder->parse(buf, len, isFinal != 0);
}

XMLTreeNode *XMLTreeParser::RootNode() const
{
    return m_builder->root();
}

int XMLTreeParser::GetErrorCode() const
{
    return m_builder->errorCode();
}

const char *XMLTreeParser::ErrorString() const
{
    return m_builder->errorString();
}

int XMLTreeParser::GetCurrentLineNumber() const
{
    return m_builder->line();
}

int XMLTreeParser::GetCurrentColumnNumber() const
{
    return m_builder->column();
}
