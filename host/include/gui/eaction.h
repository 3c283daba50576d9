#ifndef TARNWAVE_HOST_GUI_EACTION_H
#define TARNWAVE_HOST_GUI_EACTION_H

// Remote-control actions. A key press is not delivered as a key: the host looks
// the key up in the keymap, which names the actions it stands for, and gives
// each widget, from the focused one up to its window, the action of the maps
// that widget has added (eWidget::addActionMap). A map declares its actions in
// a fixed order, which plug-ins may rely on:
//
//   i_cursorActions       up, down, left, right, ok, cancel (the exit key),
//                         pageUp, pageDown (the channel keys)
//   i_shortcutActions     number0, number1 ... number9 (consecutive), red,
//                         green, yellow, blue (directly after number9)
//   i_epgSelectorActions  record, menu (the recorder signal directly before
//                         the menu)
//
//   addActionMap(&i_shortcutActions->map);
//   if (event.action == &i_shortcutActions->red) ...

#include <string>
#include <vector>

class eActionMap;

class eAction
{
public:
    eAction(eActionMap &map, const char *identifier, const char *description);
    eAction(const eAction &) = delete;
    eAction &operator=(const eAction &) = delete;

    const char *getIdentifier() const { return m_identifier; }
    const char *getDescription() const { return m_description; }
    eActionMap *getMap() const { return m_map; }

private:
    eActionMap *m_map;
    const char *m_identifier;
    const char *m_description;
};

class eActionMap
{
public:
    eActionMap(const char *identifier, const char *description);
    eActionMap(const eActionMap &) = delete;
    eActionMap &operator=(const eActionMap &) = delete;

    const char *getIdentifier() const { return m_identifier; }
    const char *getDescription() const { return m_description; }

    // The actions in the order they were declared.
    const std::vector<const eAction *> &actions() const { return m_actions; }
    // The position of `action` in the declaration order, -1 when it is not ours.
    int indexOf(const eAction *action) const;
    const eAction *findAction(const std::string &identifier) const;

private:
    friend class eAction;
    const char *m_identifier;
    const char *m_description;
    std::vector<const eAction *> m_actions;
};

struct cursorActions
{
    eActionMap map{"cursor", "cursor and list movement"};
    eAction up{map, "up", "up"};
    eAction down{map, "down", "down"};
    eAction left{map, "left", "left"};
    eAction right{map, "right", "right"};
    eAction ok{map, "ok", "select"};
    eAction cancel{map, "cancel", "leave"};
    eAction pageUp{map, "pageUp", "one page up"};
    eAction pageDown{map, "pageDown", "one page down"};
};

struct shortcutActions
{
    eActionMap map{"shortcut", "digits and colour keys"};
    eAction number0{map, "number0", "0"};
    eAction number1{map, "number1", "1"};
    eAction number2{map, "number2", "2"};
    eAction number3{map, "number3", "3"};
    eAction number4{map, "number4", "4"};
    eAction number5{map, "number5", "5"};
    eAction number6{map, "number6", "6"};
    eAction number7{map, "number7", "7"};
    eAction number8{map, "number8", "8"};
    eAction number9{map, "number9", "9"};
    eAction red{map, "red", "red"};
    eAction green{map, "green", "green"};
    eAction yellow{map, "yellow", "yellow"};
    eAction blue{map, "blue", "blue"};

    // number0 + digit, for digit 0 to 9; null for anything else.
    const eAction *number(int digit) const;
    // The digit of a number action, -1 for any other action.
    int digitOf(const eAction *action) const;
};

struct epgSelectorActions
{
    eActionMap map{"epgSelector", "recorder and menu"};
    eAction record{map, "record", "signal the recorder"};
    eAction menu{map, "menu", "open the menu"};
};

cursorActions &cursorActionsInstance();
shortcutActions &shortcutActionsInstance();
epgSelectorActions &epgSelectorActionsInstance();

// The three maps, reachable with -> as plug-ins expect. The objects live in the
// host library, so every plug-in sees the same actions.
template <class Actions, Actions &(*instance)()>
class eActionMapHandle
{
public:
    Actions *operator->() const { return &instance(); }
    Actions &operator*() const { return instance(); }
};

inline constexpr eActionMapHandle<cursorActions, cursorActionsInstance> i_cursorActions{};
inline constexpr eActionMapHandle<shortcutActions, shortcutActionsInstance> i_shortcutActions{};
inline constexpr eActionMapHandle<epgSelectorActions, epgSelectorActionsInstance> i_epgSelectorActions{};

// The remote control's keys and the actions each stands for. Key names:
// up down left right ok exit menu record red green yellow blue 0-9
// channelup channeldown.
class eKeymap
{
public:
    static eKeymap &instance();

    // The actions bound to a key, in binding order; empty for an unknown key.
    const std::vector<const eAction *> &actionsFor(const std::string &key) const;
    bool isKey(const std::string &key) const;
    // Every key name, in the order of the remote control.
    const std::vector<std::string> &keys() const { return m_keys; }
    // The digit a key types (0-9), or -1.
    static int digitOfKey(const std::string &key);

    void bind(const std::string &key, const eAction &action);

private:
    eKeymap();
    std::vector<std::string> m_keys;
    std::vector<std::vector<const eAction *>> m_bindings; // parallel to m_keys
};

#endif
