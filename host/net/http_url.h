#ifndef TARNWAVE_HOST_NET_HTTP_URL_H
#define TARNWAVE_HOST_NET_HTTP_URL_H

// URL checks of the HTTP client (host internal).

#include <string>
#include <string_view>

namespace boxhost::net {

// The URL with every byte that may not stand in a URL (blanks, control
// characters, bytes above 0x7F, and " < > \ ^ ` { | }) after the host part
// written as %XX. Existing %XX escapes are kept as they are.
std::string percentEncodeUnsafeBytes(std::string_view url);

// True for a well-formed absolute http or https URL with a host.
bool isFetchableUrl(const std::string &url);

// Sets libcurl up once per process; safe to call again.
void initCurlOnce();

} // namespace boxhost::net

#endif
