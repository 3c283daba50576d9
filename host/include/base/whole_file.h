#ifndef TARNWAVE_HOST_BASE_WHOLE_FILE_H
#define TARNWAVE_HOST_BASE_WHOLE_FILE_H

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

// Whole-file reading, and whole-file replacement that never leaves a
// half-written file behind: the configuration store and the recorder script
// are written this way, so that a crash or a power cut leaves either the old
// or the new contents.

namespace boxfile {

// Opens the file at `path` for reading without ever waiting: anything but a
// regular file (a FIFO, a device, a socket) is refused with EINVAL, a
// directory with EISDIR. Returns the descriptor (close-on-exec, for the caller
// to close, fdopen for stdio) or -1 with the reason in errno.
int openRegularFile(const std::string &path);

// Reads the whole file at `path` into `contents` (appending). Returns 0 on
// success, otherwise an errno value: EISDIR for a directory, EINVAL for
// anything else that is not a regular file (a FIFO, a device, a socket),
// which is never waited for.
int readWholeFile(const std::string &path, std::string &contents);

struct AtomicWriteOptions
{
    // Permission bits of the written file. When unset, those of the file being
    // replaced are kept; a new file gets 0666 less the process umask.
    std::optional<mode_t> mode;
    // Create missing parent directories first.
    bool createDirectories = false;
};

// Replaces the file at `path` with `contents`: writes a temporary file in the
// same directory, fsyncs it, renames it over `path` and fsyncs the directory.
// A symbolic link at `path` is followed, so its target is replaced and the link
// stays. Returns 0 on success, otherwise an errno value; on failure the
// temporary file is removed and `path` is left as it was.
// Safe to call from any thread.
int writeFileAtomically(const std::string &path, std::string_view contents, const AtomicWriteOptions &options = {});

} // namespace boxfile

#endif
