# Writes OUTPUT: a C++ source that holds every file of the page as bytes.
# Run with -DOUTPUT=file.cpp -DINPUTS="a|b|c" (absolute paths).
string(REPLACE "|" ";" INPUTS "${INPUTS}")
set(arrays "")
set(entries "")
set(index 0)
foreach(input IN LISTS INPUTS)
    get_filename_component(name "${input}" NAME)
    get_filename_component(extension "${input}" LAST_EXT)
    if(extension STREQUAL ".html")
        set(type "text/html; charset=utf-8")
    elseif(extension STREQUAL ".js" OR extension STREQUAL ".mjs")
        set(type "text/javascript; charset=utf-8")
    elseif(extension STREQUAL ".css")
        set(type "text/css; charset=utf-8")
    elseif(extension STREQUAL ".svg")
        set(type "image/svg+xml")
    elseif(extension STREQUAL ".png")
        set(type "image/png")
    else()
        set(type "application/octet-stream")
    endif()
    file(READ "${input}" hex HEX)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
    string(APPEND arrays "const unsigned char asset${index}[] = {${bytes}};\n")
    string(APPEND entries "    {\"/${name}\", \"${type}\", asset${index}, sizeof asset${index}},\n")
    math(EXPR index "${index} + 1")
endforeach()
file(WRITE "${OUTPUT}.new" "// Generated from emulator/web/ by embed_web_assets.cmake; do not edit.
#include \"web_assets.h\"

#include <string_view>

namespace emulator {
namespace {
${arrays}
const WebAsset assets[] = {
${entries}};
} // namespace

const WebAsset *findWebAsset(std::string_view path)
{
    if (path == \"/\")
        path = \"/index.html\";
    for (const WebAsset &asset : assets)
        if (path == asset.path)
            return &asset;
    return nullptr;
}

} // namespace emulator
")
file(COPY_FILE "${OUTPUT}.new" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.new")
