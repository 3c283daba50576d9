// Watching the external recorder.

#include "record/recorder.h"

#include "system/pconfig.h"
#include "system/putils.h"

bool checksripper()
{
    pConfig *config = pConfig::getInstance();
    config->setRecording(pUtils::is_running("streamripper"));
    return config->isRecording();
}
