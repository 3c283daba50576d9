// PNG reading and writing: round trips, every colour type, and damaged files.

#include "gui/drawing/png_io.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <cstdint>
#include <string>
#include <vector>

namespace {

// A minimal PNG writer for the colour types encodePNG never writes: chunks
// with their CRC, image data in one stored (uncompressed) deflate block.
class HandMadePng
{
public:
    HandMadePng(int width, int height, int bitDepth, int colourType)
    {
        bytes_ = std::string("\x89PNG\r\n\x1a\n", 8);
        std::string header;
        put32(header, static_cast<std::uint32_t>(width));
        put32(header, static_cast<std::uint32_t>(height));
        header += static_cast<char>(bitDepth);
        header += static_cast<char>(colourType);
        header += std::string(3, '\0'); // deflate, adaptive filtering, not interlaced
        chunk("IHDR", header);
    }

    void chunk(const char *type, const std::string &data)
    {
        put32(bytes_, static_cast<std::uint32_t>(data.size()));
        const std::string typed = std::string(type, 4) + data;
        bytes_ += typed;
        put32(bytes_, crc32(typed));
    }

    // `rows` each start with their filter byte (0 = none).
    std::string finish(const std::string &rows)
    {
        std::string zlib("\x78\x01", 2);
        zlib += '\x01'; // the final block, stored
        const auto length = static_cast<std::uint16_t>(rows.size());
        zlib += static_cast<char>(length & 0xff);
        zlib += static_cast<char>(length >> 8);
        zlib += static_cast<char>(~length & 0xff);
        zlib += static_cast<char>((~length >> 8) & 0xff);
        zlib += rows;
        put32(zlib, adler32(rows));
        chunk("IDAT", zlib);
        chunk("IEND", "");
        return bytes_;
    }

private:
    static void put32(std::string &out, std::uint32_t value)
    {
        for (int shift = 24; shift >= 0; shift -= 8)
            out += static_cast<char>((value >> shift) & 0xff);
    }
    static std::uint32_t crc32(const std::string &data)
    {
        std::uint32_t crc = 0xffffffffu;
        for (const char raw : data) {
            const auto byte = static_cast<unsigned char>(raw);
            crc ^= byte;
            for (int bit = 0; bit < 8; ++bit)
                crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
        }
        return ~crc;
    }
    static std::uint32_t adler32(const std::string &data)
    {
        std::uint32_t a = 1, b = 0;
        for (const char raw : data) {
            const auto byte = static_cast<unsigned char>(raw);
            a = (a + byte) % 65521;
            b = (b + a) % 65521;
        }
        return (b << 16) | a;
    }

    std::string bytes_;
};

std::string bytesOf(std::initializer_list<int> values)
{
    std::string out;
    for (int value : values)
        out += static_cast<char>(value);
    return out;
}

std::unique_ptr<gPixmap> pattern(int width, int height)
{
    auto pixmap = std::make_unique<gPixmap>(eSize(width, height));
    std::uint32_t state = 12345;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            state = state * 1103515245u + 12345u;
            pixmap->setPixel(x, y, state);
        }
    return pixmap;
}

TEST(Png, SaveAndLoadKeepsEveryPixelAndItsAlpha)
{
    TempDir dir;
    auto source = pattern(37, 21);
    gPixmap &pixmap = *source;
    pixmap.setPixel(0, 0, 0x00000000u);
    pixmap.setPixel(1, 0, 0xffffffffu);
    pixmap.setPixel(2, 0, 0x7f102030u);
    pixmap.setPixel(3, 0, 0x01ff00ffu);
    const std::string path = (dir.path() / "image.png").string();

    std::string error;
    ASSERT_TRUE(savePNG(pixmap, path, &error)) << error;
    auto loaded = loadPNG(path, &error);
    ASSERT_TRUE(loaded) << error;
    ASSERT_EQ(loaded->size(), pixmap.size());
    for (int y = 0; y < pixmap.height(); ++y)
        for (int x = 0; x < pixmap.width(); ++x)
            ASSERT_EQ(loaded->pixel(x, y), pixmap.pixel(x, y)) << "at " << x << "," << y;
}

TEST(Png, EncodeGivesPngBytesThatDecodeToTheSameImage)
{
    const auto source = pattern(8, 8);
    const gPixmap &pixmap = *source;
    const std::string bytes = encodePNG(pixmap);
    ASSERT_GE(bytes.size(), 8u);
    EXPECT_EQ(bytes.substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
    EXPECT_EQ(bytes.substr(12, 4), "IHDR");
    auto decoded = decodePNG(bytes);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->pixel(7, 7), pixmap.pixel(7, 7));
    EXPECT_TRUE(encodePNG(gPixmap(eSize(0, 0))).empty());
}

