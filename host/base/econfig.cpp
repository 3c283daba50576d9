#include "base/econfig.h"

#include "base/hex_digit.h"
#include "base/whole_file.h"
#include "base/boxpath.h"
#include "base/elog.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char *storeLocation = "/var/tuxbox/config/boxhost.conf";
constexpr std::string_view headerPrefix = "# boxhost configuration ";
constexpr std::string_view header = "# boxhost configuration 1";
constexpr std::string_view endMarker = "# end of boxhost configuration";

std::unique_ptr<eConfig> &instanceStorage()
{
    static std::unique_ptr<eConfig> instance;
    return instance;
}

// --- escaping -----------------------------------------------------------------

void appendEscaped(std::string &out, std::string_view text, bool isKey)
{
    static constexpr char hexDigits[] = "0123456789abcdef";
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\\')
            out += "\\\\";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else if (c == '\t')
            out += "\\t";
        else if (byte < 0x20 || byte == 0x7f || (isKey && c == '=')) {
            out += "\\x";
            out += hexDigits[byte >> 4];
            out += hexDigits[byte & 0x0f];
        } else
            out += c;
    }
}

// The text that `escaped` stands for, or nothing for an unknown or cut-off
// escape and for an escape that gives NUL.
std::optional<std::string> unescaped(std::string_view escaped)
{
    std::string out;
    out.reserve(escaped.size());
    for (std::size_t i = 0; i < escaped.size(); ++i) {
        if (escaped[i] != '\\') {
            out += escaped[i];
            continue;
        }
        if (++i == escaped.size())
            return std::nullopt;
        switch (escaped[i]) {
        case '\\': out += '\\'; break;
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case 'x': {
            if (escaped.size() - i < 3)
                return std::nullopt;
            int high = boxhost::hexDigitValue(escaped[i + 1]);
            int low = boxhost::hexDigitValue(escaped[i + 2]);
            if (high < 0 || low < 0 || (high == 0 && low == 0))
                return std::nullopt;
            out += static_cast<char>(high * 16 + low);
            i += 2;
            break;
        }
        default: return std::nullopt;
        }
    }
    return out;
}

// --- the file format ------------------------------------------------------------

template <class Map>
std::string serialised(const Map &values)
{
    std::string text(header);
    text += '\n';
    for (const auto &[key, value] : values) {
        const int *number = std::get_if<int>(&value);
        text += number != nullptr ? "i:" : "s:";
        appendEscaped(text, key, true);
        text += '=';
        if (number != nullptr)
            text += std::to_string(*number);
        else
            appendEscaped(text, std::get<std::string>(value), false);
        text += '\n';
    }
    text += endMarker;
    text += '\n';
    return text;
}

struct Damage
{
    std::size_t line; // 1-based
    const char *what;
};

// The lines of `text`; a final '\n' does not start another line.
std::vector<std::string_view> splitLines(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        std::size_t newline = text.find('\n');
        if (newline == std::string_view::npos) {
            lines.push_back(text);
            break;
        }
        lines.push_back(text.substr(0, newline));
        text.remove_prefix(newline + 1);
    }
    return lines;
}

template <class Map>
std::optional<Damage> parse(std::string_view text, Map &values)
{
    const std::vector<std::string_view> lines = splitLines(text);
    if (lines.empty())
        return Damage{1, "empty file, header missing"};
    if (lines[0].find('\0') != std::string_view::npos)
        return Damage{1, "NUL byte"};
    if (lines[0] != header) {
        if (lines[0].substr(0, headerPrefix.size()) == headerPrefix)
            return Damage{1, "unsupported format version"};
        return Damage{1, "not a boxhost configuration header"};
    }

    bool ended = false;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::string_view line = lines[i];
        const std::size_t number = i + 1;
        if (line.find('\0') != std::string_view::npos)
            return Damage{number, "NUL byte"};
        if (ended)
            return Damage{number, "data after the end marker"};
        if (line == endMarker) {
            ended = true;
            continue;
        }
        if (line.empty() || line.front() == '#')
            continue;

        const bool isInt = line.substr(0, 2) == "i:";
        if (!isInt && line.substr(0, 2) != "s:")
            return Damage{number, "line is neither \"i:KEY=VALUE\" nor \"s:KEY=VALUE\""};
        const std::size_t equals = line.find('=', 2);
        if (equals == std::string_view::npos)
            return Damage{number, "no '=' after the key"};
        std::optional<std::string> key = unescaped(line.substr(2, equals - 2));
        if (!key)
            return Damage{number, "bad escape in the key"};
        if (key->empty())
            return Damage{number, "empty key"};
        if (values.count(*key) != 0)
            return Damage{number, "key appears twice"};

        const std::string_view valueText = line.substr(equals + 1);
        if (isInt) {
            int value = 0;
            const char *end = valueText.data() + valueText.size();
            auto [stop, error] = std::from_chars(valueText.data(), end, value);
            if (error == std::errc::result_out_of_range)
                return Damage{number, "number out of int range"};
            if (error != std::errc() || stop != end || valueText.empty())
                return Damage{number, "bad number"};
            values.emplace(std::move(*key), value);
        } else {
            std::optional<std::string> value = unescaped(valueText);
            if (!value)
                return Damage{number, "bad escape in the value"};
            values.emplace(std::move(*key), std::move(*value));
        }
    }
    if (!ended)
        return Damage{lines.size() + 1, "end marker missing, the file was cut off"};
    return std::nullopt;
}

