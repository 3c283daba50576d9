#include "gui/eaction.h"

#include <algorithm>
#include <cstring>

eAction::eAction(eActionMap &map, const char *identifier, const char *description)
    : m_map(&map), m_identifier(identifier), m_description(description)
{
    map.m_actions.push_back(this);
}

eActionMap::eActionMap(const char *identifier, const char *description)
    : m_identifier(identifier), m_description(description)
{
}

int eActionMap::indexOf(const eAction *action) const
{
    auto found = std::find(m_actions.begin(), m_actions.end(), action);
    return found == m_actions.end() ? -1 : static_cast<int>(found - m_actions.begin());
}

const eAction *eActionMap::findAction(const std::string &identifier) const
{
    for (const eAction *action : m_actions)
        if (identifier == action->getIdentifier())
            return action;
    return nullptr;
}

const eAction *shortcutActions::number(int digit) const
{
    const eAction *digits[] = {&number0, &number1, &number2, &number3, &number4,
                               &number5, &number6, &number7, &number8, &number9};
    return digit >= 0 && digit <= 9 ? digits[digit] : nullptr;
}

int shortcutActions::digitOf(const eAction *action) const
{
    for (int digit = 0; digit <= 9; ++digit)
        if (number(digit) == action)
            return digit;
    return -1;
}

cursorActions &cursorActionsInstance()
{
    static cursorActions actions;
    return actions;
}

shortcutActions &shortcutActionsInstance()
{
    static shortcutActions actions;
    return actions;
}

epgSelectorActions &epgSelectorActionsInstance()
{
    static epgSelectorActions actions;
    return actions;
}

eKeymap &eKeymap::instance()
{
    static eKeymap keymap;
    return keymap;
}

eKeymap::eKeymap()
{
    const cursorActions &cursor = cursorActionsInstance();
    const shortcutActions &shortcut = shortcutActionsInstance();
    const epgSelectorActions &epg = epgSelectorActionsInstance();
    bind("up", cursor.up);
    bind("down", cursor.down);
    bind("left", cursor.left);
    bind("right", cursor.right);
    bind("ok", cursor.ok);
    bind("exit", cursor.cancel);
    bind("menu", epg.menu);
    bind("record", epg.record);
    bind("red", shortcut.red);
    bind("green", shortcut.green);
    bind("yellow", shortcut.yellow);
    bind("blue", shortcut.blue);
    for (int digit = 0; digit <= 9; ++digit)
        bind(std::string(1, static_cast<char>('0' + digit)), *shortcut.number(digit));
    bind("channelup", cursor.pageUp);
    bind("channeldown", cursor.pageDown);
}

void eKeymap::bind(const std::string &key, const eAction &action)
{
    auto found = std::find(m_keys.begin(), m_keys.end(), key);
    if (found == m_keys.end()) {
        m_keys.push_back(key);
        m_bindings.emplace_back();
        found = m_keys.end() - 1;
    }
    auto &actions = m_bindings[static_cast<std::size_t>(found - m_keys.begin())];
    if (std::find(actions.begin(), actions.end(), &action) == actions.end())
        actions.push_back(&action);
}

const std::vector<const eAction *> &eKeymap::actionsFor(const std::string &key) const
{
    static const std::vector<const eAction *> none;
    auto found = std::find(m_keys.begin(), m_keys.end(), key);
    return found == m_keys.end() ? none : m_bindings[static_cast<std::size_t>(found - m_keys.begin())];
}

bool eKeymap::isKey(const std::string &key) const
{
    return std::find(m_keys.begin(), m_keys.end(), key) != m_keys.end();
}

int eKeymap::digitOfKey(const std::string &key)
{
    return key.size() == 1 && key[0] >= '0' && key[0] <= '9' ? key[0] - '0' : -1;
}
