// A file of shell assignments (the recorder script) read, one key changed and
// saved, as the recording menu does with STREAMDIR. Checked: saving changes
// the first assignment of that key only (or appends one), keeps every other
// byte and the permission bits, and the saved file reads back with the new
// value and every other key as it was.

#include "fuzz_support.h"

#include "base/econfigfile.h"
#include "support/temp_dir.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace {

// Values the menu might store, and ones that need each kind of quoting.
constexpr std::array<std::string_view, 7> newValues = {
    "/media/hdd/streamripper", "/media/my music", "it's", "say \"$HOME\" `now` \\", "", "Caf\xC3\xA9", "a=b;c"};
constexpr std::string_view freshKey = "TARNWAVE_FUZZ_KEY";

bool isKeyChar(char c, bool first)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || (!first && c >= '0' && c <= '9');
}

// Every name that stands before a '=' somewhere: the keys the file may hold.
std::set<std::string> candidateKeys(std::string_view contents)
{
    std::set<std::string> keys;
    for (std::size_t equals = contents.find('='); equals != std::string_view::npos;
         equals = contents.find('=', equals + 1)) {
        std::size_t begin = equals;
        while (begin > 0 && isKeyChar(contents[begin - 1], false))
            --begin;
        while (begin < equals && !isKeyChar(contents[begin], true))
            ++begin;
        if (begin < equals)
            keys.emplace(contents.substr(begin, equals - begin));
    }
    return keys;
}

std::map<std::string, std::optional<std::string>> valuesOf(const eConfigFile &file, const std::set<std::string> &keys)
{
    std::map<std::string, std::optional<std::string>> values;
    for (const std::string &key : keys) {
        eString value;
        values[key] = file.getKey(key.c_str(), value) == 0 ? std::optional<std::string>(value) : std::nullopt;
    }
    return values;
}

std::vector<std::string_view> linesOf(std::string_view text)
{
    std::vector<std::string_view> lines;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// The saved file is the old one with one line changed, or with one line
// appended for a key it did not assign.
void checkOnlyTheKeyChanged(std::string_view before, std::string_view after, std::string_view key, bool assigned)
{
    if (!assigned) {
        const std::string kept = std::string(before) + (before.empty() || before.ends_with('\n') ? "" : "\n");
        FUZZ_CHECK(after.starts_with(kept), "an earlier line changed: " + fuzz::printable(after));
        const std::string_view added = after.substr(kept.size());
        FUZZ_CHECK(added.starts_with(std::string(key) + "=") && added.ends_with('\n')
                       && added.find('\n') == added.size() - 1,
                   "appended " + fuzz::printable(added));
        return;
    }
    const std::vector<std::string_view> old = linesOf(before);
    const std::vector<std::string_view> saved = linesOf(after);
    FUZZ_CHECK(old.size() == saved.size(), "lines went or came: " + fuzz::printable(after));
    std::size_t changed = 0;
    for (std::size_t i = 0; i < old.size(); ++i)
        changed += old[i] != saved[i] ? 1 : 0;
    FUZZ_CHECK(changed <= 1, std::to_string(changed) + " lines changed: " + fuzz::printable(after));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static TempDir directory;
    const std::string_view contents = fuzz::text(data, size);
    const std::filesystem::path path = directory.path() / "streamripper_script.sh";
    std::filesystem::remove(path);
    writeFile(path, std::string(contents));
    std::uint64_t random = fuzz::fingerprint(contents);
    const mode_t mode = (fuzz::nextRandom(random) & 1) != 0 ? 0755 : 0600;
    chmod(path.c_str(), mode);

    eConfigFile file(path);
    FUZZ_CHECK(file.isOpen(), "a readable file did not open");
    const std::set<std::string> keys = candidateKeys(contents);
    const auto valuesBefore = valuesOf(file, keys);
    FUZZ_CHECK(file.setKey("1NO", "x") == -1 && file.setKey("KEY", "a\nb") == -1, "a bad assignment was taken");

    // The key to change: one of the file's, or a new one.
    std::string key(freshKey);
    if (!keys.empty() && (fuzz::nextRandom(random) & 3) != 0)
        key = *std::next(keys.begin(), static_cast<long>(fuzz::nextRandom(random) % keys.size()));
    const std::string value(newValues[fuzz::nextRandom(random) % newValues.size()]);
    FUZZ_CHECK(file.setKey(key.c_str(), value) == 0, key);
    FUZZ_CHECK(file.saveConfig() == 0, "saving failed");

    const std::string after = readFile(path);
    const bool assigned = valuesBefore.count(key) != 0 && valuesBefore.at(key).has_value();
    checkOnlyTheKeyChanged(contents, after, key, assigned);
    struct stat info = {};
    FUZZ_CHECK(stat(path.c_str(), &info) == 0 && (info.st_mode & 07777) == mode, "the permission bits changed");

    const eConfigFile saved(path);
    eString readBack;
    FUZZ_CHECK(saved.getKey(key.c_str(), readBack) == 0 && readBack == value,
               key + " reads back as " + fuzz::printable(readBack) + " in " + fuzz::printable(after));
    for (const auto &[other, before] : valuesBefore) {
        if (other == key)
            continue;
        eString now;
        const bool present = saved.getKey(other.c_str(), now) == 0;
        FUZZ_CHECK(present == before.has_value() && (!present || now == *before), other + " changed");
    }
    return 0;
}
