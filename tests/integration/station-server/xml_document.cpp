#include "xml_document.h"

#include <expat.h>

#include <memory>

namespace {

struct Reading
{
    XmlDocument document;
    int depth = 0;
};

void XMLCALL onStart(void *data, const XML_Char *name, const XML_Char **attributes)
{
    auto *reading = static_cast<Reading *>(data);
    XmlElement element;
    element.name = name;
    element.depth = ++reading->depth;
    for (const XML_Char **attribute = attributes; *attribute != nullptr; attribute += 2)
        element.attributes[attribute[0]] = attribute[1];
    reading->document.elements.push_back(std::move(element));
}

void XMLCALL onEnd(void *data, const XML_Char *)
{
    --static_cast<Reading *>(data)->depth;
}

void XMLCALL onDeclaration(void *data, const XML_Char *, const XML_Char *encoding, int)
{
    auto *reading = static_cast<Reading *>(data);
    reading->document.hasDeclaration = true;
    reading->document.encoding = encoding != nullptr ? encoding : "";
}

} // namespace

std::vector<XmlElement> XmlDocument::all(const std::string &name) const
{
    std::vector<XmlElement> found;
    for (const XmlElement &element : elements) {
        if (element.name == name)
            found.push_back(element);
    }
    return found;
}

XmlDocument parseXml(std::string_view text)
{
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser(XML_ParserCreate(nullptr),
                                                                                         &XML_ParserFree);
    Reading reading;
    XML_SetUserData(parser.get(), &reading);
    XML_SetElementHandler(parser.get(), &onStart, &onEnd);
    XML_SetXmlDeclHandler(parser.get(), &onDeclaration);
    if (XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), XML_TRUE) == XML_STATUS_OK) {
        reading.document.wellFormed = true;
    } else {
        reading.document.error = std::string(XML_ErrorString(XML_GetErrorCode(parser.get()))) + " at line "
                                 + std::to_string(XML_GetCurrentLineNumber(parser.get()));
    }
    return reading.document;
}
