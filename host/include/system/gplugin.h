#ifndef TARNWAVE_HOST_SYSTEM_GPLUGIN_H
#define TARNWAVE_HOST_SYSTEM_GPLUGIN_H

// A plug-in's entry point: the one symbol the host looks up, by name, in a
// plug-in's shared library after loading it. A plug-in defines it once, with
// C linkage and default visibility (everything else of it built hidden):
//
//   GPLUGIN_ENTRY int gPlugin_exec(int command) { ... }
//
// The host calls it on the GUI thread, from inside its main loop, and waits
// for it to return. gPluginRun asks the plug-in to run: show its window, run
// it modally, and return when the user leaves it. Any other command is only
// answered: return at once without showing anything. The return value is
// logged by the host and means nothing else; return 0.

#define GPLUGIN_ENTRY extern "C" __attribute__((visibility("default")))

// The command with which the host's plug-in menu starts a plug-in.
inline constexpr int gPluginRun = 301;

// The entry point, as the host finds it.
using gPluginEntry = int (*)(int command);

extern "C" int gPlugin_exec(int command);

#endif
