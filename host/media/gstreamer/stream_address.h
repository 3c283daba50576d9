#ifndef TARNWAVE_HOST_MEDIA_GSTREAMER_STREAM_ADDRESS_H
#define TARNWAVE_HOST_MEDIA_GSTREAMER_STREAM_ADDRESS_H

// The addresses the stream handler accepts, and how it hands them to GStreamer.

#include <optional>
#include <string>
#include <string_view>

namespace boxmedia {

// The address to hand to GStreamer: without trailing blanks and line ends (a
// playlist line read with CR-LF ends keeps its carriage return), with the
// blanks and control bytes left inside it percent-encoded, as a URL has them.
std::string streamAddress(const std::string &path);

// The scheme of `address` (the letters, digits, '+', '-' and '.' before its
// first ':', starting with a letter), in lower case; empty when it has none.
std::string addressScheme(std::string_view address);

// Why the handler does not play `address`, empty when it does: only http:,
// https:, icy: and icyx: streams are played.
std::optional<std::string> refusalReason(std::string_view address);

} // namespace boxmedia

#endif
