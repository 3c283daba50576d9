#include "directory/directory_url.h"

#include "base/econfig.h"

eString directoryBaseUrl()
{
    eString base = "http://127.0.0.1:8150";
    eConfig::getInstance()->getKey("/tarnwave/directory", base);
    return base;
}
