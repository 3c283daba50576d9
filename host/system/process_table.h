#ifndef TARNWAVE_HOST_SYSTEM_PROCESS_TABLE_H
#define TARNWAVE_HOST_SYSTEM_PROCESS_TABLE_H

// The look at the process table behind pUtils::is_running (host internal).
//
// Opening a file of /proc costs several microseconds, more than the rest of a
// status tick, and a box runs dozens of processes, most of them kernel
// threads. So the table remembers each process it has seen, by its number
// and the inode of its /proc directory (a reused number comes with a new
// inode): a kernel thread, which never runs a program, is not looked at
// again; a program's "comm" file is kept open and only read again, so that a
// process that ran exec shows its new name at once. What is remembered of a
// process that is gone is dropped (and its file closed) on the next look.
// At most maxKeptFiles files stay open; beyond that they are opened and
// closed each time.

#include <sys/types.h>

#include <cstddef>
#include <mutex>
#include <string_view>
#include <unordered_map>

#include <dirent.h>

namespace boxhost {

class ProcessTable
{
public:
    static constexpr std::size_t maxKeptFiles = 512;

    ProcessTable();
    ~ProcessTable();
    ProcessTable(const ProcessTable &) = delete;
    ProcessTable &operator=(const ProcessTable &) = delete;

    // True while a process named `name` exists (see pUtils::is_running).
    bool hasProcessNamed(std::string_view name);

    // How many comm files are kept open now (for tests).
    std::size_t keptFiles() const;

private:
    // What is known of one process between two looks.
    struct KnownProcess
    {
        ino_t inode; // of its /proc directory: another inode is another process
        bool kernelThread; // runs no program: its name need not be read
        int fd; // its comm file, kept open; -1 when not kept
        std::size_t seenInScan;
    };
    using KnownProcesses = std::unordered_map<pid_t, KnownProcess>;

    // Looks at a process for the first time: kernel thread or program.
    KnownProcesses::iterator learn(pid_t pid, const dirent &entry);
    void forget(KnownProcesses::iterator process);
    // The process's name into `buffer`; its length, 0 when it is gone.
    std::size_t readName(const KnownProcess &process, const char *directory, char *buffer, std::size_t size) const;
    void forgetProcessesNotSeen(std::size_t scan);

    mutable std::mutex m_mutex;
    DIR *m_proc = nullptr;
    KnownProcesses m_processes;
    std::size_t m_keptFiles = 0;
    std::size_t m_scans = 0;
};

} // namespace boxhost

#endif
