// The skin's lookups and window builds; reading files is in skin_loader.cpp.

#include "gui/eskin.h"

#include "base/elog.h"
#include "gui/ebutton.h"
#include "gui/elabel.h"
#include "gui/ewidget.h"
#include "gui/gpixmap.h"
#include "gui/skin/skin_loader.h"

namespace {

eSkin *activeSkin = nullptr; // null: the built-in empty skin

eSkin &builtInSkin()
{
    static eSkin empty;
    return empty;
}

// Makes a skin the active one for a while, so that widgets, which resolve
// property values through the active skin, see the skin that builds them.
class ActiveSkinScope
{
public:
    explicit ActiveSkinScope(eSkin *skin) : m_previous(activeSkin) { activeSkin = skin; }
    ~ActiveSkinScope() { activeSkin = m_previous; }
    ActiveSkinScope(const ActiveSkinScope &) = delete;
    ActiveSkinScope &operator=(const ActiveSkinScope &) = delete;

private:
    eSkin *m_previous;
};

constexpr int defaultFontSize = 20;

} // namespace

eSkin::eSkin() = default;

eSkin::~eSkin()
{
    if (activeSkin == this)
        activeSkin = nullptr;
}

int eSkin::load(const char *filename)
{
    if (!filename || !*filename) {
        eError("skin: no skin file named");
        return -1;
    }
    return Loader(*this, filename).run();
}

void eSkin::setActive()
{
    activeSkin = this;
}

eSkin *eSkin::getActive()
{
    return activeSkin ? activeSkin : &builtInSkin();
}

void eSkin::warnMissing(const char *kind, const eString &name) const
{
    if (name.empty())
        return; // nothing was asked for
    if (!m_warned.insert(std::string(kind) + '\0' + name).second)
        return;
    // A skin with nothing in it (the built-in one before any skin is loaded)
    // misses every name; that is expected, not worth a warning.
    const bool holdsNothing = m_colors.empty() && m_fonts.empty() && m_values.empty() && m_images.empty()
                              && m_decorations.empty() && m_builds.empty();
    if (holdsNothing)
        eDebug("skin: no skin loaded; %s \"%s\" falls back to its default", kind, name.c_str());
    else
        eWarning("skin: the skin has no %s \"%s\"; its default is used", kind, name.c_str());
}

gColor eSkin::queryColor(const eString &name, gColor fallback) const
{
    if (const auto found = m_colors.find(name); found != m_colors.end())
        return found->second;
    if (!name.empty() && name.front() == '#') {
        gColor written;
        if (skinvalue::parseColor(name, written))
            return written;
        if (m_warned.insert(std::string("bad colour") + '\0' + name).second)
            eWarning("skin: \"%s\" is not a colour (#AARRGGBB or #RRGGBB); its default is used", name.c_str());
        return fallback;
    }
    warnMissing("colour", name);
    return fallback;
}

gFont eSkin::queryFont(const eString &name) const
{
    if (const auto found = m_fonts.find(name); found != m_fonts.end())
        return found->second;
    warnMissing("font", name);
    const auto fontsize = m_values.find("fontsize");
    return gFont(eFontRegistry::defaultFace, fontsize != m_values.end() ? fontsize->second : defaultFontSize);
}

int eSkin::queryValue(const eString &name, int defaultValue) const
{
    if (const auto found = m_values.find(name); found != m_values.end())
        return found->second;
    warnMissing("value", name);
    return defaultValue;
}

gPixmap *eSkin::queryImage(const eString &name) const
{
    if (const auto found = m_images.find(name); found != m_images.end())
        return found->second.get();
    warnMissing("image", name);
    return nullptr;
}

eString eSkin::imageName(const gPixmap *image) const
{
    for (const auto &[name, pixmap] : m_images)
        if (image && pixmap.get() == image)
            return name;
    return {};
}

const eDecoration &eSkin::queryDeco(const eString &name) const
{
    static const eDecoration none;
    if (const auto found = m_decorations.find(name); found != m_decorations.end())
        return found->second;
    warnMissing("decoration", name);
    return none;
}

bool eSkin::hasColor(const eString &name) const
{
    return m_colors.count(name) != 0;
}

bool eSkin::hasFont(const eString &name) const
{
    return m_fonts.count(name) != 0;
}

bool eSkin::hasValue(const eString &name) const
{
    return m_values.count(name) != 0;
}

bool eSkin::hasBuild(const eString &name) const
{
    return m_builds.count(name) != 0;
}

int eSkin::build(eWidget *widget, const char *name)
{
    if (!widget || !name) {
        eWarning("skin: build needs a widget and a window name");
        return -1;
    }
    const auto found = m_builds.find(name);
    if (found == m_builds.end()) {
        warnMissing("window build", name);
        return -1;
    }
    ActiveSkinScope scope(this);
    for (const WidgetBuild &item : found->second->widgets) {
        eDecoWidget *decorated = nullptr;
        if (item.kind == WidgetBuild::Kind::button)
            decorated = new eButton(widget);
        else if (item.kind == WidgetBuild::Kind::label)
            decorated = new eLabel(widget);
        eWidget *child = decorated ? decorated : new eWidget(widget);
        child->setName(item.name);
        if (decorated)
            decorated->loadDeco(); // the kind's own decoration, unless a "deco" property names another
        if (item.position)
            child->move(*item.position);
        if (item.size)
            child->resize(*item.size);
        for (const auto &[property, value] : item.properties)
            child->setProperty(property, value);
    }
    return 0;
}
