// The status tick: once a second the status bar shows whether the station
// plays and what title it sends, the recording mark blinks while the recorder
// runs and its messages are shown, and after a time without keys the window
// shrinks to the compact bar or hides in background mode.

#include "plugin/ctarnwave.h"
#include "plugin/ctarnwavehide.h"
#include "record/recorder.h"

#include "base/boxpath.h"
#include "base/econfig.h"
#include "base/elog.h"
#include "base/messages.h"
#include "base/whole_file.h"
#include "gui/emessagebox.h"
#include "media/eservice.h"

#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>

// Toggled on every tick while a recording runs: the mark is off on one tick
// and on on the next, starting with off.
static int recordBlink = 0;

namespace {

// "/tarnwave/autohide": what happens after a time without keys.
constexpr int AUTOHIDE_NOTHING = 60;
constexpr int AUTOHIDE_SMALLER = 61; // shrink to the compact bar
constexpr int AUTOHIDE_HIDE = 62; // hide into background mode

// Ticks without a key before the window shrinks or hides: the count before
// the tick's own increment is compared, so it happens on the 17th tick.
constexpr int idleTicksAllowed = 15;

// The file the recorder script leaves its complaints in.
constexpr const char *recorderMessageFile = "/tmp/.streamdebug";

// A message file that has been shown but could not be deleted; it is not
// shown again until it changes, so that it cannot nag every second.
struct FileIdentity
{
    dev_t device;
    ino_t inode;
    off_t size;
    timespec modified;

    bool operator==(const FileIdentity &other) const
    {
        return device == other.device && inode == other.inode && size == other.size
               && modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
    }
};
std::optional<FileIdentity> undeletableMessageFile;

// The whole text of the recorder's message file, each line followed by "\n";
// nothing when there is no such file. Anything but a regular file (a FIFO, a
// device, a directory) counts as no file, and is never waited for.
std::optional<eString> readRecorderMessages(const std::string &path, FileIdentity &identity)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    identity = FileIdentity{status.st_dev, status.st_ino, status.st_size, status.st_mtim};
    if (undeletableMessageFile && *undeletableMessageFile == identity)
        return std::nullopt;
    std::string text;
    if (boxfile::readWholeFile(path, text) != 0)
        return std::nullopt;
    // Lines joined, each followed by "\n": only a last line without one lacks it.
    if (!text.empty() && text.back() != '\n')
        text += '\n';
    return eString(text);
}

// Shows what the recorder left in its message file, in a modal box, and
// deletes the file once the box has been closed.
void showRecorderMessages()
{
    const std::string path = boxPath(recorderMessageFile);
    FileIdentity identity{};
    const std::optional<eString> text = readRecorderMessages(path, identity);
    if (!text)
        return;

    eMessageBox box(*text, "Streamripper", 20, 1, 0);
    box.show();
    box.exec();
    box.hide();

    if (::unlink(path.c_str()) != 0) {
        eWarning("[TWV] cannot delete %s: the recorder's messages stay until it changes", path.c_str());
        undeletableMessageFile = identity;
    }
}

} // namespace

void Ctarnwave::Sstatus()
{
    // Playback: play or pause icon, and the title the stream announces. A
    // handler that reports trouble is asked again on the next tick.
    if (stream && stream->getState() == 0) {
        if (stream->getInfo(0) == translated("playing...")) {
            px_play->show();
            px_pause->hide();
        } else {
            px_pause->show();
            px_play->hide();
        }
        lb_info->setText(eString(translated("title")) + ": " + stream->getInfo(1));
    } else {
        px_play->hide();
        px_pause->hide();
        lb_station->setText("");
        lb_title->setText("");
        lb_info->setText("");
    }

    // Recording: the blinking mark, the recorder key's icon and its messages.
    if (checksripper()) {
        recordBlink ^= 1;
        if (recordBlink == 1)
            px_record->hide();
        else
            px_record->show();
        px_key12->show();
        showRecorderMessages();
    } else {
        px_record->hide();
        px_key12->hide();
    }

    // Automatic hiding; nothing is counted while the window is hidden.
    int autohide = AUTOHIDE_NOTHING;
    eConfig::getInstance()->getKey("/tarnwave/autohide", autohide);
    if (isVisible()) {
        if (autohide == AUTOHIDE_SMALLER) {
            if (idleTicks++ > idleTicksAllowed && fullView)
                switch_window(false);
        } else if (autohide == AUTOHIDE_HIDE) {
            if (idleTicks++ > idleTicksAllowed) {
                hide();
                Ctarnwavehide background;
                background.show();
                background.exec();
                background.hide();
                show();
                idleTicks = 0;
            }
        }
    }

    // One pending tick at a time: the next one is planned only now, after a
    // message box or background mode has ended.
    statusTimer->start(1000, true);
}
