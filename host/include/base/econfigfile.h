#ifndef TARNWAVE_HOST_BASE_ECONFIGFILE_H
#define TARNWAVE_HOST_BASE_ECONFIGFILE_H

#include "base/estring.h"

#include <cstddef>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

// A file of shell variable assignments, such as the recorder script with its
// STREAMDIR=... and DAEMON=... lines: read its keys, change them, and save the
// file back with everything else in it untouched.
//
// What counts as an assignment: one line of
//     [blanks][export blanks]KEY=VALUE[rest]
// where KEY is [A-Za-z_][A-Za-z0-9_]* and VALUE is one of
//     - a plain word: bytes up to a blank, a tab or one of ; & | < > ( ) " ' \ `
//       (possibly empty), taken as it stands: "$HOME" is not expanded;
//     - 'single quoted': everything up to the next ' literally;
//     - "double quoted": up to the next unescaped ", with \" \\ \$ \` giving the
//       escaped character; other backslashes stay as they are.
// and rest is empty, or ';' and anything, or blanks followed by nothing, by a
// '#' comment or by ';' and anything. Every other line is kept but holds no
// key: comments, blank lines and shell code (if, case, commands), a line
// without '=', "LANG=C ls" (a variable for one command), values glued to more
// text (KEY="a"b), lines with a NUL byte, and a value whose quote is not closed
// on its own line (such a line stays intact; setKey of its key appends a new
// assignment).
// When a key is assigned more than once, the first assignment counts: getKey
// reads it and setKey changes it.
//
// Saving rewrites only the assignments whose value changed, each in its old
// quoting style when the new value can be written in it (plain only for
// letters, digits and _ - . / : , + = @ %; single quotes for values without
// '), otherwise in double quotes with \" \\ \$ \` escaped. New keys are
// appended at the end as KEY=value (plain when possible, else double-quoted).
// All other bytes of the file stay as they were, in their order, and the
// file's permission bits (a script's run bit) are kept. The file is replaced
// atomically (temporary file, fsync, rename).
//
// A file that cannot be read (missing, a directory, no permission) gives an
// object that is not open: it has no keys, and saveConfig fails without
// creating the file.
//
// Not thread-safe; one object belongs to one thread.
class eConfigFile
{
public:
    explicit eConfigFile(const char *path);
    explicit eConfigFile(const std::string &path);

    // Whether the file could be read.
    bool isOpen() const { return open_; }
    explicit operator bool() const { return open_; }
    const std::string &path() const { return path_; }

    // 0 with `value` set when the key is assigned; otherwise -1 and `value`
    // is left as it was.
    int getKey(const char *key, eString &value) const;
    // Hands back a copy made with malloc; the caller releases it with free().
    int getKey(const char *key, char *&value) const;

    // Changes the key in memory (saveConfig writes it). -1 for a null key, a
    // key that is not a shell variable name, a null value or a value holding a
    // newline or NUL (neither can stand in a one-line assignment), and when
    // the file is not open.
    int setKey(const char *key, const char *value);
    int setKey(const char *key, const std::string &value);

    // Writes the changes into the file. 0 on success (also when nothing
    // changed, then the file is not touched); -1 when the file is not open or
    // cannot be written (one warning in the log; the changes stay in memory).
    int saveConfig();

private:
    // How a value is written in its line.
    enum class Quoting { plain, single, doubled, fresh };

    // One line of the file, without its '\n'.
    struct Line
    {
        std::string text;
        std::string key; // empty when the line is no assignment
        std::string value; // the current value of the assignment
        std::string writtenValue; // the value that `text` holds
        Quoting quoting = Quoting::plain;
        std::size_t valueBegin = 0; // the value as written in `text`, quotes
        std::size_t valueEnd = 0; // included: [valueBegin, valueEnd)
        bool changed = false; // `value` is not what `text` holds
    };

    // Fills in the assignment fields of `line` from its text; false when the
    // line is no assignment.
    static bool parseAssignment(Line &line);
    // The text of `line` with its current value written in.
    static std::string renderedText(const Line &line);

    void read();

    std::string path_;
    bool open_ = false;
    mode_t mode_ = 0644;
    std::vector<Line> lines_;
    bool endsWithNewline_ = false;
    std::map<std::string, std::size_t> firstAssignment_; // key -> index in lines_
};

#endif
