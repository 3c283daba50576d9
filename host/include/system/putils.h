#ifndef TARNWAVE_HOST_SYSTEM_PUTILS_H
#define TARNWAVE_HOST_SYSTEM_PUTILS_H

// The image's utilities for plug-ins: the HTTP user agent, looking for files
// under the box root, handing command lines to the image daemon, and looking
// at the process table.

#include "base/estring.h"

class pUtils
{
public:
    // The image's HTTP user agent, naming the box and its version:
    // "Tarnwave-Box/<version> (boxhost; Linux)".
    static eString pUserAgent();

    // True when the file or directory at the box path `path` exists (the path
    // is mapped through boxPath; a relative path is taken as it is).
    static bool pFindFile(const eString &path);

    // Hands `cmdline` to the image daemon, which runs it with /bin/sh -c in the
    // background: in a session of its own, with the box root as its working
    // directory ("/" when the root is empty), TARNWAVE_ROOT and BOX_ROOT set to
    // the box root, stdin, stdout and stderr on /dev/null as a daemon has
    // them, no other open descriptor of the host. Logs the line. Never waits
    // for the command: the daemon's process is handed to init, so nothing is
    // left to reap. Returns false when the command could not be started.
    static bool send2pDaemon(const eString &cmdline);

    // True while a process named `name` exists, as killall finds it: its
    // kernel name (comm) equals `name`; for a name longer than the 15 bytes
    // the kernel keeps, comm equals its first 15 bytes and the base name of
    // the process's argv[0] is the whole name. Processes that have ended but
    // not yet been reaped do not count. Reads one small file of /proc per
    // process; cheap enough for every status tick.
    static bool is_running(const eString &name);
};

#endif
