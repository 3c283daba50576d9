#ifndef TARNWAVE_HOST_GUI_ESKIN_H
#define TARNWAVE_HOST_GUI_ESKIN_H

// The skin: the look of every window, read from an XML file. It names colours,
// fonts, numeric values, images and decorations, and describes window builds:
// the named children that build() creates in a window.
//
// Lookups never fail: a missing colour gives the fallback asked for, a missing
// font the default font ("Regular", the value "fontsize" or 20 pixels), a
// missing value the default asked for, a missing image null, a missing
// decoration one that draws nothing. Each missing name is logged once.
//
// The file format:
//
//   <skin>
//     <colors>  <color name="std_dred" value="#ff9a1010"/> ...       (#AARRGGBB or #RRGGBB)
//     <faces>   <face name="Regular" file="DejaVuSans.ttf"/> ...     (relative to the font directory)
//     <fonts>   <font name="epg.title" face="Regular" size="20"/> ...  (1 to largestFontSize pixels)
//     <values>  <value name="fontsize" value="20"/> ...             (-10000 to 10000; "fontsize" a font's size)
//     <images>  <image name="key.32" file="images/key32.png"/> ...  (relative to the skin file)
//     <decorations>
//       <deco name="eButton" border="2" borderColor="..." focusBorderColor="..."
//             background="..." focusBackground="..." radius="6"/>
//     <windows>
//       <window name="rss.weather">
//         <widget name="key_red" type="eLabel" position="0,0" size="140,40" font="epg.title"
//                 foregroundColor="..." backgroundColor="std_dred" align="center" vcenter="" deco="eButton"/>
//       </window>
//   </skin>
//
// Colour values in attributes may name a skin colour or be written out.
// Numbers (values, positions, sizes, borders, radii) lie from -10000 to 10000;
// others are left out with a warning.

#include "base/estring.h"
#include "gui/gfont.h"
#include "gui/grgb.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

class eWidget;
class gPixmap;

// How a decorated widget is framed; see eDecoWidget.
struct eDecoration
{
    bool valid = false;
    int borderWidth = 0;
    gColor borderColor{0, 0, 0, 0};
    gColor focusBorderColor{0, 0, 0, 0};
    gColor background{0, 0, 0, 0}; // alpha 0: not filled
    gColor focusBackground{0, 0, 0, 0}; // alpha 0: as background
    int radius = 0;
};

class eSkin
{
public:
    eSkin();
    ~eSkin();
    eSkin(const eSkin &) = delete;
    eSkin &operator=(const eSkin &) = delete;

    // Reads a skin file, adding to what this skin holds. 0 on success; -1
    // when the file is missing or not a skin (with one clear error line in
    // the log), in which case nothing is added. Images that cannot be loaded
    // are left out with a warning each.
    int load(const char *filename);
    // Makes this skin the one that widgets and lookups use.
    void setActive();
    // The active skin; an empty built-in one until a skin is made active.
    static eSkin *getActive();

    // Creates in `widget` the children that the window build `name` lists,
    // each with its name, geometry and properties. 0 on success, -1 when the
    // skin has no such build (nothing is created then).
    int build(eWidget *widget, const char *name);

    gColor queryColor(const eString &name, gColor fallback = gColor(255, 255, 255)) const;
    gFont queryFont(const eString &name) const;
    int queryValue(const eString &name, int defaultValue) const;
    gPixmap *queryImage(const eString &name) const;
    // The name under which `image` is one of this skin's images; empty when
    // it is not (a pixmap made in code, or null).
    eString imageName(const gPixmap *image) const;
    const eDecoration &queryDeco(const eString &name) const;

    bool hasColor(const eString &name) const;
    bool hasFont(const eString &name) const;
    bool hasValue(const eString &name) const;
    bool hasBuild(const eString &name) const;

private:
    struct WidgetBuild;
    struct WindowBuild;
    class Loader;

    void warnMissing(const char *kind, const eString &name) const;

    std::map<eString, gColor> m_colors;
    std::map<eString, gFont> m_fonts;
    std::map<eString, int> m_values;
    std::map<eString, std::unique_ptr<gPixmap>> m_images;
    std::map<eString, eDecoration> m_decorations;
    std::map<eString, std::unique_ptr<WindowBuild>> m_builds;
    mutable std::set<std::string> m_warned;
};

#endif
