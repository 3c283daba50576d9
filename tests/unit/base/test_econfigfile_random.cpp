// Randomised checks of the shell assignment file. Whatever bytes it holds,
// reading it does not crash, it finds exactly the assignments its grammar
// describes, and saving keeps every byte it was not asked to change; changed
// values read back exactly, and /bin/sh reads them as getKey does.
// Every case runs from a fixed seed, named in the failure message, so that a
// failure can be replayed. The file is long because it carries its own reader
// of the assignment grammar, written from the class's documentation, which
// every check compares the class against.

#include "base/econfigfile.h"
#include "support/temp_dir.h"

#include "support/random_input.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

// --- random input ----------------------------------------------------------------

const std::vector<std::string> utf8Samples = {"\xc3\xa9", "\xe2\x82\xac", "\xe6\x97\xa5\xe6\x9c\xac",
                                              "\xf0\x9f\x8e\xb5", "\xc3\x9f"};

std::string randomName(Random &random)
{
    static constexpr std::string_view starts = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
    static constexpr std::string_view rest = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_0123456789";
    std::string name(1, random.oneOf(starts));
    for (std::size_t n = random.between(0, 8); n > 0; --n)
        name += random.oneOf(rest);
    return name;
}

// Any bytes but NUL and newline, with a taste for the ones that need quoting.
std::string randomValue(Random &random)
{
    if (random.chance(0.05))
        return "";
    std::string value;
    const bool plainOnly = random.chance(0.2);
    for (std::size_t n = random.between(1, 12); n > 0; --n) {
        if (plainOnly) {
            value += random.oneOf("abcXYZ019_-./:,+=@%");
            continue;
        }
        switch (random.between(0, 11)) {
        case 0: value += randomName(random); break;
        case 1: value += random.chance(0.5) ? " " : "\t  "; break;
        case 2: value += random.oneOf("'\""); break;
        case 3: value += "$" + randomName(random); break;
        case 4: value += random.oneOf("`\\"); break;
        case 5: value += random.oneOf(utf8Samples); break;
        case 6: value += random.oneOf("#;&|<>()"); break;
        case 7: value += random.oneOf("\r\x01\x1b\x7f"); break;
        case 8: value += static_cast<char>(random.between(0x80, 0xff)); break;
        case 9: value += "\\\"\\$\\`\\\\"; break;
        case 10: value += random.oneOf("~*?[]{}!"); break;
        default: value += random.oneOf("/hdd/movie"); break;
        }
    }
    return value;
}

// --- the assignment grammar, read from the class's documentation ----------------------

enum class Style { plain, single, doubled };

struct Assignment
{
    std::string key;
    std::string value;
    Style style = Style::plain;
    std::size_t valueBegin = 0; // the value as written, quotes included
    std::size_t valueEnd = 0;
};

