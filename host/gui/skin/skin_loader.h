#ifndef TARNWAVE_HOST_GUI_SKIN_LOADER_H
#define TARNWAVE_HOST_GUI_SKIN_LOADER_H

// Inside the skin: the window builds it keeps, the reader of skin files, and
// the parsers for the values written in them. Not part of the toolkit's
// interface; only eskin.cpp and skin_loader.cpp include this.

#include "gui/eskin.h"
#include "gui/geometry.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The attributes of one element, in the order of the file.
using SkinAttributes = std::vector<std::pair<std::string, std::string>>;

// One child of a window build: what build() creates and how it sets it up.
struct eSkin::WidgetBuild
{
    enum class Kind { label, button, plain };

    Kind kind = Kind::label;
    eString name;
    std::optional<ePoint> position;
    std::optional<eSize> size;
    // Every other attribute, in the order of the file, for setProperty().
    std::vector<std::pair<eString, eString>> properties;
};

struct eSkin::WindowBuild
{
    std::vector<WidgetBuild> widgets;
};

// Reads one skin file into a staging area and, only when the whole file is a
// well-formed skin, adds what it names to the skin.
class eSkin::Loader
{
public:
    using Attributes = SkinAttributes;

    Loader(eSkin &skin, std::string filename);
    ~Loader();
    Loader(const Loader &) = delete;
    Loader &operator=(const Loader &) = delete;

    // 0 on success, -1 when the file is missing or not a skin (see eSkin::load).
    int run();

private:
    // The XML parser's element handlers; `loader` is the Loader.
    static void onStartElement(void *loader, const char *name, const char **attributes);
    static void onEndElement(void *loader, const char *name);
    void startElement(std::string_view element, const Attributes &attributes);
    void endElement();

    struct PendingDecoration
    {
        eString name;
        Attributes attributes;
        unsigned long line;
    };
    struct PendingImage
    {
        eString name;
        std::string file; // as written in the skin
        unsigned long line;
    };

    // Returns false when the file cannot be parsed; the error is logged.
    bool parse(const std::string &text);
    void startItem(std::string_view section, std::string_view element, const Attributes &attributes);
    void addColor(const Attributes &attributes);
    void addFace(const Attributes &attributes);
    void addFont(const Attributes &attributes);
    void addValue(const Attributes &attributes);
    void addImage(const Attributes &attributes);
    void addDecoration(const Attributes &attributes);
    void startWindow(const Attributes &attributes);
    void addWidget(const Attributes &attributes);

    // A colour by skin name (this file's first, then the skin's) or written out.
    bool resolveColor(const std::string &text, gColor &colour) const;
    eDecoration resolveDecoration(const PendingDecoration &pending) const;
    // Moves what was staged into the skin.
    void commit();

    // A warning naming the file and the line being read.
    void warn(const char *format, ...) const __attribute__((format(printf, 2, 3)));
    void warnAt(unsigned long line, const char *format, ...) const __attribute__((format(printf, 3, 4)));

    eSkin &m_skin;
    std::string m_filename;
    std::string m_directory; // of the skin file, for image paths
    void *m_parser = nullptr; // the running XML_Parser, for line numbers
    std::vector<std::string> m_open; // the elements entered and not yet left
    bool m_notASkin = false;
    std::string m_rootName;

    std::map<eString, gColor> m_colors;
    std::map<eString, std::string> m_faceFiles;
    std::map<eString, gFont> m_fonts;
    std::map<eString, int> m_values;
    std::vector<PendingImage> m_images;
    std::vector<PendingDecoration> m_decorations;
    std::map<eString, std::unique_ptr<WindowBuild>> m_builds;
    WindowBuild *m_window = nullptr; // the window build being read
};

namespace skinvalue {

// "#AARRGGBB" or "#RRGGBB" (hex digits, either case); false for anything else.
bool parseColor(std::string_view text, gColor &colour);
// The largest number a skin may hold, either way: ten times the screen's
// size and more, yet far enough from the ends of int that widgets can add
// and multiply what skins give them.
inline constexpr int largestNumber = 10000;

// A whole decimal integer from -largestNumber to largestNumber, optionally
// signed; false for anything else.
bool parseInt(std::string_view text, int &number);
// Two such integers "x,y" (blanks allowed around each).
bool parsePair(std::string_view text, int &first, int &second);

} // namespace skinvalue

#endif
