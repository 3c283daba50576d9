#ifndef TARNWAVE_HOST_MEDIA_GSTREAMER_TITLE_TEXT_H
#define TARNWAVE_HOST_MEDIA_GSTREAMER_TITLE_TEXT_H

// Stream titles as UTF-8, whatever the station sent.

#include <string>
#include <string_view>

namespace boxmedia {

// `title` as valid UTF-8. Text that already is UTF-8 is kept, except that the
// C1 control characters U+0080 to U+009F become the characters Windows-1252
// has at those bytes: they only appear when Windows-1252 text (typographic
// quotes, dashes, the euro sign) was read as Latin-1 on its way here. Text
// that is not UTF-8 is read as Windows-1252, which is Latin-1 with those
// characters; the five bytes Windows-1252 leaves undefined stay the C1
// controls Latin-1 gives them.
std::string titleAsUtf8(std::string_view title);

} // namespace boxmedia

#endif
