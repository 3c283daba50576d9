// Starting, stopping and watching the external recorder.

#include "record/recorder.h"

#include "record/shell_word.h"

#include "dialogs/message_boxes.h"

#include "base/boxpath.h"
#include "base/elog.h"
#include "base/messages.h"
#include "model/my_listbox.h"
#include "system/pconfig.h"
#include "system/putils.h"

namespace {

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
        showNotice(eString(translated("directory")) + " " + translated("not found") + "\n\n" + directory,
                   translated("Info"));
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
    if (!askYesNo(question, translated("Message")))
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
    if (!askYesNo(question, "Streamripper"))
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