bool isNameStart(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool isNameChar(char c)
{
    return isNameStart(c) || (c >= '0' && c <= '9');
}

bool isVariableName(std::string_view name)
{
    if (name.empty() || !isNameStart(name[0]))
        return false;
    for (char c : name)
        if (!isNameChar(c))
            return false;
    return true;
}

bool has(std::string_view set, char c)
{
    return set.find(c) != std::string_view::npos;
}

// The assignment that `line` holds, if it is one.
std::optional<Assignment> assignmentIn(std::string_view line)
{
    if (has(line, '\0'))
        return std::nullopt;
    std::size_t at = line.find_first_not_of(" \t");
    if (at == std::string_view::npos)
        return std::nullopt;
    if (line.substr(at, 6) == "export" && at + 6 < line.size() && has(" \t", line[at + 6])) {
        at = line.find_first_not_of(" \t", at + 6);
        if (at == std::string_view::npos)
            return std::nullopt;
    }
    std::size_t equals = at;
    while (equals < line.size() && isNameChar(line[equals]))
        ++equals;
    if (equals == line.size() || line[equals] != '=' || !isVariableName(line.substr(at, equals - at)))
        return std::nullopt;

    Assignment found;
    found.key = std::string(line.substr(at, equals - at));
    found.valueBegin = equals + 1;
    std::size_t end = found.valueBegin;
    if (end < line.size() && line[end] == '\'') {
        const std::size_t close = line.find('\'', end + 1);
        if (close == std::string_view::npos)
            return std::nullopt;
        found.value = std::string(line.substr(end + 1, close - end - 1));
        found.style = Style::single;
        end = close + 1;
    } else if (end < line.size() && line[end] == '"') {
        for (++end;; ++end) {
            if (end == line.size())
                return std::nullopt;
            if (line[end] == '"')
                break;
            if (line[end] == '\\' && end + 1 < line.size() && has("\"\\$`", line[end + 1]))
                ++end;
            found.value += line[end];
        }
        found.style = Style::doubled;
        ++end;
    } else {
        end = std::min(line.find_first_of(" \t;&|<>()\"'\\`", end), line.size());
        found.value = std::string(line.substr(found.valueBegin, end - found.valueBegin));
    }
    found.valueEnd = end;

    const std::string_view rest = line.substr(end);
    const std::size_t next = rest.find_first_not_of(" \t");
    const bool endsHere = rest.empty() || rest[0] == ';'
                          || (has(" \t", rest[0]) && (next == std::string_view::npos || has("#;", rest[next])));
    if (!endsHere)
        return std::nullopt;
    return found;
}

struct ScriptLines
{
    std::vector<std::string> lines; // without their '\n'
    bool endsWithNewline = false;
};

ScriptLines splitScript(std::string_view contents)
{
    ScriptLines script;
    script.endsWithNewline = !contents.empty() && contents.back() == '\n';
    while (!contents.empty()) {
        const std::size_t newline = contents.find('\n');
        script.lines.emplace_back(contents.substr(0, newline));
        if (newline == std::string_view::npos)
            break;
        contents.remove_prefix(newline + 1);
    }
    return script;
}

// Key -> index of the line with its first assignment.
std::map<std::string, std::size_t> firstAssignments(const std::vector<std::string> &lines)
{
    std::map<std::string, std::size_t> first;
    for (std::size_t i = 0; i < lines.size(); ++i)
        if (std::optional<Assignment> assignment = assignmentIn(lines[i]))
            first.try_emplace(assignment->key, i);
    return first;
}

bool writablePlain(std::string_view value)
{
    for (char c : value)
        if (!isNameChar(c) && !has("-./:,+=@%", c))
            return false;
    return true;
}

std::string doubleQuoted(std::string_view value)
{
    std::string out = "\"";
    for (char c : value) {
        if (has("\"\\$`", c))
            out += '\\';
        out += c;
    }
    return out + "\"";
}

// How a changed value is written in place of one written in `style`.
std::string writtenIn(Style style, const std::string &value)
{
    if (style == Style::plain && writablePlain(value))
        return value;
    if (style == Style::single && !has(value, '\''))
        return "'" + value + "'";
    return doubleQuoted(value);
}

// Checks the file saved over `before` after the keys in `set` were given their
// values: each line is as it was, except the first assignment of a key whose
// value changed, which holds the new value in its own quoting style; the keys
// that had no assignment follow at the end, in the order `added`.
void expectSavedAs(const std::string &before, const std::map<std::string, std::string> &set,
                   const std::vector<std::string> &added, const std::string &saved)
{
    SCOPED_TRACE("saved file: " + printable(saved));
    const ScriptLines old = splitScript(before);
    const ScriptLines now = splitScript(saved);
    std::map<std::size_t, std::string> firstLineOf;
    for (const auto &[key, line] : firstAssignments(old.lines))
        firstLineOf.emplace(line, key);

    ASSERT_EQ(now.lines.size(), old.lines.size() + added.size());
    for (std::size_t i = 0; i < old.lines.size(); ++i) {
        std::string expected = old.lines[i];
        auto first = firstLineOf.find(i);
        if (first != firstLineOf.end() && set.count(first->second) != 0) {
            const Assignment assignment = *assignmentIn(expected);
            const std::string &value = set.at(first->second);
            if (value != assignment.value)
                expected = expected.substr(0, assignment.valueBegin) + writtenIn(assignment.style, value)
                           + expected.substr(assignment.valueEnd);
        }
        EXPECT_EQ(printable(now.lines[i]), printable(expected)) << "line " << i + 1;
    }
    for (std::size_t j = 0; j < added.size(); ++j) {
        const std::string &line = now.lines[old.lines.size() + j];
        const std::string &value = set.at(added[j]);
        if (value.empty()) {
            EXPECT_TRUE(line == added[j] + "=" || line == added[j] + "=\"\"") << printable(line);
        } else {
            EXPECT_EQ(printable(line),
                      printable(added[j] + "=" + (writablePlain(value) ? value : doubleQuoted(value))));
        }
    }
    EXPECT_EQ(now.endsWithNewline, (old.endsWithNewline || !added.empty()) && !now.lines.empty());
}

// --- the file on disk -----------------------------------------------------------------

struct FileState
{
    mode_t mode = 0;
    ino_t inode = 0;
};

FileState stateOf(const fs::path &file)
{
    const FileState state{permissionsOf(file), inodeOf(file)};
    EXPECT_NE(state.inode, 0u) << file << " cannot be looked at";
    return state;
}

const std::vector<mode_t> scriptModes = {0600, 0640, 0644, 0700, 0750, 0755};

fs::path writeScript(const TempDir &dir, const std::string &contents, mode_t mode)
{
    const fs::path path = dir.file("script.sh");
    fs::remove(path);
    writeFile(path, contents);
    EXPECT_EQ(::chmod(path.c_str(), mode), 0);
    return path;
}

std::optional<std::string> keyOf(const eConfigFile &file, const std::string &key)
{
    eString value = "<untouched>";
    if (file.getKey(key.c_str(), value) != 0) {
        EXPECT_EQ(value, "<untouched>");
        return std::nullopt;
    }
    char *copy = nullptr;
    EXPECT_EQ(file.getKey(key.c_str(), copy), 0);
    if (copy != nullptr) {
        EXPECT_EQ(std::string(copy), value);
        std::free(copy);
    }
    return std::string(value);
}

// The random changes made to one open file, as the file should show them.
struct Changes
{
    std::map<std::string, std::string> set; // key -> last value given
    std::vector<std::string> added; // keys without an assignment, in the order they were set
};

// Sets a few keys of `file` (whose contents are `before`) to random values:
// existing keys, new ones, keys set back to what they were, and calls that are
// refused and change nothing.
Changes changeRandomKeys(Random &random, eConfigFile &file, const std::string &before, std::string &log)
{
    const std::map<std::string, std::size_t> first = firstAssignments(splitScript(before).lines);
    std::vector<std::string> existing;
    for (const auto &[key, line] : first)
        existing.push_back(key);
    Changes changes;
    for (std::size_t n = random.between(0, 8); n > 0; --n) {
        const std::size_t what = random.between(0, 9);
        std::string key = !existing.empty() && what < 6 ? random.oneOf(existing) : randomName(random);
        std::string value = randomValue(random);
        if (what == 8 && !changes.set.empty()) {
            // Back to the value the file holds.
            key = changes.set.begin()->first;
            if (first.count(key) == 0)
                continue;
            value = assignmentIn(splitScript(before).lines[first.at(key)])->value;
        } else if (what == 9) {
            const std::vector<std::string> badKeys = {"", "1ABC", "A-B", "A B", "K\xc3\xa9", "A=B", " A"};
            const std::vector<std::string> badValues = {"two\nlines", "nul\0byte"s, "\n"};
            const bool badKey = random.chance(0.5);
            const std::string refusedKey = badKey ? random.oneOf(badKeys) : key;
            const std::string refusedValue = badKey ? value : random.oneOf(badValues);
            log += "refused setKey(" + printable(refusedKey) + ", " + printable(refusedValue) + ")\n";
            EXPECT_EQ(file.setKey(refusedKey.c_str(), refusedValue), -1);
            continue;
        }
        log += "setKey(" + key + ", " + printable(value) + ")\n";
        EXPECT_EQ(random.chance(0.5) ? file.setKey(key.c_str(), value) : file.setKey(key.c_str(), value.c_str()), 0);
        if (first.count(key) == 0 && changes.set.count(key) == 0)
            changes.added.push_back(key);
        changes.set[key] = value;
    }
    return changes;
}

// Saves `file` after `changes` and checks it on disk: its bytes, its mode, and
// the values a fresh reading finds for `keys` (`old` holds those before).
void saveAndCheck(eConfigFile &file, const fs::path &path, const std::string &before, const Changes &changes,
                  const std::map<std::string, std::optional<std::string>> &old)
{
    const FileState previous = stateOf(path);
    ASSERT_EQ(file.saveConfig(), 0);
    const std::string saved = readFile(path);
    expectSavedAs(before, changes.set, changes.added, saved);
    const FileState now = stateOf(path);
    EXPECT_EQ(now.mode, previous.mode);
    if (saved == before) {
        EXPECT_EQ(now.inode, previous.inode) << "a save without changes rewrote the file";
    }

    const eConfigFile reopened(path);
    for (const auto &[key, value] : old) {
        auto set = changes.set.find(key);
        EXPECT_EQ(keyOf(reopened, key), set != changes.set.end() ? std::optional(set->second) : value) << key;
        EXPECT_EQ(keyOf(file, key), keyOf(reopened, key)) << key;
    }
    for (const auto &[key, value] : changes.set) {
        EXPECT_EQ(keyOf(reopened, key), value) << key;
        EXPECT_EQ(keyOf(file, key), value) << key;
    }
}

// --- random files ------------------------------------------------------------------------

// Bytes of every kind, with pieces of assignments and quoting among them.
std::string randomBytes(Random &random)
{
    std::string out;
    for (std::size_t pieces = random.between(0, 60); pieces > 0; --pieces) {
        switch (random.between(0, 12)) {
        case 0:
            for (std::size_t n = random.between(1, 20); n > 0; --n)
                out += random.byte();
            break;
        case 1: out += '\0'; break;
        case 2: out += random.chance(0.8) ? "\n" : "\n\n"; break;
        case 3: out += random.chance(0.5) ? "\r" : "\r\n"; break;
        case 4: out += '='; break;
        case 5: out += random.oneOf("'\""); break;
        case 6: out += '\\'; break;
        case 7: out += '#'; break;
        case 8: out += "export "; break;
        case 9: out += (random.chance(0.6) ? "\n" : "") + randomName(random) + "="; break;
        case 10: out += random.oneOf(" \t;"); break;
        case 11: out += randomValue(random); break;
        default:
            if (random.chance(0.15)) {
                // A very long line.
                const std::size_t length = random.between(10'000, 150'000);
                const char filler = random.oneOf("a_'\"\\ x");
                out += randomName(random) + "=" + std::string(length, filler);
            } else {
                out += randomName(random) + "=" + randomValue(random);
            }
            break;
        }
    }
    return out;
}

// Every word in `contents` that could be a variable name.
std::set<std::string> namesIn(std::string_view contents)
{
    std::set<std::string> names;
    for (std::size_t i = 0; i < contents.size();) {
        if (!isNameStart(contents[i]) || (i > 0 && isNameChar(contents[i - 1]))) {
            ++i;
            continue;
        }
        std::size_t end = i;
        while (end < contents.size() && isNameChar(contents[end]))
            ++end;
        names.emplace(contents.substr(i, end - i));
        i = end;
    }
    return names;
}

TEST(KeyFileRandom, RandomBytesAreReadByTheGrammarAndKeptByteForByte)
{
    TempDir dir;
    for (std::uint32_t seed = 1; seed <= 250; ++seed) {
        Random random(seed);
        const std::string contents = randomBytes(random);
        const mode_t mode = random.oneOf(scriptModes);
        SCOPED_TRACE("seed " + std::to_string(seed) + ", file: " + printable(contents));
        const fs::path path = writeScript(dir, contents, mode);

        eConfigFile file(path);
        ASSERT_TRUE(file.isOpen());
        const ScriptLines script = splitScript(contents);
        const std::map<std::string, std::size_t> first = firstAssignments(script.lines);
        std::set<std::string> names = namesIn(contents);
        for (int n = 0; n < 5; ++n)
            names.insert(randomName(random));
        std::map<std::string, std::optional<std::string>> old;
        for (const std::string &name : names) {
            auto line = first.find(name);
            const std::optional<std::string> expected =
                line != first.end() ? std::optional(assignmentIn(script.lines[line->second])->value) : std::nullopt;
            const std::optional<std::string> found = keyOf(file, name);
            EXPECT_EQ(found.has_value(), expected.has_value()) << name;
            if (found && expected) {
                EXPECT_EQ(printable(*found), printable(*expected)) << name;
            }
            old.emplace(name, found);
        }
        eString untouched = "<untouched>";
        EXPECT_EQ(file.getKey(static_cast<const char *>(nullptr), untouched), -1);
        EXPECT_EQ(file.getKey("1A", untouched), -1);
        EXPECT_EQ(untouched, "<untouched>");

        // Saving without a change, and after setting keys to the values they
        // have, leaves the file alone.
        const FileState before = stateOf(path);
        EXPECT_EQ(file.saveConfig(), 0);
        for (const auto &[key, value] : old)
            if (value && random.chance(0.5)) {
                EXPECT_EQ(file.setKey(key.c_str(), *value), 0);
            }
        EXPECT_EQ(file.saveConfig(), 0);
        EXPECT_EQ(readFile(path), contents);
        EXPECT_EQ(stateOf(path).mode, mode);
        EXPECT_EQ(stateOf(path).inode, before.inode);

        std::string log;
        const Changes changes = changeRandomKeys(random, file, contents, log);
        SCOPED_TRACE("changes:\n" + log);
        saveAndCheck(file, path, contents, changes, old);
    }
}

// --- shell-like files ------------------------------------------------------------------

std::string blanks(Random &random)
{
    std::string out;
    for (std::size_t n = random.between(0, 2); n > 0; --n)
        out += random.oneOf(" \t");
    return out;
}

// A value written in the given style, as the shell and the grammar both read it.
std::string writtenValue(Random &random, Style style, const std::string &value)
{
    if (style != Style::doubled)
        return style == Style::single ? "'" + value + "'" : value;
    std::string out = "\"";
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        const bool nextIsPlain = i + 1 < value.size() && !has("\"\\$`", value[i + 1]);
        if (has("\"$`", c) || (c == '\\' && (!nextIsPlain || random.chance(0.5))))
            out += '\\';
        out += c;
    }
    return out + "\"";
}

