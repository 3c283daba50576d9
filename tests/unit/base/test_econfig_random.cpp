// Randomised checks of the configuration store: random changes and reloads
// always give back what a plain map of the same changes holds, and a damaged
// file either still reads as the format says or is kept aside while the store
// starts empty. Every case runs from a fixed seed, named in the failure
// message, so that a failure can be replayed.

#include "base/econfig.h"
#include "base/elog.h"
#include "support/log_lines.h"
#include "support/temp_dir.h"

#include "support/random_input.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

using Value = std::variant<int, std::string>;
using Model = std::map<std::string, Value>;

std::string describe(const Value &value)
{
    if (const int *number = std::get_if<int>(&value))
        return "int " + std::to_string(*number);
    return "string \"" + printable(std::get<std::string>(value)) + "\"";
}

// Any bytes but NUL, with a taste for those the file format must escape and
// for text that looks like the format itself.
std::string randomText(Random &random, bool isKey)
{
    std::string text = isKey && random.chance(0.6) ? "/tarnwave/" : "";
    for (std::size_t n = random.between(isKey ? 1 : 0, 10); n > 0; --n) {
        switch (random.between(0, 11)) {
        case 0: text += "abc"; break;
        case 1: text += random.oneOf("=:#"); break;
        case 2: text += random.oneOf("\n\r\t\\"); break;
        case 3: text += static_cast<char>(random.between(1, 0x1f)); break;
        case 4: text += '\x7f'; break;
        case 5: text += static_cast<char>(random.between(0x80, 0xff)); break;
        case 6:
            text +=
                random.oneOf(std::vector<std::string>{"\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x8e\xb5", "\xe6\x97\xa5"});
            break;
        case 7: text += random.oneOf(std::vector<std::string>{"\\x00", "\\n", "\\x3d", "\\q", "\\"}); break;
        case 8:
            text += random.oneOf(std::vector<std::string>{"i:", "s:", "# end of boxhost configuration",
                                                          "\n# end of boxhost configuration\n",
                                                          "# boxhost configuration 1"});
            break;
        case 9: text += std::to_string(random.number()); break;
        case 10: text += ' '; break;
        default: text += random.oneOf("/ABz_-."); break;
        }
    }
    return text;
}

// --- the file format, read from the store's documentation ------------------------------

constexpr std::string_view header = "# boxhost configuration 1";
constexpr std::string_view endMarker = "# end of boxhost configuration";

int hexDigit(char c)
{
    const std::string_view digits = "0123456789abcdef";
    const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    const std::size_t at = digits.find(lower);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

std::optional<std::string> unescape(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            out += text[i];
            continue;
        }
        if (i + 1 == text.size())
            return std::nullopt;
        const char kind = text[++i];
        if (kind == '\\' || kind == 'n' || kind == 'r' || kind == 't') {
            out += kind == 'n' ? '\n' : kind == 'r' ? '\r' : kind == 't' ? '\t' : '\\';
        } else if (kind == 'x' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 && hexDigit(text[i + 2]) >= 0) {
            const int byte = hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]);
            if (byte == 0)
                return std::nullopt;
            out += static_cast<char>(byte);
            i += 2;
        } else {
            return std::nullopt;
        }
    }
    return out;
}

std::optional<int> decimalInt(std::string_view text)
{
    const bool negative = !text.empty() && text[0] == '-';
    if (negative)
        text.remove_prefix(1);
    if (text.empty())
        return std::nullopt;
    long long magnitude = 0;
    for (char c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        magnitude = std::min(magnitude * 10 + (c - '0'), 1LL << 40);
    }
    const long long value = negative ? -magnitude : magnitude;
    if (value < INT_MIN || value > INT_MAX)
        return std::nullopt;
    return static_cast<int>(value);
}

struct StoreFile
{
    Model values;
    std::vector<std::string> keysInOrder;
};

