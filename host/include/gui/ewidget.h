#ifndef TARNWAVE_HOST_GUI_EWIDGET_H
#define TARNWAVE_HOST_GUI_EWIDGET_H

// The base of every element on screen. Widgets form a tree: a widget made with
// a parent belongs to it and is deleted with it. A widget without a parent is a
// top-level window of a screen (the TV's on-screen display unless told
// otherwise).
//
// Positions are relative to the parent's client area (for a top-level widget,
// to the screen); the client area is the part inside decorations and a
// window's title bar. Setters return early when nothing changes and otherwise
// mark the widget damaged; painting happens once per frame, in one pass,
// clipped to the damaged area (see eScreen).
//
// Keys arrive as actions (see eaction.h), at the eventHandler of the active
// window first, so that a window sees every key it or its focused widget has
// a map for. A window passes what it does not use itself on to its focused
// widget and that widget's parents (eWindow::eventHandler does this before
// its own defaults; see passToFocusChain), each of which only sees actions of
// the maps it has added, until one returns non-zero.

#include "base/estring.h"
#include "base/signals.h"
#include "gui/geometry.h"
#include "gui/gfont.h"
#include "gui/grgb.h"

#include <memory>
#include <vector>

class eAction;
class eActionMap;
class eScreen;
class gPainter;
class gPixmap;
class JsonWriter;

class eWidgetEvent
{
public:
    enum eventType {
        childChangedHelpText = 0,
        execBegin = 1,
        execDone = 2,
        gotFocus = 3,
        lostFocus = 4,
        changedText = 5,
        changedFont = 6,
        changedForegroundColor = 7,
        changedBackgroundColor = 8,
        changedSize = 9,
        changedPosition = 10,
        changedPixmap = 11,
        childGotFocus = 12,
        childLostFocus = 13,
        willShow = 14,
        evtAction = 15, // a remote-control action: `action` says which
        willHide = 16,
        evtCharacter = 17, // a typed character: `parameter` is its code point
    };

    explicit eWidgetEvent(int kind, int eventParameter = 0, const eAction *eventAction = nullptr)
        : type(kind), parameter(eventParameter), action(eventAction)
    {
    }

    int type;
    int parameter;
    const eAction *action;
};

class eWidget : public SigC::Object
{
public:
    explicit eWidget(eWidget *parent = nullptr, int takefocus = 0);
    ~eWidget() override;
    eWidget(const eWidget &) = delete;
    eWidget &operator=(const eWidget &) = delete;

    // --- the tree
    eWidget *getParent() const { return m_parent; }
    const std::vector<eWidget *> &getChildren() const { return m_children; }
    // The top-level widget this one belongs to (itself when it has no parent).
    eWidget *getTLW();
    const eWidget *getTLW() const;
    // The first descendant (depth first, in creation order) with that name.
    eWidget *search(const eString &name) const;
    void setName(const eString &name) { m_name = name; }
    const eString &getName() const { return m_name; }

    // --- geometry
    void move(const ePoint &position);
    void resize(const eSize &size);
    // move/resize by the client area: the client area's top-left corner goes to
    // `position`, and it gets `size`, whatever the decorations take.
    void cmove(const ePoint &position);
    void cresize(const eSize &size);
    const ePoint &getPosition() const { return m_position; }
    const eSize &getSize() const { return m_size; }
    // The client area in the widget's own coordinates.
    virtual eRect getClientRect() const;
    eSize getClientSize() const { return getClientRect().size(); }
    // The widget's rectangle and top-left corner on its screen.
    eRect getAbsoluteRect() const;
    ePoint getAbsolutePosition() const;

    // --- visibility
    void show();
    void hide();
    // Shown itself and every parent shown (and, at the top, on a screen).
    bool isVisible() const;
    // Shown itself, whatever its parents are.
    bool isShown() const { return m_shown; }

    // --- appearance
    void setText(const eString &text);
    const eString &getText() const { return m_text; }
    void setFont(const gFont &font);
    const gFont &getFont() const { return m_font; }
    void setPixmap(gPixmap *pixmap); // not owned (skin images live in the skin)
    gPixmap *getPixmap() const { return m_pixmap; }
    void setForegroundColor(const gColor &color);
    void setBackgroundColor(const gColor &color); // alpha 0: nothing is filled
    const gColor &getForegroundColor() const { return m_foregroundColor; }
    const gColor &getBackgroundColor() const { return m_backgroundColor; }
    // Named properties, as the skin sets them: "backgroundColor" and
    // "foregroundColor" (a skin colour name or #AARRGGBB/#RRGGBB), "font" (a
    // skin font name), "position" and "size" ("x,y"), and what subclasses add
    // ("align", "vcenter", ...). Returns 0 when the property was understood,
    // -1 otherwise (with a warning in the log).
    virtual int setProperty(const eString &property, const eString &value);

