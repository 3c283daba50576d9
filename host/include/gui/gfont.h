#ifndef TARNWAVE_HOST_GUI_GFONT_H
#define TARNWAVE_HOST_GUI_GFONT_H

// Fonts as the widgets name them (a face name and a pixel size), and the
// registry that says which font file each face name uses.

#include "base/estring.h"

#include <map>
#include <mutex>
#include <set>
#include <string>

// The largest pixel size a font is drawn at. A face taller than the screen is
// of no use, and the bound keeps glyph bitmaps, and sums of font sizes, far
// from overflowing; larger fonts draw nothing, and skins cannot name them.
inline constexpr int largestFontSize = 1024;

struct gFont
{
    eString family; // a face registered with the font registry, e.g. "Regular"
    int pointSize = 0; // pixel size (em height) of the font

    gFont() = default;
    gFont(const eString &faceName, int pixelSize) : family(faceName), pointSize(pixelSize) { }

    bool operator==(const gFont &) const = default;
    // A default-constructed font (no family or no size) is not valid and draws nothing.
    bool isValid() const { return !family.empty() && pointSize > 0; }
};

// Vertical metrics of a font in whole pixels: the ascender above the baseline,
// the descender below it (a positive number), and the distance between the
// baselines of two lines.
struct gFontMetrics
{
    int ascender = 0;
    int descender = 0;
    int lineHeight = 0;
};

// The metrics of `font`; all 0 for an invalid font or one whose file cannot be loaded.
gFontMetrics fontMetrics(const gFont &font);

// The advance width in pixels of `text` (UTF-8) laid out on one line as
// eTextPara does it ('\n' ignored, trailing blanks not counted).
int textWidth(const gFont &font, const eString &text);

// Which file each face name uses. Preset faces: "Regular" (DejaVuSans.ttf),
// "Bold" (DejaVuSans-Bold.ttf) and "Mono" (DejaVuSansMono.ttf) in the font
// directory: the environment variable TARNWAVE_FONT_DIR, else the compiled-in
// default. The skin adds faces. An unknown family falls back to the default
// face ("Regular") with one eWarning per unknown name.
// Safe to call from any thread.
class eFontRegistry
{
public:
    static eFontRegistry &instance();

    // Registers (or replaces) `family` with the font in `file` (an absolute
    // path). False, with an eWarning, when the file is not a loadable font;
    // the face keeps what it had then.
    bool addFace(const eString &family, const std::string &file);

    // True when `family` is registered (presets included).
    bool hasFace(const eString &family) const;

    // The file of `family`, or that of the default face when `family` is not
    // registered (warning once per unknown name).
    std::string fileOf(const eString &family);

    // The directory the preset faces are taken from.
    static std::string fontDirectory();

    static constexpr const char *defaultFace = "Regular";

private:
    eFontRegistry();

    mutable std::mutex m_mutex;
    std::map<eString, std::string> m_files;
    std::set<eString> m_warnedUnknown;
};

#endif
