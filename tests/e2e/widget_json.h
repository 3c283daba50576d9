#ifndef TARNWAVE_TESTS_E2E_WIDGET_JSON_H
#define TARNWAVE_TESTS_E2E_WIDGET_JSON_H

// Small readings of the emulator's widget description (GET /api/widgets).

#include "gui/geometry.h"

#include <optional>
#include <regex>
#include <string>

// The screen rectangle of the first widget named `name`.
inline std::optional<eRect> geometryOf(const std::string &widgets, const std::string &name)
{
    const std::regex pattern(
        "\"name\":\"" + name
        + "\",[^{]*\"geometry\":\\{\"x\":(-?\\d+),\"y\":(-?\\d+),\"width\":(\\d+),\"height\":(\\d+)\\}");
    std::smatch match;
    if (!std::regex_search(widgets, match, pattern))
        return std::nullopt;
    return eRect(ePoint(std::stoi(match[1]), std::stoi(match[2])), eSize(std::stoi(match[3]), std::stoi(match[4])));
}

// Whether the description holds a widget with that name.
inline bool showsWidget(const std::string &widgets, const std::string &name)
{
    return widgets.find("\"name\":\"" + name + "\"") != std::string::npos;
}

inline bool showsText(const std::string &widgets, const std::string &text)
{
    return widgets.find("\"text\":\"" + text + "\"") != std::string::npos;
}

#endif
