#ifndef TARNWAVE_TESTS_FUZZ_MAIN_WINDOW_BOX_H
#define TARNWAVE_TESTS_FUZZ_MAIN_WINDOW_BOX_H

// A box with Tarnwave's main window on it, made once for the whole fuzzing
// run (making a window for every input would leave little time for the
// parsers): a temporary box root, the application loop, which is never run,
// and the window, in English, opened on the favourites of an empty box.

#include "plugin/ctarnwave.h"

#include "base/ebase.h"
#include "support/temp_dir.h"

#include <string>
#include <vector>

namespace fuzz {

class MainWindowBox
{
public:
    // The one box of the process, made on first use.
    static MainWindowBox &instance();

    MainWindowBox(const MainWindowBox &) = delete;
    MainWindowBox &operator=(const MainWindowBox &) = delete;

    Ctarnwave &window() { return *window_; }
    // Sets the configuration's minimum bitrate for station lists (the file
    // is only written when the value changes).
    void setMinimumBitrate(int kbits);

private:
    MainWindowBox();
    ~MainWindowBox();

    TempBoxRoot root_;
    eApplication app_;
    Ctarnwave *window_;
};

// The records shown by a list's rows, top to bottom.
std::vector<const Listentry *> rowsOf(Ctarnwave &window, int list);

// A readable account of a list's rows, for failure messages.
std::string describeRows(Ctarnwave &window, int list);

} // namespace fuzz

#endif
