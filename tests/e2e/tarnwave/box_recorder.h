#ifndef TARNWAVE_TESTS_E2E_TARNWAVE_BOX_RECORDER_H
#define TARNWAVE_TESTS_E2E_TARNWAVE_BOX_RECORDER_H

// What the recorder does on the PC while Tarnwave records in the emulator:
// the processes the image daemon started for one box root (the recorder
// script's shells, streamripper), stopping them when a test ends, the files
// under the box root, and whether a recording is an MP3 file frame by frame.

#include "tarnwave_screen.h"

#include "support/temp_dir.h"
#include "support/wait_for.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace tarnwave_e2e {

inline std::string procFile(pid_t pid, const char *name)
{
    return readFile(std::filesystem::path("/proc") / std::to_string(pid) / name);
}

// The processes started for the box at `boxRoot`: the daemon gives each the
// box root in BOX_ROOT, and everything they start inherits it. Zombies have
// no environment left and are not counted.
inline std::vector<pid_t> boxProcesses(const std::string &boxRoot)
{
    const std::string wanted = "BOX_ROOT=" + boxRoot;
    std::vector<pid_t> found;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator("/proc", error)) {
        const std::string name = entry.path().filename().string();
        if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos)
            continue;
        const pid_t pid = std::stoi(name);
        const std::string environment = procFile(pid, "environ");
        for (std::size_t at = 0; at < environment.size();) {
            const std::size_t end = std::min(environment.find('\0', at), environment.size());
            if (std::string_view(environment).substr(at, end - at) == wanted) {
                found.push_back(pid);
                break;
            }
            at = end + 1;
        }
    }
    return found;
}

// The program name the kernel keeps for a process ("streamripper", "sh").
inline std::string processName(pid_t pid)
{
    std::string name = procFile(pid, "comm");
    if (!name.empty() && name.back() == '\n')
        name.pop_back();
    return name;
}

// A process's command line, one string an argument.
inline std::vector<std::string> processArguments(pid_t pid)
{
    std::vector<std::string> arguments;
    const std::string line = procFile(pid, "cmdline");
    for (std::size_t at = 0; at < line.size();) {
        const std::size_t end = std::min(line.find('\0', at), line.size());
        arguments.push_back(line.substr(at, end - at));
        at = end + 1;
    }
    return arguments;
}

// The streamripper processes of the box.
inline std::vector<pid_t> recorderProcesses(const std::string &boxRoot)
{
    std::vector<pid_t> recorders;
    for (const pid_t pid : boxProcesses(boxRoot)) {
        if (processName(pid) == "streamripper")
            recorders.push_back(pid);
    }
    return recorders;
}

// Waits until the box has no streamripper left; false after `limit`.
inline bool waitForNoRecorder(const std::string &boxRoot, std::chrono::milliseconds limit = std::chrono::seconds(10))
{
    return within(limit, [&] { return recorderProcesses(boxRoot).empty(); });
}

