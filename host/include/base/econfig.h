#ifndef TARNWAVE_HOST_BASE_ECONFIG_H
#define TARNWAVE_HOST_BASE_ECONFIG_H

#include "base/estring.h"

#include <map>
#include <memory>
#include <string>
#include <variant>

// The box's configuration store: typed keys (an int or a string each) that
// plug-ins and the host keep across restarts, in the file
// boxPath("/var/tuxbox/config/boxhost.conf").
//
// Every change writes the whole file at once and atomically (temporary file,
// fsync, rename). A store that is missing, unreadable or damaged starts empty
// and says so with one warning in the log; a damaged file is renamed aside to
// "<file>.corrupt" (or "<file>.corrupt.N" when that name is taken) so that
// nothing is lost. Nothing here crashes or throws on bad input.
//
// File format, version 1 (lines end with '\n'):
//
//     # boxhost configuration 1
//     i:/tarnwave/autohide=60
//     s:/tarnwave/lastsearch=disco
//     # end of boxhost configuration
//
// - The first line names the format and its version, exactly as above.
// - One line per key, sorted by key (byte order): "i:" for an int written in
//   decimal, "s:" for a string, then the key, '=', and the value.
// - Keys and string values are escaped: "\\" for a backslash, "\n", "\r", "\t",
//   and "\xHH" (two hex digits) for any other byte below 0x20 and for 0x7f; in
//   keys also '=' as "\x3d". Other bytes, UTF-8 included, stand as they are, so
//   every byte string without NUL round-trips.
// - The last line is the end marker above; a file without it was cut off.
// - Empty lines and other lines starting with '#' are ignored when read.
// A file is damaged when the header is wrong, a line is malformed, an escape is
// unknown or gives NUL, a number is not an int, a key appears twice, the end
// marker is missing or followed by more lines, or the file holds a NUL byte.
//
// Thread-safety: the store belongs to the GUI thread; call it from there only.
class eConfig
{
public:
    // The process-wide store, loaded from the box root on first use.
    static eConfig *getInstance();
    // Forgets the store (pointers from getInstance() become invalid); the next
    // getInstance() loads the file again, from the box root in force then.
    // For the emulator and tests.
    static void reload();

    ~eConfig();
    eConfig(const eConfig &) = delete;
    eConfig &operator=(const eConfig &) = delete;

    // 0 with `value` set when `key` holds a value of that type; otherwise -1
    // and `value` is left as it was.
    int getKey(const char *key, int &value) const;
    // Hands back a copy made with malloc; the caller releases it with free().
    int getKey(const char *key, char *&value) const;
    int getKey(const char *key, eString &value) const;

    // Stores the value (replacing a value of the other type) and writes the
    // file. 0 on success; -1 for a null or empty key, a null value or a value
    // holding NUL, and when the file cannot be written: then one warning names
    // the file and the reason, and the value is kept in memory all the same.
    // Storing the value a key already has does not write the file again (unless
    // an earlier write failed).
    int setKey(const char *key, int value);
    int setKey(const char *key, const char *value);
    int setKey(const char *key, const std::string &value);

    // Removes the key and writes the file; -1 when it was absent or the write
    // failed (with one warning, as for setKey).
    int delKey(const char *key);

    // The file this store reads and writes.
    const std::string &path() const { return path_; }

private:
    using Value = std::variant<int, std::string>;

    explicit eConfig(std::string path);
    void load();
    int store(const char *key, Value value);
    int save();

    std::string path_;
    std::map<std::string, Value> values_;
    bool unsaved_ = false; // the last write failed: the file is behind the memory
};

#endif
