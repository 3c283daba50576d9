#ifndef TARNWAVE_TESTS_STATION_SERVER_XML_DOCUMENT_H
#define TARNWAVE_TESTS_STATION_SERVER_XML_DOCUMENT_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

// A document as expat reads it: its elements in order, with their decoded
// attributes, and whether it is well-formed.
struct XmlElement
{
    std::string name;
    std::map<std::string, std::string> attributes;
    int depth = 0; // 1: the root

    bool has(const std::string &attribute) const { return attributes.contains(attribute); }
    std::string at(const std::string &attribute) const
    {
        const auto found = attributes.find(attribute);
        return found == attributes.end() ? std::string() : found->second;
    }
};

struct XmlDocument
{
    bool wellFormed = false;
    std::string error;
    bool hasDeclaration = false;
    std::string encoding;
    std::vector<XmlElement> elements;

    // The elements called `name`, in order.
    std::vector<XmlElement> all(const std::string &name) const;
    std::string rootName() const { return elements.empty() ? std::string() : elements.front().name; }
};

XmlDocument parseXml(std::string_view text);

#endif