// A value that the shell takes as it stands when written in `style`.
std::string shellValue(Random &random, Style style)
{
    std::string value = randomValue(random);
    std::string kept;
    for (char c : value) {
        if (style == Style::plain && (has(" \t;&|<>()\"'\\`$~", c)))
            continue;
        if (style == Style::single && c == '\'')
            continue;
        kept += c;
    }
    return kept;
}

// [blanks][export blanks]KEY=VALUE[rest], with a value that /bin/sh reads as
// the grammar does.
std::string assignmentLine(Random &random, const std::string &key)
{
    const Style style = random.oneOf(std::vector<Style>{Style::plain, Style::single, Style::doubled});
    std::string line = blanks(random);
    if (random.chance(0.2))
        line += "export" + std::string(1, random.oneOf(" \t")) + blanks(random);
    line += key + "=" + writtenValue(random, style, shellValue(random, style));
    const std::vector<std::string> rests = {"", "", ";", "  ", " # note", "\t# it's \"quoted\"", " ; # x", ";\t"};
    return line + random.oneOf(rests);
}

std::string commentLine(Random &random)
{
    std::string line = blanks(random) + "#";
    for (std::size_t n = random.between(0, 20); n > 0; --n) {
        char c = random.byte();
        line += c == '\n' || c == '\0' ? ' ' : c;
    }
    return line;
}

