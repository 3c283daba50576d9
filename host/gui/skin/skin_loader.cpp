// Reading skin files with expat: each element is checked and staged as it
// arrives, and the staged colours, fonts, values, images, decorations and
// window builds go into the skin only when the whole file has been read.

#include "gui/skin/skin_loader.h"

#include "base/elog.h"
#include "base/hex_digit.h"
#include "base/whole_file.h"
#include "gui/drawing/png_io.h"
#include "gui/gfont.h"
#include "gui/gpixmap.h"

#include <expat.h>

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <type_traits>

static_assert(std::is_same_v<XML_Char, char>, "the skin reader expects expat built for UTF-8 (char) text");

namespace skinvalue {

namespace {

std::string_view trimmed(std::string_view text)
{
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

} // namespace

bool parseColor(std::string_view text, gColor &colour)
{
    text = trimmed(text);
    if (text.size() != 7 && text.size() != 9)
        return false;
    if (text.front() != '#')
        return false;
    std::uint32_t value = 0;
    for (char c : text.substr(1)) {
        const int digit = boxhost::hexDigitValue(c);
        if (digit < 0)
            return false;
        value = (value << 4) | static_cast<std::uint32_t>(digit);
    }
    if (text.size() == 7)
        value |= 0xff000000u; // #RRGGBB is opaque
    colour = gColor::fromArgb(value);
    return true;
}

bool parseInt(std::string_view text, int &number)
{
    text = trimmed(text);
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    if (text.empty())
        return false;
    int parsed = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (error != std::errc() || end != text.data() + text.size() || parsed < -largestNumber || parsed > largestNumber)
        return false;
    number = parsed;
    return true;
}

bool parsePair(std::string_view text, int &first, int &second)
{
    const std::size_t comma = text.find(',');
    if (comma == std::string_view::npos)
        return false;
    int x = 0;
    int y = 0;
    if (!parseInt(text.substr(0, comma), x) || !parseInt(text.substr(comma + 1), y))
        return false;
    first = x;
    second = y;
    return true;
}

} // namespace skinvalue

namespace {

const std::string *attributeOf(const SkinAttributes &attributes, std::string_view name)
{
    for (const auto &[key, value] : attributes)
        if (key == name)
            return &value;
    return nullptr;
}

// The item element each section holds.
const char *itemOfSection(std::string_view section)
{
    if (section == "colors")
        return "color";
    if (section == "faces")
        return "face";
    if (section == "fonts")
        return "font";
    if (section == "values")
        return "value";
    if (section == "images")
        return "image";
    if (section == "decorations")
        return "deco";
    if (section == "windows")
        return "window";
    return nullptr;
}

std::string joinPath(const std::string &directory, const std::string &file)
{
    if (file.empty() || file.front() == '/' || directory.empty())
        return file;
    return directory + "/" + file;
}

// The directory a file is in ("." for a bare file name).
std::string directoryOf(const std::string &file)
{
    const std::filesystem::path directory = std::filesystem::path(file).parent_path();
    return directory.empty() ? std::string(".") : directory.string();
}

struct ParserDeleter
{
    void operator()(XML_ParserStruct *parser) const { XML_ParserFree(parser); }
};

} // namespace

eSkin::Loader::Loader(eSkin &skin, std::string filename)
    : m_skin(skin), m_filename(std::move(filename)), m_directory(directoryOf(m_filename))
{
}

eSkin::Loader::~Loader() = default;

void eSkin::Loader::onStartElement(void *loader, const char *name, const char **attributes)
{
    Attributes list;
    for (const char **attribute = attributes; attribute && *attribute; attribute += 2)
        list.emplace_back(attribute[0], attribute[1]);
    static_cast<Loader *>(loader)->startElement(name, list);
}

void eSkin::Loader::onEndElement(void *loader, const char *)
{
    static_cast<Loader *>(loader)->endElement();
}

int eSkin::Loader::run()
{
    std::string text;
    if (const int error = boxfile::readWholeFile(m_filename, text)) {
        eError("skin: cannot read the skin file %s: %s", m_filename.c_str(), std::strerror(error));
        return -1;
    }
    if (!parse(text))
        return -1;
    commit();
    return 0;
}

bool eSkin::Loader::parse(const std::string &text)
{
    std::unique_ptr<XML_ParserStruct, ParserDeleter> parser(XML_ParserCreate(nullptr));
    if (!parser) {
        eError("skin: cannot read %s: out of memory for the XML parser", m_filename.c_str());
        return false;
    }
    XML_SetUserData(parser.get(), this);
    XML_SetElementHandler(parser.get(), onStartElement, onEndElement);
    m_parser = parser.get();

    // Fed in pieces, as expat takes an int length.
    constexpr std::size_t piece = 1 << 16;
    std::size_t offset = 0;
    XML_Status status = XML_STATUS_OK;
    do {
        const std::size_t length = std::min(piece, text.size() - offset);
        const bool last = offset + length == text.size();
        status = XML_Parse(parser.get(), text.data() + offset, static_cast<int>(length), last ? XML_TRUE : XML_FALSE);
        offset += length;
    } while (status == XML_STATUS_OK && offset < text.size());

    const unsigned long line = XML_GetCurrentLineNumber(parser.get());
    const unsigned long column = XML_GetCurrentColumnNumber(parser.get());
    const XML_Error error = XML_GetErrorCode(parser.get());
    m_parser = nullptr;
    if (m_notASkin) {
        eError("skin: %s is not a skin file: its root element is <%s>, not <skin>", m_filename.c_str(),
               m_rootName.c_str());
        return false;
    }
    if (status != XML_STATUS_OK) {
        eError("skin: %s is not XML: %s at line %lu, column %lu", m_filename.c_str(), XML_ErrorString(error), line,
               column);
        return false;
    }
    return true;
}

void eSkin::Loader::startElement(std::string_view element, const Attributes &attributes)
{
    const std::size_t depth = m_open.size();
    m_open.emplace_back(element);
    if (depth == 0) {
        if (element != "skin") {
            m_notASkin = true;
            m_rootName = std::string(element);
            XML_StopParser(static_cast<XML_Parser>(m_parser), XML_FALSE);
        }
        return;
    }
    if (depth == 1) {
        if (!itemOfSection(element))
            warn("unknown section <%.*s> ignored", static_cast<int>(element.size()), element.data());
        return;
    }
    if (depth == 2) {
        startItem(m_open[1], element, attributes);
        return;
    }
    if (depth == 3 && m_open[1] == "windows" && m_open[2] == "window" && element == "widget") {
        addWidget(attributes);
        return;
    }
    // Inside an ignored element nothing more is said.
    if (depth == 3 && m_open[1] == "windows" && m_open[2] == "window")
        warn("<%.*s> in a window ignored (only <widget> belongs there)", static_cast<int>(element.size()),
             element.data());
    else if (depth == 3 && itemOfSection(m_open[1]))
        warn("<%.*s> inside <%s> ignored", static_cast<int>(element.size()), element.data(), m_open[2].c_str());
}

void eSkin::Loader::endElement()
{
    if (m_open.size() == 3 && m_open[1] == "windows")
        m_window = nullptr;
    if (!m_open.empty())
        m_open.pop_back();
}

void eSkin::Loader::startItem(std::string_view section, std::string_view element, const Attributes &attributes)
{
    const char *expected = itemOfSection(section);
    if (!expected)
        return; // the unknown section was reported
    if (element != expected) {
        warn("<%.*s> in <%.*s> ignored (expected <%s>)", static_cast<int>(element.size()), element.data(),
             static_cast<int>(section.size()), section.data(), expected);
        return;
    }
    if (section == "colors")
        addColor(attributes);
    else if (section == "faces")
        addFace(attributes);
    else if (section == "fonts")
        addFont(attributes);
    else if (section == "values")
        addValue(attributes);
    else if (section == "images")
        addImage(attributes);
    else if (section == "decorations")
        addDecoration(attributes);
    else if (section == "windows")
        startWindow(attributes);
}

void eSkin::Loader::addColor(const Attributes &attributes)
{
    const std::string *name = attributeOf(attributes, "name");
    const std::string *value = attributeOf(attributes, "value");
    if (!name || name->empty() || !value) {
        warn("<color> needs a name and a value; left out");
        return;
    }
    gColor colour;
    if (!resolveColor(*value, colour)) {
        warn("colour \"%s\" has the bad value \"%s\" (not #AARRGGBB, #RRGGBB or a colour named before); left out",
             name->c_str(), value->c_str());
        return;
    }
    m_colors.insert_or_assign(*name, colour);
}

void eSkin::Loader::addFace(const Attributes &attributes)
{
    const std::string *name = attributeOf(attributes, "name");
    const std::string *file = attributeOf(attributes, "file");
    if (!name || name->empty() || !file || file->empty()) {
        warn("<face> needs a name and a file; left out");
        return;
    }
    m_faceFiles.insert_or_assign(*name, joinPath(eFontRegistry::fontDirectory(), *file));
}

void eSkin::Loader::addFont(const Attributes &attributes)
{
    const std::string *name = attributeOf(attributes, "name");
    const std::string *face = attributeOf(attributes, "face");
    const std::string *size = attributeOf(attributes, "size");
    if (!name || name->empty() || !size) {
        warn("<font> needs a name and a size; left out");
        return;
    }
    int pixels = 0;
    if (!skinvalue::parseInt(*size, pixels) || pixels <= 0 || pixels > largestFontSize) {
        warn("font \"%s\" has the bad size \"%s\" (a number of pixels from 1 to %d); left out", name->c_str(),
             size->c_str(), largestFontSize);
        return;
    }
    m_fonts.insert_or_assign(*name, gFont(face && !face->empty() ? *face : eFontRegistry::defaultFace, pixels));
}

void eSkin::Loader::addValue(const Attributes &attributes)
{
    const std::string *name = attributeOf(attributes, "name");
    const std::string *value = attributeOf(attributes, "value");
    if (!name || name->empty() || !value) {
        warn("<value> needs a name and a value; left out");
        return;
    }
    int number = 0;
    if (!skinvalue::parseInt(*value, number)) {
        warn("value \"%s\" is \"%s\", not a whole number from %d to %d; left out", name->c_str(), value->c_str(),
             -skinvalue::largestNumber, skinvalue::largestNumber);
        return;
    }
    // The size of the default font, which windows also lay themselves out by.
    if (*name == "fontsize" && (number <= 0 || number > largestFontSize)) {
        warn("value \"fontsize\" is %d, not a font size from 1 to %d pixels; left out", number, largestFontSize);
        return;
    }
    m_values.insert_or_assign(*name, number);
}

void eSkin::Loader::addImage(const Attributes &attributes)
{
    const std::string *name = attributeOf(attributes, "name");
    const std::string *file = attributeOf(attributes, "file");
    if (!name || name->empty() || !file || file->empty()) {
        warn("<image> needs a name and a file; left out");
        return;
    }
    m_images.push_back({*name, *file, XML_GetCurrentLineNumber(static_cast<XML_Parser>(m_parser))});
}

void eSkin::Loader::addDecoration(const Attributes &attributes)
{
    const std::string *name = attributeOf(attributes, "name");
    if (!name || name->empty()) {
        warn("<deco> needs a name; left out");
        return;
    }
    m_decorations.push_back({*name, attributes, XML_GetCurrentLineNumber(static_cast<XML_Parser>(m_parser))});
}

void eSkin::Loader::startWindow(const Attributes &attributes)
{
    const std::string *name = attributeOf(attributes, "name");
    if (!name || name->empty()) {
        warn("<window> needs a name; left out with its widgets");
        return;
    }
    auto build = std::make_unique<WindowBuild>();
    m_window = build.get();
    m_builds.insert_or_assign(*name, std::move(build));
}

void eSkin::Loader::addWidget(const Attributes &attributes)
{
    if (!m_window)
        return; // its window was left out
    WidgetBuild widget;
    for (const auto &[key, value] : attributes) {
        if (key == "name") {
            widget.name = value;
        } else if (key == "type") {
            if (value == "eLabel")
                widget.kind = WidgetBuild::Kind::label;
            else if (value == "eButton")
                widget.kind = WidgetBuild::Kind::button;
            else if (value == "eWidget")
                widget.kind = WidgetBuild::Kind::plain;
            else
                warn("widget type \"%s\" is not eLabel, eButton or eWidget; made an eLabel", value.c_str());
        } else if (key == "position" || key == "size") {
            int first = 0;
            int second = 0;
            if (!skinvalue::parsePair(value, first, second)) {
                warn("widget %s \"%s\" is not two numbers \"x,y\" from %d to %d; ignored", key.c_str(), value.c_str(),
                     -skinvalue::largestNumber, skinvalue::largestNumber);
                continue;
            }
            if (key == "position")
                widget.position = ePoint(first, second);
            else
                widget.size = eSize(first, second);
        } else {
            widget.properties.emplace_back(key, value);
        }
    }
    if (widget.name.empty())
        warn("a widget without a name cannot be found by the window it is built in");
    m_window->widgets.push_back(std::move(widget));
}

bool eSkin::Loader::resolveColor(const std::string &text, gColor &colour) const
{
    if (const auto staged = m_colors.find(text); staged != m_colors.end()) {
        colour = staged->second;
        return true;
    }
    if (const auto known = m_skin.m_colors.find(text); known != m_skin.m_colors.end()) {
        colour = known->second;
        return true;
    }
    return skinvalue::parseColor(text, colour);
}

eDecoration eSkin::Loader::resolveDecoration(const PendingDecoration &pending) const
{
    eDecoration decoration;
    decoration.valid = true;
    for (const auto &[key, value] : pending.attributes) {
        if (key == "name")
            continue;
        if (key == "border" || key == "radius") {
            int number = 0;
            if (!skinvalue::parseInt(value, number) || number < 0) {
                warnAt(pending.line, "decoration \"%s\": %s \"%s\" is not a number of pixels from 0 to %d; 0 used",
                       pending.name.c_str(), key.c_str(), value.c_str(), skinvalue::largestNumber);
                continue;
            }
            (key == "border" ? decoration.borderWidth : decoration.radius) = number;
            continue;
        }
        gColor *target = nullptr;
        if (key == "borderColor")
            target = &decoration.borderColor;
        else if (key == "focusBorderColor")
            target = &decoration.focusBorderColor;
        else if (key == "background")
            target = &decoration.background;
        else if (key == "focusBackground")
            target = &decoration.focusBackground;
        if (!target) {
            warnAt(pending.line, "decoration \"%s\" has no attribute \"%s\"; ignored", pending.name.c_str(),
                   key.c_str());
            continue;
        }
        if (!resolveColor(value, *target))
            warnAt(pending.line, "decoration \"%s\": %s \"%s\" is not a colour; left transparent", pending.name.c_str(),
                   key.c_str(), value.c_str());
    }
    return decoration;
}

void eSkin::Loader::commit()
{
    eFontRegistry &registry = eFontRegistry::instance();
    for (const auto &[face, file] : m_faceFiles)
        registry.addFace(face, file); // warns itself when the file is no font

    for (const auto &[name, font] : m_fonts) {
        if (!registry.hasFace(font.family))
            eWarning("skin %s: font \"%s\" names the unknown face \"%s\"; it is drawn in %s", m_filename.c_str(),
                     name.c_str(), font.family.c_str(), eFontRegistry::defaultFace);
        m_skin.m_fonts.insert_or_assign(name, font);
    }
    for (const auto &[name, colour] : m_colors)
        m_skin.m_colors.insert_or_assign(name, colour);
    for (const auto &[name, number] : m_values)
        m_skin.m_values.insert_or_assign(name, number);
    for (const PendingDecoration &pending : m_decorations)
        m_skin.m_decorations.insert_or_assign(pending.name, resolveDecoration(pending));
    for (const PendingImage &image : m_images) {
        const std::string path = joinPath(m_directory, image.file);
        std::string reason;
        std::unique_ptr<gPixmap> pixmap = loadPNG(path, &reason);
        if (!pixmap) {
            warnAt(image.line, "image \"%s\": %s cannot be loaded (%s); it is left out", image.name.c_str(),
                   path.c_str(), reason.c_str());
            continue;
        }
        m_skin.m_images.insert_or_assign(image.name, std::move(pixmap));
    }
    for (auto &[name, build] : m_builds)
        m_skin.m_builds.insert_or_assign(name, std::move(build));
}

void eSkin::Loader::warn(const char *format, ...) const
{
    char message[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    const unsigned long line = m_parser ? XML_GetCurrentLineNumber(static_cast<XML_Parser>(m_parser)) : 0;
    eWarning("skin %s, line %lu: %s", m_filename.c_str(), line, message);
}

void eSkin::Loader::warnAt(unsigned long line, const char *format, ...) const
{
    char message[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    eWarning("skin %s, line %lu: %s", m_filename.c_str(), line, message);
}