// What a store file holds, or nothing when it is damaged.
std::optional<StoreFile> readStoreFile(std::string_view file)
{
    if (file.find('\0') != std::string_view::npos)
        return std::nullopt;
    std::vector<std::string_view> lines;
    for (std::string_view rest = file; !rest.empty();) {
        const std::size_t newline = rest.find('\n');
        lines.push_back(rest.substr(0, newline));
        rest = newline == std::string_view::npos ? std::string_view() : rest.substr(newline + 1);
    }
    if (lines.empty() || lines[0] != header)
        return std::nullopt;
    StoreFile store;
    std::size_t i = 1;
    for (; i < lines.size() && lines[i] != endMarker; ++i) {
        const std::string_view line = lines[i];
        if (line.empty() || line[0] == '#')
            continue;
        const std::string_view type = line.substr(0, 2);
        const std::size_t equals = line.find('=');
        if ((type != "i:" && type != "s:") || equals == std::string_view::npos || equals < 2)
            return std::nullopt;
        std::optional<std::string> key = unescape(line.substr(2, equals - 2));
        if (!key || key->empty() || store.values.count(*key) != 0)
            return std::nullopt;
        const std::string_view written = line.substr(equals + 1);
        if (type == "i:") {
            std::optional<int> number = decimalInt(written);
            if (!number)
                return std::nullopt;
            store.values.emplace(*key, *number);
        } else {
            std::optional<std::string> text = unescape(written);
            if (!text)
                return std::nullopt;
            store.values.emplace(*key, *text);
        }
        store.keysInOrder.push_back(*key);
    }
    // The end marker must be there, and be the last line.
    if (i + 1 != lines.size())
        return std::nullopt;
    return store;
}

// --- the store ------------------------------------------------------------------------

class StoreRandom : public ::testing::Test
{
protected:
    void SetUp() override { eConfig::reload(); }
    void TearDown() override { eConfig::reload(); }

    fs::path storeFile() const { return root.path() / "var/tuxbox/config/boxhost.conf"; }

    // Loads the store afresh; `warnings` gets what loading it logged.
    static eConfig *reloaded(std::vector<std::string> &warnings)
    {
        eConfig::reload();
        const std::uint64_t before = boxlog::lastSequence();
        eConfig *config = eConfig::getInstance();
        warnings = warningsSince(before);
        return config;
    }

    // Checks that `config` holds what `model` says for every key in `keys`:
    // the value with its type, or nothing.
    static void expectHolds(const eConfig &config, const Model &model, const std::set<std::string> &keys)
    {
        for (const std::string &key : keys) {
            SCOPED_TRACE("key " + printable(key));
            auto expected = model.find(key);
            int number = 12345;
            eString text = "<untouched>";
            char *copy = nullptr;
            const int gotNumber = config.getKey(key.c_str(), number);
            const int gotText = config.getKey(key.c_str(), text);
            const int gotCopy = config.getKey(key.c_str(), copy);
            if (expected != model.end() && std::holds_alternative<int>(expected->second)) {
                EXPECT_EQ(gotNumber, 0);
                EXPECT_EQ(number, std::get<int>(expected->second));
            } else {
                EXPECT_EQ(gotNumber, -1);
                EXPECT_EQ(number, 12345);
            }
            if (expected != model.end() && std::holds_alternative<std::string>(expected->second)) {
                EXPECT_EQ(gotText, 0);
                EXPECT_EQ(gotCopy, 0);
                EXPECT_EQ(printable(text), printable(std::get<std::string>(expected->second)));
                EXPECT_EQ(copy != nullptr ? printable(copy) : "<null>", printable(text));
            } else {
                EXPECT_EQ(gotText, -1);
                EXPECT_EQ(gotCopy, -1);
                EXPECT_EQ(text, "<untouched>");
                EXPECT_EQ(copy, nullptr);
            }
            std::free(copy);
        }
    }

    // The store file holds exactly `model`, sorted by key, with every control
    // byte escaped.
    void expectFileHolds(const Model &model) const
    {
        const std::string contents = readFile(storeFile());
        SCOPED_TRACE("store file: " + printable(contents));
        std::optional<StoreFile> written = readStoreFile(contents);
        ASSERT_TRUE(written.has_value());
        EXPECT_TRUE(written->values == model);
        EXPECT_TRUE(std::is_sorted(written->keysInOrder.begin(), written->keysInOrder.end()));
        const auto raw = std::find_if(contents.begin(), contents.end(), [](char c) {
            return c != '\n' && (static_cast<unsigned char>(c) < 0x20 || c == '\x7f');
        });
        EXPECT_TRUE(raw == contents.end()) << "unescaped byte at " << raw - contents.begin();
    }

    TempBoxRoot root;
};