// A file as found in a box's script directory: assignments (some twice),
// comments, blank lines, shell code, and lines of garbage.
std::string shellLikeFile(Random &random)
{
    std::vector<std::string> keys;
    for (std::size_t n = random.between(1, 8); n > 0; --n)
        keys.push_back(random.chance(0.3) ? "STREAMDIR" : randomName(random));
    std::string out = random.chance(0.5) ? "#!/bin/sh\n" : "";
    for (std::size_t lines = random.between(0, 30); lines > 0; --lines) {
        const std::string &key = random.oneOf(keys);
        switch (random.between(0, 9)) {
        case 0: out += commentLine(random); break;
        case 1: out += blanks(random); break;
        case 2: {
            const std::vector<std::string> code = {"if [ -n \"$" + key + "\" ]; then",
                                                   "fi",
                                                   "case \"$1\" in",
                                                   "  start) $DAEMON -d \"$" + key + "\" & ;;",
                                                   "esac",
                                                   "LANG=C ls -l",
                                                   "echo \"$" + key + "\"",
                                                   key + "=\"glued\"on",
                                                   key + "='never closed",
                                                   key + "=\"never closed",
                                                   key + "=$(date)",
                                                   key + "=`date`",
                                                   "f() { " + key + "=1; }",
                                                   "export " + key,
                                                   key + " =1",
                                                   "1" + key + "=2",
                                                   key + "=b c",
                                                   "  " + key + "=x|y",
                                                   key + "=\"a\"#b"};
            out += random.oneOf(code);
            break;
        }
        case 3:
            for (std::size_t n = random.between(1, 30); n > 0; --n) {
                char c = random.byte();
                out += c == '\n' ? '\0' : c;
            }
            break;
        case 4:
            // Values the shell would expand, which the grammar takes as they stand.
            out += key + random.oneOf(std::vector<std::string>{"=$HOME/x", "=\"$1 and $2\"", "=~/x", "=\"a\\b\""});
            break;
        default: out += assignmentLine(random, key); break;
        }
        out += random.chance(0.05) ? "\r\n" : "\n";
    }
    if (!out.empty() && random.chance(0.2))
        out.pop_back();
    return out;
}

