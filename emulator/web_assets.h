#ifndef TARNWAVE_EMULATOR_WEB_ASSETS_H
#define TARNWAVE_EMULATOR_WEB_ASSETS_H

// The browser page's files (emulator/web/), built into the emulator so that
// it serves them wherever it runs.

#include <cstddef>
#include <string_view>

namespace emulator {

struct WebAsset
{
    const char *path; // "/index.html"
    const char *contentType;
    const unsigned char *data;
    std::size_t size;
};

// The asset for a request path ("/" is "/index.html"); null when there is none.
const WebAsset *findWebAsset(std::string_view path);

} // namespace emulator

#endif
