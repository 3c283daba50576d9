// The configuration store's file read at start, as the box reads it. Checked:
// a file that loads keeps its plainly written keys with their values, and
// what the store writes back loads again to the same store (written twice,
// the same bytes); a damaged file leaves an empty store and is kept aside
// byte for byte, and the store goes on working.

#include "fuzz_support.h"

#include "base/boxpath.h"
#include "base/econfig.h"
#include "support/temp_dir.h"

#include <charconv>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace {

constexpr const char *probeKey = "/fuzz/probe";

bool isThere(const fs::path &path)
{
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

// Every "i:KEY=NUMBER" and "s:KEY=TEXT" line without a backslash, before
// the end marker, is in the store as written.
void checkPlainLines(const eConfig &store, std::string_view contents)
{
    for (std::size_t start = contents.find('\n'); start != std::string_view::npos && start + 1 < contents.size();) {
        const std::size_t end = std::min(contents.find('\n', start + 1), contents.size());
        const std::string_view line = contents.substr(start + 1, end - start - 1);
        start = end < contents.size() ? end : std::string_view::npos;
        if (line == "# end of boxhost configuration")
            return;
        const std::size_t equals = line.find('=');
        if (line.size() < 2 || (line.substr(0, 2) != "i:" && line.substr(0, 2) != "s:") || equals == line.npos
            || line.find('\\') != line.npos)
            continue;
        const std::string key(line.substr(2, equals - 2));
        const std::string_view written = line.substr(equals + 1);
        if (line[0] == 'i') {
            int expected = 0;
            std::from_chars(written.data(), written.data() + written.size(), expected);
            int number = 0;
            FUZZ_CHECK(store.getKey(key.c_str(), number) == 0 && number == expected, fuzz::printable(line));
        } else {
            eString text;
            FUZZ_CHECK(store.getKey(key.c_str(), text) == 0 && text == written, fuzz::printable(line));
        }
    }
}

// The store as written now loads again without damage, and writing it once
// more gives the same bytes.
void checkWrittenStoreLoads(const fs::path &file)
{
    const std::string written = readFile(file);
    eConfig::reload();
    eConfig &store = *eConfig::getInstance();
    FUZZ_CHECK(isThere(file) && !isThere(file.string() + ".corrupt"),
               "the store's own file is damaged: " + fuzz::printable(written));
    int probe = 0;
    FUZZ_CHECK(store.getKey(probeKey, probe) == 0 && probe == 1, "the probe was lost");
    FUZZ_CHECK(store.setKey(probeKey, 2) == 0 && store.setKey(probeKey, 1) == 0, "cannot write the store");
    FUZZ_CHECK(readFile(file) == written, "written again differently: " + fuzz::printable(readFile(file)));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static TempBoxRoot root;
    const std::string_view contents = fuzz::text(data, size);
    const fs::path file = boxPath("/var/tuxbox/config/boxhost.conf");
    fs::remove_all(file.parent_path());
    fs::create_directories(file.parent_path());
    writeFile(file, std::string(contents));

    eConfig::reload();
    eConfig &store = *eConfig::getInstance();
    const bool damaged = !isThere(file);
    if (damaged) {
        const fs::path aside = file.string() + ".corrupt";
        FUZZ_CHECK(isThere(aside) && readFile(aside) == contents, "the damaged file was not kept as it was");
        fs::remove(aside); // so that a damaged file written by the store would show
        int number = 0;
        FUZZ_CHECK(store.getKey(probeKey, number) != 0, "a damaged store is not empty");
    } else {
        FUZZ_CHECK(readFile(file) == contents, "loading changed the file");
        checkPlainLines(store, contents);
    }
    FUZZ_CHECK(store.setKey(probeKey, 1) == 0, "cannot write the store");
    checkWrittenStoreLoads(file);
    eConfig::reload();
    return 0;
}
