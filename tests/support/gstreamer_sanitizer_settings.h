#ifndef TARNWAVE_TESTS_SUPPORT_GSTREAMER_SANITIZER_SETTINGS_H
#define TARNWAVE_TESTS_SUPPORT_GSTREAMER_SANITIZER_SETTINGS_H

// The sanitizer settings of a test or benchmark program that runs GStreamer;
// include this file in exactly one source file of each such program. The
// functions are only called in a sanitizer build.

#include <cstdlib>
#include <unistd.h>

// GLib's slice allocator keeps freed and leaked blocks alike inside big chunks
// that stay reachable, so a GStreamer object that the host forgot to release
// would go unnoticed. With plain malloc it is reported like any other leak.
// GLib reads the setting when it is loaded, so the program starts itself once
// more with it when it is not set yet. Call it first thing in main.
inline void useMallocForGlibSlices(char **argv)
{
    if (std::getenv("G_SLICE") == nullptr) {
        setenv("G_SLICE", "always-malloc", 1);
        execv("/proc/self/exe", argv); // returns only when it fails: go on as we are
    }
}

// GLib and GStreamer are built without frame pointers, so the fast unwinder
// loses an allocation's stack inside them: the stacks are taken the slow way,
// which lets the suppressions below name the one place each leak comes from
// instead of hiding every allocation made through GLib.
extern "C" const char *__asan_default_options()
{
    return "fast_unwind_on_malloc=0:malloc_context_size=20";
}

// Memory that GLib and GStreamer's plug-ins give up on purpose or lose in their
// own threads. Leaks of the host's own code are still reported: no pattern
// names a host library or function.
// - _dl_init: GLib's quark table grows by allocating a new block and keeping
//   the old one for readers that may still hold it; the first block is made by
//   GLib's library constructor. Where the loader has no symbols (a fresh
//   Debian machine) the frame only names its module, ld-linux.
// - libgstsoup.so: the HTTP source runs libsoup in a main loop of its own,
//   which leaves a socket source behind when a transfer is cancelled.
// - gst_structure_free: the HTTP source shares its libsoup session through a
//   GstContext held by the pipeline; freeing the pipeline's contexts drops the
//   session, whose teardown hands a small block to libsoup's thread that is
//   already gone.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:_dl_init\n"
           "leak:ld-linux\n"
           "leak:libgstsoup.so\n"
           "leak:gst_structure_free\n";
}

#endif
