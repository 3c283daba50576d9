// The status tick while the recorder runs: the blinking recording mark and
// the recorder key's icon, the recorder's message file shown in a box and
// deleted, and the recorder-signal key.

#include "unit/plugin/plugin_test_support.h"

#include "plugin/ctarnwave.h"

#include "base/messages.h"
#include "gui/emessagebox.h"
#include "gui/widgets/escreen.h"
#include "support/log_lines.h"
#include "support/named_sleeper.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"
#include "system/decoder.h"
#include "system/pconfig.h"
#include "system/putils.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace {

// What a message box opened inside a tick showed.
struct ShownBox
{
    std::string caption;
    std::string text;
    bool fileStillThere = false; // the message file while the box was up
    bool tickPlanned = true; // the status timer while the box was up
};

class RecordingStatus : public plugintest::ShownMainWindow
{
protected:
    void SetUp() override
    {
        ShownMainWindow::SetUp();
        stopTicks();
    }
    // The recording ends before the window closes, which would ask about it.
    void TearDown() override
    {
        recorder.reset();
        ShownMainWindow::TearDown();
    }

    // boxPath("/tmp/.streamdebug"), with the box's /tmp made.
    std::filesystem::path messageFile() const { return box.root.file("tmp/.streamdebug"); }

    void startRecorder()
    {
        recorder.emplace(processDir, "streamripper");
        ASSERT_TRUE(recorder->started());
        ASSERT_TRUE(within(std::chrono::seconds(2), [] { return pUtils::is_running("streamripper"); }));
    }

    // One tick; a message box it opens is noted and closed with OK.
    std::optional<ShownBox> tick()
    {
        std::optional<ShownBox> shown;
        box.app.post([&] {
            auto *messageBox = dynamic_cast<eMessageBox *>(eScreen::osd().activeWindow());
            if (!messageBox)
                return;
            const eWidget *text = messageBox->search("text");
            shown = ShownBox{messageBox->getText(), text ? text->getText() : "", std::filesystem::exists(messageFile()),
                             window->statusTimer->isActive()};
            eScreen::osd().handleKey("ok");
        });
        window->statusTimer->stop(); // what earlier ticks planned
        window->Sstatus();
        box.app.processOneEvent(0); // the check, when the tick opened no box
        return shown;
    }

    TempDir processDir;
    std::optional<NamedSleeper> recorder;
};

TEST_F(RecordingStatus, TheMarkIsOffOnTheFirstTickAndOnOnTheSecond)
{
    // Every test runs in a process of its own (CTest), so this is the first
    // tick of the loaded plug-in.
    startRecorder();
    window->px_record->show();
    std::vector<bool> marks;
    for (int i = 0; i < 4; ++i) {
        tick();
        marks.push_back(window->px_record->isVisible());
        EXPECT_TRUE(window->px_key12->isVisible()) << "tick " << i + 1;
    }
    EXPECT_EQ(marks, (std::vector<bool>{false, true, false, true}));
}

TEST_F(RecordingStatus, WhenRecordingEndsTheMarkAndTheKeyIconAreHidden)
{
    startRecorder();
    tick();
    tick();
    tick();
    ASSERT_TRUE(window->px_key12->isVisible());
    recorder.reset();
    tick();
    EXPECT_FALSE(window->px_record->isVisible());
    EXPECT_FALSE(window->px_key12->isVisible());
    EXPECT_FALSE(pConfig::getInstance()->isRecording());
}

TEST_F(RecordingStatus, WithoutARecorderNeitherIconShows)
{
    window->px_record->show();
    window->px_key12->show();
    tick();
    EXPECT_FALSE(window->px_record->isVisible());
    EXPECT_FALSE(window->px_key12->isVisible());
}

TEST_F(RecordingStatus, ATwoLineMessageFileIsShownWholeAndGoneAfterwards)
{
    startRecorder();
    writeFile(messageFile(), "a\nb\n");
    const std::optional<ShownBox> shown = tick();
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->caption, "Streamripper");
    EXPECT_EQ(shown->text, "a\nb\n");
    EXPECT_TRUE(shown->fileStillThere) << "deleted only after the box was closed";
    EXPECT_FALSE(shown->tickPlanned) << "the next tick waits for the box";
    EXPECT_FALSE(std::filesystem::exists(messageFile()));
    EXPECT_TRUE(window->statusTimer->isActive());
    EXPECT_FALSE(tick()) << "shown once";
}

TEST_F(RecordingStatus, ALastLineWithoutLineFeedGetsOne)
{
    startRecorder();
    writeFile(messageFile(), "a\nb");
    const std::optional<ShownBox> shown = tick();
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->text, "a\nb\n");
}

// A box whose clock was never set, or one still running after 2038, stamps
// files past what a 32-bit time can hold; the message is shown all the same.
TEST_F(RecordingStatus, AMessageFileStampedAfter2038IsShown)
{
    startRecorder();
    writeFile(messageFile(), "late\n");
    // Written by another program while the clock stood in 2040.
    const std::string stamp = "touch -m -d 2040-01-01T00:00:00 '" + messageFile().string() + "'";
    ASSERT_EQ(std::system(stamp.c_str()), 0);
    const std::optional<ShownBox> shown = tick();
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->text, "late\n");
}

