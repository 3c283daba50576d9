#include "base/whole_file.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace boxfile {

namespace {

// Closes the descriptor it holds when it goes out of scope.
class FileDescriptor
{
public:
    explicit FileDescriptor(int fd) : fd_(fd) { }
    ~FileDescriptor() { reset(); }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }

    // Closes now and reports close's own error (0 or an errno value).
    int close()
    {
        if (fd_ < 0)
            return 0;
        int result = ::close(fd_);
        fd_ = -1;
        return result == 0 ? 0 : errno;
    }

private:
    void reset()
    {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = -1;
    }

    int fd_;
};

// The file that a symbolic link at `path` points to, or `path` itself.
std::string resolvedTarget(const std::string &path)
{
    struct stat info = {};
    if (::lstat(path.c_str(), &info) != 0 || !S_ISLNK(info.st_mode))
        return path;
    std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr), &std::free);
    // A dangling link is simply replaced by the new file.
    return resolved ? std::string(resolved.get()) : path;
}

std::string directoryOf(const std::string &path)
{
    std::string::size_type slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    if (slash == 0)
        return "/";
    return path.substr(0, slash);
}

std::string fileNameOf(const std::string &path)
{
    std::string::size_type slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

int writeAll(int fd, std::string_view data)
{
    while (!data.empty()) {
        ssize_t written = ::write(fd, data.data(), data.size());
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        data.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

int fsyncRetrying(int fd)
{
    while (::fsync(fd) != 0) {
        if (errno != EINTR)
            return errno;
    }
    return 0;
}

// Creates a new, empty temporary file next to `target`; sets `name` to its path.
FileDescriptor createTemporary(const std::string &target, std::string &name)
{
    static std::atomic<unsigned> counter{0};
    const std::string stem =
        directoryOf(target) + "/." + fileNameOf(target) + ".tmp." + std::to_string(::getpid()) + ".";
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = stem + std::to_string(counter.fetch_add(1));
        int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST)
            return FileDescriptor(fd);
    }
    errno = EEXIST;
    return FileDescriptor(-1);
}

} // namespace

int openRegularFile(const std::string &path)
{
    // Opening a FIFO without O_NONBLOCK would wait for a writer.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return -1;
    struct stat status = {};
    int error = 0;
    if (::fstat(fd, &status) != 0)
        error = errno;
    else if (S_ISDIR(status.st_mode))
        error = EISDIR;
    else if (!S_ISREG(status.st_mode))
        error = EINVAL;
    // Reads of a regular file never wait anyway, and stdio expects blocking ones.
    else if (const int flags = ::fcntl(fd, F_GETFL); flags < 0 || ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0)
        error = errno;
    if (error == 0)
        return fd;
    ::close(fd);
    errno = error;
    return -1;
}

int readWholeFile(const std::string &path, std::string &contents)
{
    FileDescriptor file(openRegularFile(path));
    if (!file.valid())
        return errno;
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(file.get(), buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (got == 0)
            return 0;
        contents.append(buffer, static_cast<std::size_t>(got));
    }
}

int writeFileAtomically(const std::string &path, std::string_view contents, const AtomicWriteOptions &options)
{
    if (path.empty())
        return EINVAL;
    const std::string target = resolvedTarget(path);
    const std::string directory = directoryOf(target);

    if (options.createDirectories) {
        std::error_code error;
        std::filesystem::create_directories(directory, error);
        if (error)
            return error.value() != 0 ? error.value() : EIO;
    }

    std::optional<mode_t> mode = options.mode;
    if (!mode) {
        struct stat existing
        {
        };
        if (::stat(target.c_str(), &existing) == 0)
            mode = existing.st_mode & 07777;
    }

    std::string temporary;
    FileDescriptor file = createTemporary(target, temporary);
    if (!file.valid())
        return errno;

    int error = 0;
    if (mode && ::fchmod(file.get(), *mode) != 0)
        error = errno;
    if (error == 0)
        error = writeAll(file.get(), contents);
    if (error == 0)
        error = fsyncRetrying(file.get());
    int closeError = file.close();
    if (error == 0)
        error = closeError;
    if (error == 0 && ::rename(temporary.c_str(), target.c_str()) != 0)
        error = errno;
    if (error != 0) {
        ::unlink(temporary.c_str());
        return error;
    }

    // Make the rename itself durable. The new contents are in place already, so
    // a directory that cannot be synced (some file systems refuse) is no failure.
    FileDescriptor dir(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (dir.valid())
        fsyncRetrying(dir.get());
    return 0;
}

} // namespace boxfile
