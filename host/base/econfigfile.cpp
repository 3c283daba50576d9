#include "base/econfigfile.h"

#include "base/whole_file.h"
#include "base/elog.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool isAsciiLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool isAsciiDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isKeyStart(char c)
{
    return isAsciiLetter(c) || c == '_';
}

bool isKeyChar(char c)
{
    return isKeyStart(c) || isAsciiDigit(c);
}

bool isShellVariableName(std::string_view name)
{
    if (name.empty() || !isKeyStart(name.front()))
        return false;
    for (char c : name) {
        if (!isKeyChar(c))
            return false;
    }
    return true;
}

bool isOneOf(char c, std::string_view set)
{
    return set.find(c) != std::string_view::npos;
}

// Bytes that end an unquoted word in the shell, or that would give it a meaning
// other than its plain text.
bool endsPlainWord(char c)
{
    return isBlank(c) || isOneOf(c, ";&|<>()\"'\\`");
}

// Whether the shell reads `value`, written unquoted after "KEY=", as exactly
// that text (no expansion, no word splitting).
bool writablePlain(std::string_view value)
{
    for (char c : value) {
        if (!isAsciiLetter(c) && !isAsciiDigit(c) && !isOneOf(c, "_-./:,+=@%"))
            return false;
    }
    return true;
}

std::string doubleQuoted(std::string_view value)
{
    std::string out = "\"";
    for (char c : value) {
        if (c == '"' || c == '\\' || c == '$' || c == '`')
            out += '\\';
        out += c;
    }
    out += '"';
    return out;
}

enum class ValueStyle { plain, single, doubled };

struct ReadValue
{
    std::string value;
    std::size_t end = 0; // one past the value as written
    ValueStyle style = ValueStyle::plain;
};

// The value written at `begin` (plain, '...' or "..."), or nothing when its
// quote is not closed.
std::optional<ReadValue> readValue(std::string_view text, std::size_t begin)
{
    ReadValue read;
    if (begin < text.size() && text[begin] == '\'') {
        std::size_t close = text.find('\'', begin + 1);
        if (close == std::string_view::npos)
            return std::nullopt;
        read.value.assign(text.substr(begin + 1, close - begin - 1));
        read.end = close + 1;
        read.style = ValueStyle::single;
        return read;
    }
    if (begin < text.size() && text[begin] == '"') {
        for (std::size_t i = begin + 1; i < text.size(); ++i) {
            char c = text[i];
            if (c == '"') {
                read.end = i + 1;
                read.style = ValueStyle::doubled;
                return read;
            }
            if (c == '\\' && i + 1 < text.size() && isOneOf(text[i + 1], "\"\\$`"))
                c = text[++i];
            read.value += c;
        }
        return std::nullopt;
    }
    std::size_t i = begin;
    while (i < text.size() && !endsPlainWord(text[i]))
        ++i;
    read.value.assign(text.substr(begin, i - begin));
    read.end = i;
    return read;
}

// Whether what follows a value leaves the line a plain assignment: nothing, a
// comment, or a ';' and more shell code.
bool restEndsAssignment(std::string_view rest)
{
    if (rest.empty() || rest.front() == ';')
        return true;
    if (!isBlank(rest.front()))
        return false;
    std::size_t next = 0;
    while (next < rest.size() && isBlank(rest[next]))
        ++next;
    return next == rest.size() || rest[next] == '#' || rest[next] == ';';
}

} // namespace

bool eConfigFile::parseAssignment(Line &line)
{
    const std::string_view text = line.text;
    // A NUL byte anywhere makes the line no assignment: the shell drops such
    // bytes, so it would not read the line as we do.
    if (text.find('\0') != std::string_view::npos)
        return false;
    std::size_t pos = 0;
    while (pos < text.size() && isBlank(text[pos]))
        ++pos;
    constexpr std::string_view exportWord = "export";
    if (text.substr(pos, exportWord.size()) == exportWord && pos + exportWord.size() < text.size()
        && isBlank(text[pos + exportWord.size()])) {
        pos += exportWord.size();
        while (pos < text.size() && isBlank(text[pos]))
            ++pos;
    }
    const std::size_t keyBegin = pos;
    if (pos >= text.size() || !isKeyStart(text[pos]))
        return false;
    while (pos < text.size() && isKeyChar(text[pos]))
        ++pos;
    if (pos >= text.size() || text[pos] != '=')
        return false;
    const std::size_t keyEnd = pos;

    std::optional<ReadValue> read = readValue(text, keyEnd + 1);
    if (!read || !restEndsAssignment(text.substr(read->end)))
        return false;

    line.key.assign(text.substr(keyBegin, keyEnd - keyBegin));
    line.value = std::move(read->value);
    line.writtenValue = line.value;
    line.quoting = read->style == ValueStyle::single    ? Quoting::single
                   : read->style == ValueStyle::doubled ? Quoting::doubled
                                                        : Quoting::plain;
    line.valueBegin = keyEnd + 1;
    line.valueEnd = read->end;
    line.changed = false;
    return true;
}

