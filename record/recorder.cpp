// Starting, stopping and watching the external recorder.

#include "record/recorder.h"

#include "record/shell_word.h"

#include "base/boxpath.h"
#include "base/elog.h"
#include "base/messages.h"
#include "gui/emessagebox.h"
#include "model/my_listbox.h"
#include "system/pconfig.h"
#include "system/putils.h"

namespace {

// A yes/no question with its icon, yes the default (flags 76, default 4).
constexpr int questionFlags = eMessageBox::btYes | eMessageBox::btNo | eMessageBox::iconQuestion;
// A notice with one OK button and the information icon (flags 17, default 1).
constexpr int noticeFlags = eMessageBox::btOK | eMessageBox::iconInfo;

int ask(const eString &text, const eString &caption, int flags, int defaultButton)
{
    eMessageBox box(text, caption, flags, defaultButton, 0);
    box.show();
    const int answer = box.exec();
    box.hide();
    return answer;
}

// The daemon's command line for the script with `arguments` (already shell
// words). The script's own path is quoted too: in the emulator it lies under
// a box root that may hold blanks.
eString scriptCommand(const eString &arguments)
{
    return shellWord(boxPath(recorderScriptPath)) + " " + arguments;
}

} // namespace

void startrecord(my_ListBox *row, eString directory)
{
    const eString url = row ? row->entry->url : eString();
    eDebug("[TWV] start record url=%s dir=%s", url.c_str(), directory.c_str());

    if (!pUtils::pFindFile(directory)) {
        ask(eString(translated("directory")) + " " + translated("not found") + "\n\n" + directory, translated("Info"),
            noticeFlags, eMessageBox::btOK);
        return;
    }
    if (url.empty())
        return;
    // A NUL would cut the command line short of its closing quote.
    if (url.find('\0') != eString::npos) {
        eWarning("[TWV] the station's address holds a NUL byte; not recorded");
        return;
    }

    const eString question = eString(translated("Start recording")) + " " + translated("from") + "\n" + url + "\n"
                             + translated("to") + "\n" + directory;
    if (ask(question, translated("Message"), questionFlags, eMessageBox::btYes) != eMessageBox::btYes)
        return;

    // The address goes to the script as one word, exactly as it is; the
    // directory does not: the script takes its own STREAMDIR.
    pUtils::send2pDaemon(scriptCommand(eString("start ") + shellWord(url)));
}

void stoprecord(bool fromExit)
{
    if (!checksripper())
        return;

    eString question = translated("Stop Record");
    if (fromExit)
        question += eString("\n") + translated("Tarnwave working in Background");
    if (ask(question, "Streamripper", questionFlags, eMessageBox::btYes) != eMessageBox::btYes)
        return; // the recorder keeps running, also after the plug-in has ended

    pUtils::send2pDaemon(scriptCommand("stop"));
    // The flag says "stopped" at once; the next look at the process table
    // corrects it if the recorder still lives.
    pConfig::getInstance()->setRecording(false);
}

bool checksripper()
{
    pConfig *config = pConfig::getInstance();
    config->setRecording(pUtils::is_running("streamripper"));
    return config->isRecording();
}
