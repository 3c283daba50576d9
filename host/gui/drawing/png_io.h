#ifndef TARNWAVE_HOST_GUI_PNG_IO_H
#define TARNWAVE_HOST_GUI_PNG_IO_H

// Reading and writing PNG images as gPixmaps: skin images, screenshots and the
// emulator's /api/screen.png. Free functions in the global namespace, as the
// rest of the toolkit names them. None of them throws or crashes on bad input.

#include "gui/gpixmap.h"

#include <memory>
#include <string>

// The image in the PNG file at `path`, converted to ARGB whatever its colour
// type (grey, palette, with or without alpha, 16 bits). Null on any failure
// (missing file, not a PNG, truncated or damaged data), with a readable reason
// in *error when `error` is given.
std::unique_ptr<gPixmap> loadPNG(const std::string &path, std::string *error = nullptr);

// The same from PNG bytes in memory.
std::unique_ptr<gPixmap> decodePNG(const std::string &bytes, std::string *error = nullptr);

// Writes `pixmap` as an 8-bit RGBA PNG (alpha kept). The file is replaced
// atomically. False with a reason in *error on failure.
bool savePNG(const gPixmap &pixmap, const std::string &path, std::string *error = nullptr);

// The PNG bytes of `pixmap` (8-bit RGBA); empty only when encoding failed
// (an empty pixmap, exhausted memory).
std::string encodePNG(const gPixmap &pixmap);

#endif
