#include "gui/drawing/text_fit.h"

#include "gui/drawing/utf8.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace {

// Where each of the first `most` characters of `text` ends, in bytes.
std::vector<std::size_t> characterEnds(std::string_view text, std::size_t most)
{
    std::vector<std::size_t> ends;
    const char *position = text.data();
    const char *const end = text.data() + text.size();
    while (position < end && ends.size() < most) {
        boxtext::decodeUtf8(position, end);
        ends.push_back(static_cast<std::size_t>(position - text.data()));
    }
    return ends;
}

eString withEllipsis(const eString &text, std::size_t bytes)
{
    eString shortened = text.substr(0, bytes);
    while (!shortened.empty() && (shortened.back() == ' ' || shortened.back() == '\t'))
        shortened.pop_back();
    return shortened + textEllipsis;
}

} // namespace

eString fitToWidth(const eString &text, const gFont &font, int width)
{
    if (width <= 0)
        return eString();
    // Every character that shows takes at least a pixel: more than `width`
    // of them cannot fit.
    const std::size_t most = static_cast<std::size_t>(width) + 1;
    const std::vector<std::size_t> ends = characterEnds(text, most + 1);
    if (ends.size() <= most && textWidth(font, text) <= width)
        return text;
    if (textWidth(font, textEllipsis) > width)
        return eString();
    // The longest start that fits with the ellipsis: `fits` characters do,
    // `tooMany` do not.
    std::size_t fits = 0;
    std::size_t tooMany = std::min(ends.size(), most);
    while (tooMany - fits > 1) {
        const std::size_t middle = fits + (tooMany - fits) / 2;
        if (textWidth(font, withEllipsis(text, ends[middle - 1])) <= width)
            fits = middle;
        else
            tooMany = middle;
    }
    return withEllipsis(text, fits == 0 ? 0 : ends[fits - 1]);
}