TEST(Png, GreyImagesBecomeOpaqueArgb)
{
    HandMadePng png(3, 1, 8, 0);
    auto pixmap = decodePNG(png.finish(bytesOf({0, 0x00, 0x80, 0xff})));
    ASSERT_TRUE(pixmap);
    EXPECT_EQ(pixmap->pixel(0, 0), 0xff000000u);
    EXPECT_EQ(pixmap->pixel(1, 0), 0xff808080u);
    EXPECT_EQ(pixmap->pixel(2, 0), 0xffffffffu);
}

TEST(Png, GreyWithAlphaKeepsTheAlpha)
{
    HandMadePng png(2, 1, 8, 4);
    auto pixmap = decodePNG(png.finish(bytesOf({0, 0x80, 0x40, 0xff, 0x00})));
    ASSERT_TRUE(pixmap);
    EXPECT_EQ(pixmap->pixel(0, 0) >> 24, 0x40u);
    EXPECT_EQ(pixmap->pixel(1, 0) >> 24, 0x00u);
    EXPECT_EQ(pixmap->pixel(0, 0) & 0xffffffu, 0x808080u);
}

TEST(Png, PaletteImagesUseTheirColoursAndTransparency)
{
    HandMadePng png(3, 1, 8, 3);
    png.chunk("PLTE", bytesOf({0xff, 0, 0, 0, 0xff, 0, 0, 0, 0xff}));
    png.chunk("tRNS", bytesOf({0xff, 0x20}));
    auto pixmap = decodePNG(png.finish(bytesOf({0, 0, 1, 2})));
    ASSERT_TRUE(pixmap);
    EXPECT_EQ(pixmap->pixel(0, 0), 0xffff0000u);
    EXPECT_EQ(pixmap->pixel(1, 0) >> 24, 0x20u);
    EXPECT_EQ(pixmap->pixel(2, 0), 0xff0000ffu) << "entries after the tRNS list are opaque";
}

TEST(Png, SixteenBitImagesAreReducedToEightBits)
{
    HandMadePng png(1, 1, 16, 2);
    auto pixmap = decodePNG(png.finish(bytesOf({0, 0xff, 0xff, 0x00, 0x00, 0xff, 0xff})));
    ASSERT_TRUE(pixmap);
    EXPECT_EQ(pixmap->pixel(0, 0), 0xffff00ffu);
}

TEST(Png, MissingFileGivesNullAndAReason)
{
    TempDir dir;
    std::string error;
    EXPECT_FALSE(loadPNG((dir.path() / "nothing.png").string(), &error));
    EXPECT_NE(error.find("nothing.png"), std::string::npos) << error;
    EXPECT_FALSE(loadPNG((dir.path() / "nothing.png").string())) << "no error text wanted";
}

TEST(Png, FileThatIsNotAPngGivesNullAndAReason)
{
    TempDir dir;
    writeFile(dir.path() / "text.png", "this is a text file, not an image\n");
    std::string error;
    EXPECT_FALSE(loadPNG((dir.path() / "text.png").string(), &error));
    EXPECT_FALSE(error.empty());
    writeFile(dir.path() / "empty.png", "");
    error.clear();
    EXPECT_FALSE(loadPNG((dir.path() / "empty.png").string(), &error));
    EXPECT_FALSE(error.empty());
    error.clear();
    EXPECT_FALSE(loadPNG(dir.str(), &error)) << "a directory";
    EXPECT_FALSE(error.empty());
}

TEST(Png, TruncatedOrDamagedPngGivesNullAndAReason)
{
    TempDir dir;
    const std::string bytes = encodePNG(*pattern(64, 64));
    ASSERT_GT(bytes.size(), 100u);
    for (std::size_t length : {std::size_t{8}, std::size_t{20}, std::size_t{40}, bytes.size() / 2, bytes.size() - 13}) {
        writeFile(dir.path() / "cut.png", bytes.substr(0, length));
        std::string error;
        EXPECT_FALSE(loadPNG((dir.path() / "cut.png").string(), &error)) << "cut at " << length;
        EXPECT_FALSE(error.empty()) << "cut at " << length;
    }
    std::string damaged = bytes;
    damaged[40] = static_cast<char>(damaged[40] ^ 0x55);
    std::string error;
    EXPECT_FALSE(decodePNG(damaged, &error)) << "a changed byte fails its checksum";
    EXPECT_FALSE(error.empty());
}

TEST(Png, SavingIntoAMissingDirectoryFails)
{
    TempDir dir;
    std::string error;
    EXPECT_FALSE(savePNG(*pattern(2, 2), (dir.path() / "no" / "such" / "dir.png").string(), &error));
    EXPECT_FALSE(error.empty());
}

} // namespace