// Random changes over two saves of the same open file, each checked.
TEST(KeyFileRandom, ChangedKeysReadBackAndEveryOtherLineIsKept)
{
    TempDir dir;
    for (std::uint32_t seed = 1000; seed < 1200; ++seed) {
        Random random(seed);
        const std::string contents = shellLikeFile(random);
        SCOPED_TRACE("seed " + std::to_string(seed) + ", file: " + printable(contents));
        const fs::path path = writeScript(dir, contents, random.oneOf(scriptModes));
        eConfigFile file(path);
        ASSERT_TRUE(file.isOpen());

        std::string before = contents;
        for (int round = 1; round <= 2; ++round) {
            std::map<std::string, std::optional<std::string>> old;
            for (const std::string &name : namesIn(before))
                old.emplace(name, keyOf(file, name));
            std::string log;
            const Changes changes = changeRandomKeys(random, file, before, log);
            SCOPED_TRACE("round " + std::to_string(round) + " changes:\n" + log);
            saveAndCheck(file, path, before, changes, old);
            if (HasFatalFailure())
                return;
            before = readFile(path);
        }
    }
}

// --- what the shell reads --------------------------------------------------------------

// The values that /bin/sh holds for `keys` after sourcing `script` from its
// directory; nothing when the shell fails.
std::optional<std::vector<std::string>> shellValues(const fs::path &script, const std::vector<std::string> &keys)
{
    std::string command = "cd \"$1\" || exit 1; . ./" + script.filename().string() + "; printf '%s\\0'";
    for (const std::string &key : keys)
        command += " \"$" + key + "\"";
    std::vector<std::string> arguments = {"sh", "-c", command, "sh", script.parent_path().string()};
    std::vector<char *> argv;
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    int output[2];
    if (::pipe(output) != 0)
        return std::nullopt;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, output[0]);
    posix_spawn_file_actions_addclose(&actions, output[1]);
    pid_t child = 0;
    const int spawned = posix_spawn(&child, "/bin/sh", &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(output[1]);
    std::string printed;
    char buffer[4096];
    ssize_t got = 0;
    while (spawned == 0 && (got = ::read(output[0], buffer, sizeof buffer)) > 0)
        printed.append(buffer, static_cast<std::size_t>(got));
    ::close(output[0]);
    int status = 0;
    if (spawned != 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return std::nullopt;

    std::vector<std::string> values;
    for (std::size_t begin = 0; begin < printed.size();) {
        const std::size_t end = printed.find('\0', begin);
        if (end == std::string::npos)
            return std::nullopt;
        values.push_back(printed.substr(begin, end - begin));
        begin = end + 1;
    }
    return values;
}

// Files of nothing but assignments (each key once), comments and blank lines:
// after random changes and a save, the shell sees every value as getKey does.
TEST(KeyFileRandom, ShellReadsTheSavedValuesAsGetKeyDoes)
{
    TempDir dir;
    for (std::uint32_t seed = 2000; seed < 2020; ++seed) {
        Random random(seed);
        // Lower-case names stay clear of the shell's own variables (PATH, IFS, ...).
        std::vector<std::string> keys;
        for (std::size_t n = random.between(1, 10); n > 0; --n)
            keys.push_back("k" + std::to_string(n) + "_" + randomName(random));
        std::string contents;
        for (const std::string &key : keys) {
            if (random.chance(0.3))
                contents += random.chance(0.5) ? commentLine(random) + "\n" : "\n";
            contents += assignmentLine(random, key) + "\n";
        }
        SCOPED_TRACE("seed " + std::to_string(seed) + ", file: " + printable(contents));
        const fs::path path = writeScript(dir, contents, 0644);
        eConfigFile file(path);
        ASSERT_TRUE(file.isOpen());

        // The shell and the grammar agree on the file as written...
        std::vector<std::string> expected;
        for (const std::string &key : keys)
            expected.push_back(keyOf(file, key).value_or("<absent>"));
        std::optional<std::vector<std::string>> seen = shellValues(path, keys);
        ASSERT_TRUE(seen.has_value());
        for (std::size_t i = 0; i < keys.size(); ++i)
            EXPECT_EQ(printable(seen->at(i)), printable(expected[i])) << keys[i] << " as written";

        // ... and after changes to some of its keys and a few new ones.
        std::string log;
        for (std::size_t n = random.between(1, 8); n > 0; --n) {
            const std::string key = random.chance(0.7) ? random.oneOf(keys) : "knew" + randomName(random);
            const std::string value = randomValue(random);
            log += "setKey(" + key + ", " + printable(value) + ")\n";
            ASSERT_EQ(file.setKey(key.c_str(), value), 0);
            if (std::find(keys.begin(), keys.end(), key) == keys.end())
                keys.push_back(key);
        }
        SCOPED_TRACE("changes:\n" + log);
        ASSERT_EQ(file.saveConfig(), 0);
        const eConfigFile reopened(path);
        seen = shellValues(path, keys);
        ASSERT_TRUE(seen.has_value()) << printable(readFile(path));
        for (std::size_t i = 0; i < keys.size(); ++i)
            EXPECT_EQ(printable(seen->at(i)), printable(keyOf(reopened, keys[i]).value_or("<absent>")))
                << keys[i] << " in " << printable(readFile(path));
    }
}

} // namespace
