#include "gui/drawing/png_io.h"

#include "base/whole_file.h"

#include <png.h>

#include <cstring>
#include <vector>

// libpng's simplified API keeps its setjmp/longjmp inside libpng and reports
// failure through return values and png_image::message, so no C++ object here
// is ever jumped over.

namespace {

// Larger images are refused rather than allocated (a damaged header can claim
// anything).
constexpr std::uint64_t maximumPixels = 4096u * 4096u;

void setError(std::string *error, const std::string &text)
{
    if (error)
        *error = text;
}

// Frees libpng's state for the image when it goes out of scope.
class ImageGuard
{
public:
    explicit ImageGuard(png_image &image) : m_image(image) { }
    ~ImageGuard() { png_image_free(&m_image); }
    ImageGuard(const ImageGuard &) = delete;
    ImageGuard &operator=(const ImageGuard &) = delete;

private:
    png_image &m_image;
};

std::uint32_t packArgb(const png_byte *rgba)
{
    return (std::uint32_t{rgba[3]} << 24) | (std::uint32_t{rgba[0]} << 16) | (std::uint32_t{rgba[1]} << 8)
           | std::uint32_t{rgba[2]};
}

} // namespace

std::unique_ptr<gPixmap> decodePNG(const std::string &bytes, std::string *error)
{
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    ImageGuard guard(image);

    if (bytes.size() < 8 || png_sig_cmp(reinterpret_cast<png_const_bytep>(bytes.data()), 0, 8) != 0) {
        setError(error, "not a PNG image");
        return nullptr;
    }
    if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) {
        setError(error, std::string("damaged PNG: ") + image.message);
        return nullptr;
    }
    if (image.width == 0 || image.height == 0
        || std::uint64_t{image.width} * std::uint64_t{image.height} > maximumPixels) {
        setError(error, "PNG image size out of range");
        return nullptr;
    }
    image.format = PNG_FORMAT_RGBA;
    std::vector<png_byte> buffer(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, buffer.data(), 0, nullptr)) {
        setError(error, std::string("damaged PNG: ") + image.message);
        return nullptr;
    }

    const int width = static_cast<int>(image.width);
    const int height = static_cast<int>(image.height);
    auto pixmap = std::make_unique<gPixmap>(eSize(width, height));
    const png_byte *source = buffer.data();
    for (int y = 0; y < height; ++y) {
        std::uint32_t *row = pixmap->line(y);
        for (int x = 0; x < width; ++x, source += 4)
            row[x] = packArgb(source);
    }
    return pixmap;
}

std::unique_ptr<gPixmap> loadPNG(const std::string &path, std::string *error)
{
    std::string bytes;
    if (const int failure = boxfile::readWholeFile(path, bytes); failure != 0) {
        setError(error, path + ": " + std::strerror(failure));
        return nullptr;
    }
    std::string reason;
    auto pixmap = decodePNG(bytes, &reason);
    if (!pixmap)
        setError(error, path + ": " + reason);
    return pixmap;
}

std::string encodePNG(const gPixmap &pixmap)
{
    if (pixmap.width() <= 0 || pixmap.height() <= 0)
        return {};

    std::vector<png_byte> rgba(static_cast<std::size_t>(pixmap.width()) * static_cast<std::size_t>(pixmap.height())
                               * 4);
    png_byte *target = rgba.data();
    for (int y = 0; y < pixmap.height(); ++y) {
        const std::uint32_t *row = pixmap.line(y);
        for (int x = 0; x < pixmap.width(); ++x, target += 4) {
            target[0] = static_cast<png_byte>(row[x] >> 16);
            target[1] = static_cast<png_byte>(row[x] >> 8);
            target[2] = static_cast<png_byte>(row[x]);
            target[3] = static_cast<png_byte>(row[x] >> 24);
        }
    }

    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(pixmap.width());
    image.height = static_cast<png_uint_32>(pixmap.height());
    image.format = PNG_FORMAT_RGBA;
    ImageGuard guard(image);

    png_alloc_size_t size = 0;
    if (!png_image_write_to_memory(&image, nullptr, &size, 0, rgba.data(), 0, nullptr) || size == 0)
        return {};
    std::string bytes(size, '\0');
    if (!png_image_write_to_memory(&image, bytes.data(), &size, 0, rgba.data(), 0, nullptr))
        return {};
    bytes.resize(size);
    return bytes;
}

bool savePNG(const gPixmap &pixmap, const std::string &path, std::string *error)
{
    const std::string bytes = encodePNG(pixmap);
    if (bytes.empty()) {
        setError(error, "cannot encode an empty image");
        return false;
    }
    if (const int failure = boxfile::writeFileAtomically(path, bytes); failure != 0) {
        setError(error, path + ": " + std::strerror(failure));
        return false;
    }
    return true;
}