// Ends, when it goes out of scope, every process the daemon started for the
// box (a recording a test left running included): SIGTERM, then SIGKILL for
// any still there after a few seconds. Declare it after the emulator, so that
// it runs before the box root is removed.
class BoxProcessesStopper
{
public:
    explicit BoxProcessesStopper(const EmulatorProcess &emulator) : m_boxRoot(emulator.boxFile("")) { }
    ~BoxProcessesStopper()
    {
        const auto start = std::chrono::steady_clock::now();
        for (std::vector<pid_t> left = boxProcesses(m_boxRoot); !left.empty(); left = boxProcesses(m_boxRoot)) {
            const bool late = std::chrono::steady_clock::now() - start > std::chrono::seconds(3);
            for (const pid_t pid : left)
                ::kill(pid, late ? SIGKILL : SIGTERM);
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    BoxProcessesStopper(const BoxProcessesStopper &) = delete;
    BoxProcessesStopper &operator=(const BoxProcessesStopper &) = delete;

private:
    std::string m_boxRoot;
};

// Every file and directory under `root`, as paths relative to it.
inline std::set<std::string> filesUnder(const std::filesystem::path &root)
{
    std::set<std::string> files;
    std::error_code error;
    for (auto it = std::filesystem::recursive_directory_iterator(root, error);
         !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error))
        files.insert(it->path().lexically_relative(root).string());
    return files;
}

// The MP3 files under `directory` (any depth), largest first.
inline std::vector<std::filesystem::path> mp3FilesUnder(const std::filesystem::path &directory)
{
    std::vector<std::filesystem::path> files;
    for (const std::string &relative : filesUnder(directory)) {
        const std::filesystem::path path = directory / relative;
        if (path.extension() == ".mp3" && std::filesystem::is_regular_file(path))
            files.push_back(path);
    }
    std::error_code error;
    std::sort(files.begin(), files.end(), [&](const auto &a, const auto &b) {
        return std::filesystem::file_size(a, error) > std::filesystem::file_size(b, error);
    });
    return files;
}

// MPEG audio layer III frames walked through a file: after an optional
// ID3v2 tag, the first place where two frame headers follow each other, then
// one frame after the other, each starting with its sync bits and a valid
// header. `brokenAt` is where a frame should have started but did not (a
// last frame cut short by the end of the file and an ID3v1 tag at the end do
// not count).
struct Mp3Frames
{
    static constexpr std::size_t none = static_cast<std::size_t>(-1);
    std::size_t count = 0;
    std::size_t firstAt = none;
    std::size_t brokenAt = none;
};

// The length of the layer III frame whose header starts at `at`; 0 when no
// valid header is there.
inline std::size_t mp3FrameLength(std::string_view bytes, std::size_t at)
{
    if (at + 4 > bytes.size())
        return 0;
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[at + i]); };
    const int version = (byte(1) >> 3) & 3; // 3: MPEG-1, 2: MPEG-2, 0: MPEG-2.5
    const int bitrateIndex = byte(2) >> 4;
    const int rateIndex = (byte(2) >> 2) & 3;
    if (byte(0) != 0xFF || (byte(1) & 0xE0) != 0xE0 || version == 1 || ((byte(1) >> 1) & 3) != 1 || bitrateIndex == 0
        || bitrateIndex == 15 || rateIndex == 3)
        return 0;
    static constexpr int mpeg1Rates[] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
    static constexpr int mpeg2Rates[] = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
    static constexpr int sampleRates[] = {44100, 48000, 32000};
    const int divisor = version == 3 ? 1 : version == 2 ? 2 : 4;
    const int kbits = version == 3 ? mpeg1Rates[bitrateIndex] : mpeg2Rates[bitrateIndex];
    const int samplesPerSecond = sampleRates[rateIndex] / divisor;
    const int perFrame = version == 3 ? 144000 : 72000;
    return static_cast<std::size_t>(perFrame * kbits / samplesPerSecond + ((byte(2) >> 1) & 1));
}

inline Mp3Frames walkMp3Frames(std::string_view bytes)
{
    Mp3Frames frames;
    std::size_t at = 0;
    if (bytes.size() >= 10 && bytes.substr(0, 3) == "ID3") {
        const auto size = [&](std::size_t i) { return static_cast<std::size_t>(bytes[6 + i] & 0x7F); };
        at = 10 + (size(0) << 21 | size(1) << 14 | size(2) << 7 | size(3));
    }
    for (; at + 4 <= bytes.size(); ++at) {
        const std::size_t length = mp3FrameLength(bytes, at);
        if (length != 0 && mp3FrameLength(bytes, at + length) != 0)
            break;
    }
    if (at + 4 > bytes.size())
        return frames;
    frames.firstAt = at;
    while (at + 4 <= bytes.size()) {
        const std::size_t length = mp3FrameLength(bytes, at);
        if (length == 0) {
            if (!(bytes.size() - at == 128 && bytes.substr(at, 3) == "TAG"))
                frames.brokenAt = at;
            break;
        }
        if (at + length > bytes.size())
            break;
        ++frames.count;
        at += length;
    }
    return frames;
}

} // namespace tarnwave_e2e

#endif