    // --- focus and actions
    // On any widget: gives the focus of its window to `widget` (null: none).
    void setFocus(eWidget *widget);
    // The focused widget of this widget's window: the one given by setFocus
    // while it can take the focus, else the first visible widget that can.
    eWidget *getFocus() const;
    bool hasFocus() const;
    // Whether the widget can take the focus: made with takefocus, visible and
    // not of zero size.
    virtual bool acceptsFocus() const;
    void addActionMap(const eActionMap *map);
    void removeActionMap(const eActionMap *map);
    const std::vector<const eActionMap *> &getActionMaps() const { return m_actionMaps; }
    // Returns non-zero when the event was used.
    virtual int eventHandler(const eWidgetEvent &event);
    int event(const eWidgetEvent &event) { return eventHandler(event); }

    // --- modal runs
    // Runs the application's loop until close(); returns the value given to it.
    int exec();
    void close(int result);
    void accept() { close(0); }
    void reject() { close(-1); }
    bool isInExec() const { return m_execLevel != 0; }

    // --- the LCD: a window bound with setLCD writes its title into `title`,
    // and its lists write their current row into `element`. Children use their
    // window's binding.
    void setLCD(eWidget *title, eWidget *element);
    eWidget *getLCDTitle() const;
    eWidget *getLCDElement() const;

    // --- painting
    // Marks `area` (own coordinates; empty: the whole widget) to be painted in
    // the next frame.
    void invalidate(const eRect &area = eRect());
    // Paints this widget (not its children) within `area` (own coordinates);
    // the painter's origin is the widget's top-left corner and its clip the
    // part that needs painting.
    virtual void redrawWidget(gPainter *painter, const eRect &area);
    // Paints this widget and its visible children, clipped to `screenArea`.
    void paintTree(gPainter &painter, const eRect &screenArea);

    // --- description for tests and the control API
    virtual const char *typeName() const { return "eWidget"; }
    // Writes this widget as a JSON object: type, name, text, geometry, visible,
    // focused, "image" (the active skin's name of its pixmap, "" for one made
    // in code) when it has a pixmap, and (by subclasses) what else they show;
    // then its visible children.
    void describe(JsonWriter &json) const;

    // --- top-level widgets: the screen they are shown on
    void setScreen(eScreen *screen);
    eScreen *getScreen() const;

    // A token that expires when the widget is deleted, so that code that calls
    // out into handlers can tell whether its widget still exists.
    std::weak_ptr<void> lifeToken() const { return m_life; }

protected:
    // Offers an action or a typed character to the focused widget of this
    // window and then to its parents below the window, as described above;
    // returns non-zero when one of them used it.
    int passToFocusChain(const eWidgetEvent &event);
    // Whether this widget or one on the way from the focused widget up to it
    // has added `map`.
    bool focusChainHasMap(const eActionMap *map) const;

    // Adds subclass properties to the JSON object being written (rows, ...).
    virtual void describeContents(JsonWriter &json) const;
    // The font used when none was set: the skin's default.
    bool hasOwnFont() const { return m_hasOwnFont; }

private:
    friend class eScreen;
    void addChild(eWidget *child);
    void removeChild(eWidget *child);
    void invalidateScreenRect(const eRect &screenRect);
    eRect visibleScreenRect() const; // the part of the widget its parents let show
    void forgetFocusOf(eWidget *widget);
    eWidget *firstFocusable() const;

    eWidget *m_parent;
    std::vector<eWidget *> m_children;
    eString m_name;
    eString m_text;
    gFont m_font;
    bool m_hasOwnFont = false;
    gPixmap *m_pixmap = nullptr;
    gColor m_foregroundColor{255, 255, 255};
    gColor m_backgroundColor{0, 0, 0, 0};
    ePoint m_position;
    eSize m_size;
    bool m_shown;
    bool m_takefocus;
    eWidget *m_focus = nullptr; // top-level widgets only
    std::vector<const eActionMap *> m_actionMaps;
    eWidget *m_lcdTitle = nullptr;
    eWidget *m_lcdElement = nullptr;
    int m_execLevel = 0;
    eScreen *m_screen = nullptr; // top-level widgets only
    std::shared_ptr<char> m_life = std::make_shared<char>(0);
};

#endif