std::string eConfigFile::renderedText(const Line &line)
{
    if (!line.changed)
        return line.text;
    std::string written;
    if (line.quoting == Quoting::plain && writablePlain(line.value))
        written = line.value;
    else if (line.quoting == Quoting::fresh && !line.value.empty() && writablePlain(line.value))
        written = line.value;
    else if (line.quoting == Quoting::single && line.value.find('\'') == std::string::npos)
        written = "'" + line.value + "'";
    else
        written = doubleQuoted(line.value);
    return line.text.substr(0, line.valueBegin) + written + line.text.substr(line.valueEnd);
}

eConfigFile::eConfigFile(const char *path) : path_(path != nullptr ? path : "")
{
    read();
}

eConfigFile::eConfigFile(const std::string &path) : path_(path)
{
    read();
}

void eConfigFile::read()
{
    if (path_.empty())
        return;
    struct stat info = {};
    if (::stat(path_.c_str(), &info) != 0 || S_ISDIR(info.st_mode))
        return;
    std::string contents;
    if (boxfile::readWholeFile(path_, contents) != 0)
        return;

    mode_ = info.st_mode & 07777;
    open_ = true;
    std::string_view rest = contents;
    while (!rest.empty()) {
        std::size_t newline = rest.find('\n');
        Line line;
        line.text.assign(rest.substr(0, newline));
        if (parseAssignment(line))
            firstAssignment_.try_emplace(line.key, lines_.size());
        lines_.push_back(std::move(line));
        if (newline == std::string_view::npos)
            break;
        rest.remove_prefix(newline + 1);
    }
    endsWithNewline_ = !contents.empty() && contents.back() == '\n';
}

int eConfigFile::getKey(const char *key, eString &value) const
{
    if (key == nullptr)
        return -1;
    auto found = firstAssignment_.find(key);
    if (found == firstAssignment_.end())
        return -1;
    value = lines_[found->second].value;
    return 0;
}

int eConfigFile::getKey(const char *key, char *&value) const
{
    eString text;
    return getKey(key, text) == 0 ? text.heapCopyTo(value) : -1;
}

int eConfigFile::setKey(const char *key, const char *value)
{
    if (value == nullptr)
        return -1;
    return setKey(key, std::string(value));
}

int eConfigFile::setKey(const char *key, const std::string &value)
{
    if (!open_ || key == nullptr || !isShellVariableName(key))
        return -1;
    if (value.find('\n') != std::string::npos || value.find('\0') != std::string::npos)
        return -1;

    auto found = firstAssignment_.find(key);
    if (found != firstAssignment_.end()) {
        // A value set back to what the file holds leaves its line as it is.
        Line &line = lines_[found->second];
        line.value = value;
        line.changed = line.quoting == Quoting::fresh || line.value != line.writtenValue;
        return 0;
    }

    Line line;
    line.key = key;
    line.text = line.key + "=";
    line.value = value;
    line.quoting = Quoting::fresh;
    line.valueBegin = line.valueEnd = line.text.size();
    line.changed = true;
    firstAssignment_.emplace(line.key, lines_.size());
    lines_.push_back(std::move(line));
    endsWithNewline_ = true;
    return 0;
}

int eConfigFile::saveConfig()
{
    if (!open_)
        return -1;
    if (std::none_of(lines_.begin(), lines_.end(), [](const Line &line) { return line.changed; }))
        return 0;

    std::vector<std::string> texts;
    texts.reserve(lines_.size());
    std::string contents;
    for (const Line &line : lines_) {
        texts.push_back(renderedText(line));
        if (&line != &lines_.front())
            contents += '\n';
        contents += texts.back();
    }
    if (endsWithNewline_ && !lines_.empty())
        contents += '\n';

    boxfile::AtomicWriteOptions options;
    options.mode = mode_;
    if (int error = boxfile::writeFileAtomically(path_, contents, options); error != 0) {
        eWarning("cannot save %s: %s", path_.c_str(), std::strerror(error));
        return -1;
    }

    // The file now holds the new lines; take them as the lines as read.
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        Line &line = lines_[i];
        if (!line.changed)
            continue;
        line.text = std::move(texts[i]);
        // The rendered line always reads back as the same assignment.
        parseAssignment(line);
        line.changed = false;
    }
    return 0;
}
