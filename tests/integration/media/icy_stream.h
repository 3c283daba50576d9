#ifndef TARNWAVE_TESTS_INTEGRATION_MEDIA_ICY_STREAM_H
#define TARNWAVE_TESTS_INTEGRATION_MEDIA_ICY_STREAM_H

// What the media tests' servers send to one listener of an endless station:
// a looping MP3 tone with, when the listener asked for them, ICY metadata
// blocks after every metaInterval audio bytes, which announce the title again
// whenever it changed.

#include <algorithm>
#include <chrono>
#include <string>

class IcyStream
{
public:
    static constexpr std::size_t metaInterval = 4096;

    // `tone` must outlive the stream.
    IcyStream(const std::string &tone, bool withMetadata) : m_tone(tone), m_withMetadata(withMetadata) { }

    // About `audioBytes` more of the stream; a metadata block that falls due
    // announces `title` when it differs from what the last one announced.
    std::string next(std::size_t audioBytes, const std::string &title)
    {
        std::string piece;
        while (audioBytes > 0) {
            std::size_t take = std::min(audioBytes, m_tone.size() - m_tonePosition);
            if (m_withMetadata)
                take = std::min(take, m_untilMetadata);
            piece.append(m_tone, m_tonePosition, take);
            audioBytes -= take;
            m_audioSent += take;
            m_tonePosition = (m_tonePosition + take) % m_tone.size();
            if (m_withMetadata && (m_untilMetadata -= take) == 0) {
                piece += metadataBlock(title == m_titleSent ? std::string() : "StreamTitle='" + title + "';");
                m_titleSent = title;
                m_untilMetadata = metaInterval;
            }
        }
        m_bytesSent += piece.size();
        return piece;
    }

    std::size_t audioSent() const { return m_audioSent; }
    std::size_t bytesSent() const { return m_bytesSent; }

    // Whether a listener `elapsed` after it connected has been sent all it may
    // have by now: a burst of one second of the 64 kbit/s tone (8000 bytes),
    // then a quarter more than that rate, so that little is buffered ahead and
    // a new title is heard soon.
    bool aheadOfPace(std::chrono::steady_clock::duration elapsed) const
    {
        const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
        return m_bytesSent >= 8000 + 10 * static_cast<std::size_t>(milliseconds);
    }

private:
    // A length byte (in units of 16) and the text padded with NULs; an empty
    // text is the one zero byte that says "no change".
    static std::string metadataBlock(const std::string &text)
    {
        const std::size_t units = (text.size() + 15) / 16;
        std::string block(1, static_cast<char>(units));
        block += text;
        block.resize(1 + units * 16, '\0');
        return block;
    }

    const std::string &m_tone;
    const bool m_withMetadata;
    std::size_t m_tonePosition = 0;
    std::size_t m_untilMetadata = metaInterval;
    std::size_t m_audioSent = 0;
    std::size_t m_bytesSent = 0;
    std::string m_titleSent;
};

#endif
