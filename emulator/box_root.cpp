#include "box_root.h"

#include "recorder_script.h"

#include "base/boxpath.h"
#include "base/elog.h"
#include "base/whole_file.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace emulator {
namespace {

// The directories every box has, as box paths.
constexpr const char *boxDirectories[] = {"/var/tuxbox/config", "/var/script", "/tmp", "/usr/bin"};

// Proves that files can be made in `dir` (permissions alone do not tell: root
// may write anywhere but in read-only file systems).
bool canWriteIn(const fs::path &dir, std::string &reason)
{
    const fs::path probe = dir / ".box-emulator-probe";
    const int fd = ::open(probe.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        reason = std::strerror(errno);
        return false;
    }
    ::close(fd);
    ::unlink(probe.c_str());
    return true;
}

// The streamripper of the PC, found on the PATH; empty when there is none.
fs::path hostRecorder()
{
    const char *path = std::getenv("PATH");
    std::string dirs = path != nullptr ? path : "/usr/bin:/bin";
    std::size_t start = 0;
    while (start <= dirs.size()) {
        const std::size_t end = std::min(dirs.find(':', start), dirs.size());
        const fs::path candidate = fs::path(dirs.substr(start, end - start)) / "streamripper";
        if (end > start && ::access(candidate.c_str(), X_OK) == 0)
            return candidate;
        start = end + 1;
    }
    return {};
}

} // namespace

bool prepareBoxRoot(const std::string &root, std::string &error)
{
    const auto fail = [&](const std::string &reason) {
        error = "cannot use " + root + " as the box root: " + reason;
        return false;
    };

    std::error_code code;
    fs::create_directories(root, code);
    if (code)
        return fail(code.message());
    if (!fs::is_directory(root, code))
        return fail("not a directory");
    std::string reason;
    if (!canWriteIn(root, reason))
        return fail(reason);

    setBoxRoot(root);
    for (const char *dir : boxDirectories) {
        fs::create_directories(boxPath(dir), code);
        if (code)
            return fail(std::string(dir) + ": " + code.message());
    }

    // A new root gets the recorder script and its recordings directory; an
    // existing script (perhaps with another STREAMDIR) is left as it is.
    const std::string script = boxPath(recorderScriptPath);
    if (!fs::exists(script, code)) {
        boxfile::AtomicWriteOptions options;
        options.mode = 0755;
        if (const int failure = boxfile::writeFileAtomically(script, recorderScriptText(), options); failure != 0)
            return fail(std::string(recorderScriptPath) + ": " + std::strerror(failure));
        fs::create_directories(boxPath(recordingsDir), code);
        if (code)
            return fail(std::string(recordingsDir) + ": " + code.message());
    }

    // The script's DAEMON is a box path; it leads to the PC's streamripper.
    const fs::path recorderLink = boxPath(recorderProgram);
    if (!fs::exists(fs::symlink_status(recorderLink, code))) {
        const fs::path recorder = hostRecorder();
        if (recorder.empty())
            eWarning("box-emulator: no streamripper on the PATH: recording is not offered");
        else
            fs::create_symlink(recorder, recorderLink, code);
    }
    return true;
}

} // namespace emulator
