#include "mp3_stream.h"

#include <algorithm>
#include <array>
#include <optional>

namespace {

struct FrameHeader
{
    std::size_t length = 0;
    int kilobitsPerSecond = 0;
    int sampleRate = 0;
};

std::optional<FrameHeader> frameHeaderAt(std::string_view bytes, std::size_t at)
{
    if (at + 4 > bytes.size())
        return std::nullopt;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[at + i]); };
    if (byte(0) != 0xFF || (byte(1) & 0xE0) != 0xE0)
        return std::nullopt;
    const int version = (byte(1) >> 3) & 3; // 3 MPEG-1, 2 MPEG-2, 0 MPEG-2.5
    const int layer = (byte(1) >> 1) & 3; // 1 layer III
    const int bitrateIndex = byte(2) >> 4;
    const int rateIndex = (byte(2) >> 2) & 3;
    if (version == 1 || layer != 1 || bitrateIndex == 0 || bitrateIndex == 15 || rateIndex == 3)
        return std::nullopt;
    static constexpr std::array<int, 15> mpeg1 = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
    static constexpr std::array<int, 15> mpeg2 = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
    static constexpr std::array<int, 3> rates = {44100, 48000, 32000};
    FrameHeader header;
    const auto index = static_cast<std::size_t>(bitrateIndex);
    header.kilobitsPerSecond = version == 3 ? mpeg1[index] : mpeg2[index];
    header.sampleRate = rates[static_cast<std::size_t>(rateIndex)] / (version == 3 ? 1 : version == 2 ? 2 : 4);
    const int perFrame = version == 3 ? 144 : 72;
    header.length =
        static_cast<std::size_t>(perFrame * header.kilobitsPerSecond * 1000 / header.sampleRate + ((byte(2) >> 1) & 1));
    return header;
}

std::size_t id3v2Length(std::string_view bytes)
{
    if (bytes.size() < 10 || bytes.substr(0, 3) != "ID3")
        return 0;
    std::size_t size = 0;
    for (std::size_t i = 6; i < 10; ++i)
        size = (size << 7) | (static_cast<unsigned char>(bytes[i]) & 0x7F);
    return 10 + size;
}

} // namespace

IcyStream splitIcyStream(std::string_view body, std::size_t metadataInterval)
{
    IcyStream stream;
    std::size_t at = 0;
    while (at < body.size()) {
        const std::size_t audio = std::min(metadataInterval, body.size() - at);
        stream.audio.append(body.substr(at, audio));
        at += audio;
        if (at >= body.size())
            break;
        const std::size_t length = static_cast<unsigned char>(body[at]) * std::size_t{16};
        ++at;
        ++stream.blocks;
        if (length == 0)
            continue;
        if (at + length > body.size())
            break;
        std::string_view block = body.substr(at, length);
        at += length;
        const std::size_t used = block.find('\0');
        const std::string_view text = block.substr(0, used);
        if (used != std::string_view::npos && block.substr(used).find_first_not_of('\0') != std::string_view::npos)
            stream.consistent = false;
        constexpr std::string_view prefix = "StreamTitle='";
        const std::size_t end = text.find("';");
        if (!text.starts_with(prefix) || end == std::string_view::npos) {
            stream.consistent = false;
            continue;
        }
        stream.titles.emplace_back(text.substr(prefix.size(), end - prefix.size()));
    }
    return stream;
}

Mp3Scan scanMp3(std::string_view bytes)
{
    Mp3Scan scan;
    std::size_t at = id3v2Length(bytes);
    // Sync: a valid header whose frame is followed by another valid header.
    for (; at + 4 <= bytes.size(); ++at) {
        const auto header = frameHeaderAt(bytes, at);
        if (header && frameHeaderAt(bytes, at + header->length))
            break;
    }
    if (at + 4 > bytes.size())
        return scan;
    scan.firstFrameAt = at;
    while (at < bytes.size()) {
        const auto header = frameHeaderAt(bytes, at);
        if (!header) {
            const std::string_view rest = bytes.substr(at);
            const bool id3v1AtEnd = rest.size() == 128 && rest.starts_with("TAG");
            if (rest.size() >= 4 && !id3v1AtEnd)
                scan.brokenAt = at;
            break;
        }
        if (at + header->length > bytes.size())
            break; // cut short by the end of the bytes
        ++scan.frames;
        scan.bytesInFrames += header->length;
        scan.bitrates.insert(header->kilobitsPerSecond);
        scan.sampleRates.insert(header->sampleRate);
        at += header->length;
    }
    return scan;
}
