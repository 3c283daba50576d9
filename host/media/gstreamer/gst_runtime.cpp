#include "media/gstreamer/gst_runtime.h"

#include "media/gstreamer/gst_handles.h"

#include "base/elog.h"

#include <gst/gst.h>

#include <mutex>

namespace boxmedia {

bool ensureGstreamer()
{
    static std::once_flag once;
    static bool ready = false;
    std::call_once(once, [] {
        GError *rawError = nullptr;
        ready = gst_init_check(nullptr, nullptr, &rawError) != FALSE;
        const GErrorHandle error(rawError);
        if (!ready)
            eWarning("media: GStreamer cannot start: %s", error ? error->message : "unknown reason");
        else
            eDebug("media: %s", GStringHandle(gst_version_string()).get());
    });
    return ready;
}

} // namespace boxmedia
