#ifndef TARNWAVE_TESTS_UNIT_NET_XML_TREE_TEXT_H
#define TARNWAVE_TESTS_UNIT_NET_XML_TREE_TEXT_H

// Helpers of the XML tree tests: a whole tree written as one line, so that two
// trees compare with one expectation, and parsing in pieces of a given size.

#include "net/xmltree.h"

#include <algorithm>
#include <string>
#include <string_view>

// name[attr=value,...]"text"(children...) for the node and everything below it.
inline std::string treeText(const XMLTreeNode *node)
{
    if (node == nullptr)
        return "(none)";
    std::string text = node->GetType();
    text += '[';
    for (int i = 0; i < node->GetAttributeCount(); ++i) {
        if (i > 0)
            text += ',';
        text += node->GetAttributeNameAt(i);
        text += '=';
        text += node->GetAttributeValueAt(i);
    }
    text += "]\"";
    text.append(node->GetData(), node->GetDataSize());
    text += "\"(";
    for (const XMLTreeNode *child = node->GetChild(); child != nullptr; child = child->GetNext()) {
        if (child != node->GetChild())
            text += ' ';
        text += treeText(child);
    }
    text += ')';
    return text;
}

// Feeds `document` in pieces of `pieceSize` bytes, the last one final; returns
// the result of the first call that failed, or of the last call.
inline int parseInPieces(XMLTreeParser &parser, std::string_view document, std::size_t pieceSize)
{
    std::size_t offset = 0;
    do {
        const std::size_t length = std::min(pieceSize, document.size() - offset);
        const bool last = offset + length == document.size();
        if (parser.Parse(document.data() + offset, static_cast<int>(length), last ? 1 : 0) == 0)
            return 0;
        offset += length;
    } while (offset < document.size());
    return 1;
}

#endif