TEST_F(RecordingStatus, AnEmptyMessageFileGivesAnEmptyMessage)
{
    startRecorder();
    writeFile(messageFile(), "");
    const std::optional<ShownBox> shown = tick();
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->text, "");
    EXPECT_FALSE(std::filesystem::exists(messageFile()));
}

TEST_F(RecordingStatus, TheMessageBoxUsesTheRecordersFlagsAsTheyAre)
{
    startRecorder();
    writeFile(messageFile(), "error: cannot write\n");
    std::vector<int> buttons;
    box.app.post([&] {
        if (auto *messageBox = dynamic_cast<eMessageBox *>(eScreen::osd().activeWindow())) {
            buttons = messageBox->buttons();
            eScreen::osd().handleKey("ok");
        }
    });
    window->Sstatus();
    // Flags 20: the information icon (16) and the Yes button (4).
    EXPECT_EQ(buttons, std::vector<int>{eMessageBox::btYes});
}

TEST_F(RecordingStatus, WithoutARecorderTheMessageFileIsLeftAlone)
{
    writeFile(messageFile(), "old complaint\n");
    EXPECT_FALSE(tick());
    EXPECT_TRUE(std::filesystem::exists(messageFile()));
}

TEST_F(RecordingStatus, NoMessageFileShowsNothing)
{
    startRecorder();
    EXPECT_FALSE(tick());
}

TEST_F(RecordingStatus, AMessageFileThatIsAFifoOrADirectoryIsNoMessageAndDoesNotBlock)
{
    startRecorder();
    std::filesystem::create_directories(messageFile().parent_path());
    ASSERT_EQ(mkfifo(messageFile().c_str(), 0600), 0);
    EXPECT_FALSE(tick()) << "a FIFO nobody writes to";
    std::filesystem::remove(messageFile());
    std::filesystem::create_directory(messageFile());
    EXPECT_FALSE(tick()) << "a directory";
    EXPECT_TRUE(std::filesystem::is_directory(messageFile()));
}

// Makes a file impossible to delete for this process: immutable for root, a
// read-only directory for anyone else. Undone by the destructor.
class UndeletableFile
{
public:
    explicit UndeletableFile(std::filesystem::path file) : m_file(std::move(file))
    {
        if (geteuid() == 0)
            m_done = setImmutable(true);
        else
            m_done = ::chmod(m_file.parent_path().c_str(), 0555) == 0;
    }
    ~UndeletableFile()
    {
        if (!m_done)
            return;
        if (geteuid() == 0)
            setImmutable(false);
        else
            ::chmod(m_file.parent_path().c_str(), 0755);
    }
    UndeletableFile(const UndeletableFile &) = delete;
    UndeletableFile &operator=(const UndeletableFile &) = delete;

    bool done() const { return m_done; }

private:
    bool setImmutable(bool immutable) const
    {
        const int fd = ::open(m_file.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            return false;
        int flags = 0;
        bool ok = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
        flags = immutable ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        ok = ok && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
        ::close(fd);
        return ok;
    }

    std::filesystem::path m_file;
    bool m_done = false;
};

TEST_F(RecordingStatus, AMessageFileThatCannotBeDeletedIsShownOnceUntilItChanges)
{
    startRecorder();
    writeFile(messageFile(), "disk full\n");
    std::optional<ShownBox> shown;
    {
        UndeletableFile locked(messageFile());
        if (!locked.done())
            GTEST_SKIP() << "this file system cannot make a file undeletable";
        const auto before = boxlog::lastSequence();
        shown = tick();
        ASSERT_TRUE(shown);
        EXPECT_EQ(shown->text, "disk full\n");
        EXPECT_EQ(warningsSince(before).size(), 1u) << "one warning names the file";
        EXPECT_FALSE(tick()) << "not shown again every second";
        EXPECT_FALSE(tick());
    }
    // The recorder writes something new: it is shown, and deleted this time.
    writeFile(messageFile(), "disk full\nstill full\n");
    shown = tick();
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->text, "disk full\nstill full\n");
    EXPECT_FALSE(std::filesystem::exists(messageFile()));
}

TEST_F(RecordingStatus, TheRecorderKeySignalsTheRecorderAndIsUsedUp)
{
    startRecorder();
    EXPECT_TRUE(eScreen::osd().handleKey("record"));
    // The stand-in recorder does not catch SIGUSR1, so the signal ends it.
    EXPECT_EQ(recorder->endingSignal(std::chrono::seconds(5)), SIGUSR1);
}

TEST_F(RecordingStatus, TheRecorderKeyWithoutARecorderIsUsedUpAndHarmless)
{
    EXPECT_TRUE(eScreen::osd().handleKey("record"));
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(window->fullView);
}

} // namespace