// Renames a damaged store aside without replacing an earlier damaged copy;
// the new name, or nothing (with `error` set) when it could not be renamed.
std::optional<std::string> keepAside(const std::string &path, int &error)
{
    std::string aside = path + ".corrupt";
    struct stat info = {};
    for (unsigned long n = 1; ::lstat(aside.c_str(), &info) == 0; ++n)
        aside = path + ".corrupt." + std::to_string(n);
    if (::rename(path.c_str(), aside.c_str()) != 0) {
        error = errno;
        return std::nullopt;
    }
    return aside;
}

} // namespace

eConfig *eConfig::getInstance()
{
    std::unique_ptr<eConfig> &instance = instanceStorage();
    if (!instance)
        instance.reset(new eConfig(boxPath(storeLocation)));
    return instance.get();
}

void eConfig::reload()
{
    instanceStorage().reset();
}

eConfig::eConfig(std::string path) : path_(std::move(path))
{
    load();
}

eConfig::~eConfig() = default;

void eConfig::load()
{
    std::string contents;
    if (int error = boxfile::readWholeFile(path_, contents); error != 0) {
        if (error == ENOENT) // a box's first start: nothing to warn about
            eDebug("configuration store %s not found; starting empty", path_.c_str());
        else
            eWarning("cannot read configuration store %s: %s; starting empty", path_.c_str(), std::strerror(error));
        return;
    }

    std::map<std::string, Value> loaded;
    std::optional<Damage> damage = parse(contents, loaded);
    if (!damage) {
        values_ = std::move(loaded);
        return;
    }

    int renameError = 0;
    if (std::optional<std::string> aside = keepAside(path_, renameError))
        eWarning("configuration store %s is damaged at line %zu (%s); starting empty, "
                 "the damaged file was kept as %s",
                 path_.c_str(), damage->line, damage->what, aside->c_str());
    else
        eWarning("configuration store %s is damaged at line %zu (%s); starting empty, "
                 "the damaged file could not be kept aside: %s",
                 path_.c_str(), damage->line, damage->what, std::strerror(renameError));
}

int eConfig::save()
{
    boxfile::AtomicWriteOptions options;
    options.createDirectories = true;
    if (int error = boxfile::writeFileAtomically(path_, serialised(values_), options); error != 0) {
        unsaved_ = true;
        eWarning("cannot write configuration store %s: %s", path_.c_str(), std::strerror(error));
        return -1;
    }
    unsaved_ = false;
    return 0;
}

int eConfig::store(const char *key, Value value)
{
    if (key == nullptr || *key == '\0')
        return -1;
    auto existing = values_.find(key);
    if (existing != values_.end() && existing->second == value && !unsaved_)
        return 0;
    values_.insert_or_assign(key, std::move(value));
    return save();
}

int eConfig::getKey(const char *key, int &value) const
{
    if (key == nullptr)
        return -1;
    auto found = values_.find(key);
    if (found == values_.end())
        return -1;
    const int *number = std::get_if<int>(&found->second);
    if (number == nullptr)
        return -1;
    value = *number;
    return 0;
}

int eConfig::getKey(const char *key, char *&value) const
{
    eString text;
    return getKey(key, text) == 0 ? text.heapCopyTo(value) : -1;
}

int eConfig::getKey(const char *key, eString &value) const
{
    if (key == nullptr)
        return -1;
    auto found = values_.find(key);
    if (found == values_.end())
        return -1;
    const std::string *text = std::get_if<std::string>(&found->second);
    if (text == nullptr)
        return -1;
    value = *text;
    return 0;
}

int eConfig::setKey(const char *key, int value)
{
    return store(key, value);
}

int eConfig::setKey(const char *key, const char *value)
{
    if (value == nullptr)
        return -1;
    return store(key, std::string(value));
}

int eConfig::setKey(const char *key, const std::string &value)
{
    if (value.find('\0') != std::string::npos)
        return -1;
    return store(key, value);
}

int eConfig::delKey(const char *key)
{
    if (key == nullptr)
        return -1;
    auto found = values_.find(key);
    if (found == values_.end())
        return -1;
    values_.erase(found);
    return save();
}
