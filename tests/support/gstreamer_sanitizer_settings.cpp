// The GStreamer sanitizer settings for a program that has no test main of its
// own to include them (the emulator in the sanitizer build).
#include "support/gstreamer_sanitizer_settings.h"