TEST_F(StoreRandom, RandomChangesAndReloadsMatchAPlainMap)
{
    for (std::uint32_t seed = 1; seed <= 6; ++seed) {
        Random random(seed);
        SCOPED_TRACE("seed " + std::to_string(seed));
        fs::remove(storeFile());
        std::vector<std::string> warnings;
        eConfig *config = reloaded(warnings);

        std::vector<std::string> keys;
        for (int n = 0; n < 20; ++n)
            keys.push_back(randomText(random, true));
        const std::set<std::string> allKeys(keys.begin(), keys.end());
        Model model;
        std::string steps;
        for (int step = 0; step < 150; ++step) {
            const std::string key = random.oneOf(keys);
            const std::size_t what = random.between(0, 99);
            std::string did;
            if (what < 35) {
                const std::string text = randomText(random, false);
                did = "setKey(" + printable(key) + ", \"" + printable(text) + "\")";
                EXPECT_EQ(random.chance(0.5) ? config->setKey(key.c_str(), text)
                                             : config->setKey(key.c_str(), text.c_str()),
                          0)
                    << did;
                model[key] = text;
            } else if (what < 60) {
                const int number = random.number();
                did = "setKey(" + printable(key) + ", " + std::to_string(number) + ")";
                EXPECT_EQ(config->setKey(key.c_str(), number), 0) << did;
                model[key] = number;
            } else if (what < 78) {
                did = "delKey(" + printable(key) + ")";
                EXPECT_EQ(config->delKey(key.c_str()), model.erase(key) == 1 ? 0 : -1) << did;
            } else if (what < 85 && model.count(key) != 0) {
                // The value it has already: nothing to write.
                did = "setKey(" + printable(key) + ", " + describe(model[key]) + ") again";
                const std::string before = readFile(storeFile());
                if (const int *number = std::get_if<int>(&model[key])) {
                    EXPECT_EQ(config->setKey(key.c_str(), *number), 0) << did;
                } else {
                    EXPECT_EQ(config->setKey(key.c_str(), std::get<std::string>(model[key])), 0) << did;
                }
                EXPECT_EQ(readFile(storeFile()), before) << did;
            } else if (what < 92) {
                did = "refused calls";
                EXPECT_EQ(config->setKey("", 1), -1);
                EXPECT_EQ(config->setKey("", "x"), -1);
                EXPECT_EQ(config->setKey(nullptr, 1), -1);
                EXPECT_EQ(config->setKey(key.c_str(), static_cast<const char *>(nullptr)), -1);
                EXPECT_EQ(config->setKey(key.c_str(), "nul\0inside"s), -1);
                EXPECT_EQ(config->delKey(nullptr), -1);
                EXPECT_EQ(config->delKey(""), -1);
            } else {
                did = "reload";
                config = reloaded(warnings);
                EXPECT_TRUE(warnings.empty()) << (warnings.empty() ? "" : warnings[0]);
                expectHolds(*config, model, allKeys);
                expectFileHolds(model);
            }
            steps += std::to_string(step) + ": " + did + "\n";
            if (HasFailure()) {
                ADD_FAILURE() << "steps so far:\n" << steps;
                return;
            }
        }
        config = reloaded(warnings);
        EXPECT_TRUE(warnings.empty());
        expectHolds(*config, model, allKeys);
        expectFileHolds(model);
    }
}

// --- damaged files ----------------------------------------------------------------------

// `valid` with a few random bytes flipped, inserted or deleted, lines
// repeated, dropped or swapped, or the end cut off; `how` says what was done.
std::string damaged(Random &random, std::string text, std::string &how)
{
    const std::string_view interesting = "\n\\=#:x0-9is \r\t\x7f\xff";
    for (std::size_t rounds = random.between(1, 3); rounds > 0; --rounds) {
        const std::size_t at = text.empty() ? 0 : random.between(0, text.size() - 1);
        switch (random.between(0, 6)) {
        case 0:
            if (text.empty())
                break;
            text[at] = static_cast<char>(text[at] ^ (1 << random.between(0, 7)));
            how += "flip a bit at " + std::to_string(at) + "; ";
            break;
        case 1:
            if (text.empty())
                break;
            text[at] = random.chance(0.1) ? '\0' : random.oneOf(interesting);
            how += "replace byte " + std::to_string(at) + "; ";
            break;
        case 2:
            text.insert(at, 1, random.chance(0.1) ? '\0' : random.oneOf(interesting));
            how += "insert at " + std::to_string(at) + "; ";
            break;
        case 3: {
            const std::size_t count = random.between(1, 4);
            text.erase(at, count);
            how += "delete " + std::to_string(count) + " at " + std::to_string(at) + "; ";
            break;
        }
        case 4:
            text.resize(random.between(0, text.size()));
            how += "cut to " + std::to_string(text.size()) + "; ";
            break;
        default: {
            // Work on whole lines.
            std::vector<std::string> lines;
            for (std::size_t begin = 0; begin < text.size();) {
                const std::size_t end = std::min(text.find('\n', begin), text.size());
                lines.push_back(text.substr(begin, end + 1 - begin));
                begin = end + 1;
            }
            if (lines.empty())
                break;
            const std::size_t a = random.between(0, lines.size() - 1);
            const std::size_t b = random.between(0, lines.size() - 1);
            const std::size_t kind = random.between(0, 2);
            if (kind == 0)
                lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(a), lines[b]);
            else if (kind == 1)
                lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(a));
            else
                std::swap(lines[a], lines[b]);
            how += std::string(kind == 0   ? "repeat line "
                               : kind == 1 ? "drop line "
                                           : "swap lines ")
                   + std::to_string(a) + "/" + std::to_string(b) + "; ";
            text.clear();
            for (const std::string &line : lines)
                text += line;
            break;
        }
        }
    }
    return text;
}

