#ifndef TARNWAVE_HOST_NET_XMLTREE_H
#define TARNWAVE_HOST_NET_XMLTREE_H

// An XML document as a tree of elements, built by expat while the document is
// fed in pieces:
//
//   XMLTreeParser parser("UTF-8");
//   while (...)
//       if (!parser.Parse(piece, length, isLastPiece))
//           eDebug("line %d: %s", parser.GetCurrentLineNumber(), parser.ErrorString());
//   for (XMLTreeNode *node = parser.RootNode()->GetChild(); node; node = node->GetNext())
//       if (const char *name = node->GetAttributeValue("name")) ...
//
// The encoding given to the parser is the one assumed for a document that does
// not declare its own (no byte-order mark, no encoding in its XML
// declaration); a declared encoding wins. Entities and character references
// are decoded, and every name, value and text of the tree is UTF-8.
//
// The tree belongs to the parser: its nodes and strings live until the parser
// is destroyed. Building it costs little beyond expat's own work: nodes,
// attribute lists and strings are carved from a few large blocks, and element
// and attribute names are stored once per distinct name.

#include "base/signals.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace boxhost::xml {
class NamePool;
class TreeBuilder;
} // namespace boxhost::xml

// One element of the tree.
class XMLTreeNode
{
public:
    XMLTreeNode(const XMLTreeNode &) = delete;
    XMLTreeNode &operator=(const XMLTreeNode &) = delete;

    // The element's name.
    const char *GetType() const { return m_type; }
    // The first child element, the next sibling element, the enclosing element;
    // null when there is none.
    XMLTreeNode *GetChild() const { return m_child; }
    XMLTreeNode *GetNext() const { return m_next; }
    XMLTreeNode *GetParent() const { return m_parent; }

    // The value of the named attribute, or null when the element has no such
    // attribute (an attribute given as name="" has the value "").
    const char *GetAttributeValue(const char *name) const;
    // The attributes in document order; index from 0 to GetAttributeCount()-1.
    int GetAttributeCount() const { return static_cast<int>(m_attributeCount); }
    const char *GetAttributeNameAt(int index) const;
    const char *GetAttributeValueAt(int index) const;

    // The character data directly inside this element (children's text not
    // included), pieces around child elements joined; "" when there is none.
    const char *GetData() const { return m_data; }
    std::size_t GetDataSize() const { return m_dataSize; }

private:
    friend class boxhost::xml::TreeBuilder;

    // One attribute, stored right after its node: the index of its name in
    // the parser's name pool and where its value begins, counted from the node.
    struct Attribute
    {
        std::uint32_t name;
        std::uint32_t valueOffset;
    };

    XMLTreeNode() = default;

    const Attribute *attributes() const { return reinterpret_cast<const Attribute *>(this + 1); }
    const char *valueOf(const Attribute &attribute) const
    {
        return reinterpret_cast<const char *>(this) + attribute.valueOffset;
    }

    const char *m_type = "";
    XMLTreeNode *m_parent = nullptr;
    XMLTreeNode *m_child = nullptr;
    XMLTreeNode *m_next = nullptr;
    const char *m_data = "";
    const boxhost::xml::NamePool *m_names = nullptr;
    std::uint32_t m_dataSize = 0;
    std::uint32_t m_attributeCount = 0;
};

// Derived from SigC::Object so that whoever feeds it (eHTTPDownloadXML) can
// notice when it is destroyed.
class XMLTreeParser : public SigC::Object
{
public:
    // `encoding`: what a document without its own declaration is read as, in
    // expat's names ("UTF-8", "ISO-8859-1", "US-ASCII", "UTF-16"); null or ""
    // for UTF-8.
    explicit XMLTreeParser(const char *encoding = nullptr);
    ~XMLTreeParser() override;
    XMLTreeParser(const XMLTreeParser &) = delete;
    XMLTreeParser &operator=(const XMLTreeParser &) = delete;

    // Feeds the next `len` bytes of the document; isFinal non-zero says that
    // nothing follows them (a last call may have length 0). Returns non-zero
    // while the document is well-formed so far, 0 on an error; once it has
    // failed, every later call fails too. A call after the final one fails.
    int Parse(const char *buf, int len, int isFinal);

    // The document's root element; null while none has begun (nothing parsed,
    // or the document failed before its first element).
    XMLTreeNode *RootNode() const;

    // The last error: expat's code (0: none) and text ("" when none), and the
    // position where parsing stands or stopped (lines from 1, columns from 0).
    int GetErrorCode() const;
    const char *ErrorString() const;
    int GetCurrentLineNumber() const;
    int GetCurrentColumnNumber() const;

private:
    std::unique_ptr<boxhost::xml::TreeBuilder> m_builder;
};

#endif