std::set<std::string> asideFiles(const fs::path &directory)
{
    std::set<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(directory)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("boxhost.conf.corrupt", 0) == 0)
            names.insert(name);
    }
    return names;
}

TEST_F(StoreRandom, DamagedFilesReadAsTheFormatSaysOrAreKeptAside)
{
    const std::uint32_t seed = 4242;
    Random random(seed);
    const fs::path directory = storeFile().parent_path();
    int stillValid = 0;
    int damagedCount = 0;
    for (int base = 0; base < 8; ++base) {
        // A valid store, written by the store itself.
        fs::remove(storeFile());
        std::vector<std::string> warnings;
        eConfig *config = reloaded(warnings);
        Model model;
        for (std::size_t n = random.between(0, 10); n > 0; --n) {
            const std::string key = randomText(random, true);
            if (random.chance(0.5)) {
                model[key] = random.number();
                ASSERT_EQ(config->setKey(key.c_str(), std::get<int>(model[key])), 0);
            } else {
                model[key] = randomText(random, false);
                ASSERT_EQ(config->setKey(key.c_str(), std::get<std::string>(model[key])), 0);
            }
        }
        const std::string valid = readFile(storeFile());
        ASSERT_TRUE(readStoreFile(valid).has_value()) << printable(valid);
        std::map<std::string, std::string> keptAside; // name -> the damaged bytes it was given

        for (int attempt = 0; attempt < 40; ++attempt) {
            std::string how;
            const std::string bytes = damaged(random, valid, how);
            SCOPED_TRACE("seed " + std::to_string(seed) + ", store " + std::to_string(base) + ", attempt "
                         + std::to_string(attempt) + ": " + how + "\nvalid file: " + printable(valid)
                         + "\ndamaged file: " + printable(bytes));
            std::optional<StoreFile> expected = readStoreFile(bytes);
            eConfig::reload();
            writeFile(storeFile(), bytes);
            const std::set<std::string> asideBefore = asideFiles(directory);
            config = reloaded(warnings);
            const std::set<std::string> asideAfter = asideFiles(directory);
            std::vector<std::string> added;
            std::set_difference(asideAfter.begin(), asideAfter.end(), asideBefore.begin(), asideBefore.end(),
                                std::back_inserter(added));

            Model afterSentinel;
            if (expected) {
                // Still valid: it loads quietly and is left where it is.
                ++stillValid;
                EXPECT_TRUE(warnings.empty()) << warnings.front();
                EXPECT_TRUE(added.empty());
                EXPECT_EQ(readFile(storeFile()), bytes);
                afterSentinel = expected->values;
            } else {
                // Damaged: one warning, the store starts empty, the bytes are kept.
                ++damagedCount;
                ASSERT_EQ(warnings.size(), 1u);
                EXPECT_FALSE(fs::exists(storeFile()));
                ASSERT_EQ(added.size(), 1u);
                const fs::path aside = directory / added[0];
                EXPECT_TRUE(added[0] == "boxhost.conf.corrupt" || added[0].rfind("boxhost.conf.corrupt.", 0) == 0)
                    << added[0];
                EXPECT_EQ(printable(readFile(aside)), printable(bytes));
                EXPECT_NE(warnings[0].find(aside.string()), std::string::npos) << warnings[0];
                keptAside.emplace(added[0], bytes);
            }
            // Writing one more key shows everything the store holds.
            std::string sentinel = "/sentinel";
            while (afterSentinel.count(sentinel) != 0)
                sentinel += "+";
            ASSERT_EQ(config->setKey(sentinel.c_str(), 7), 0);
            afterSentinel[sentinel] = 7;
            expectFileHolds(afterSentinel);
            if (HasFatalFailure())
                return;
        }
        // No damaged copy was lost or changed by the later ones.
        for (const auto &[name, bytes] : keptAside) {
            EXPECT_EQ(readFile(directory / name), bytes) << name;
            fs::remove(directory / name);
        }
    }
    // Both outcomes came up often.
    EXPECT_GE(stillValid, 20);
    EXPECT_GE(damagedCount, 100);
}

} // namespace
