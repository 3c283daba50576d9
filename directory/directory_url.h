#ifndef TARNWAVE_DIRECTORY_DIRECTORY_URL_H
#define TARNWAVE_DIRECTORY_DIRECTORY_URL_H

#include "base/estring.h"

// The directory service's base URL, for list requests and tune-in addresses
// alike: the configuration key "/tarnwave/directory", by default the local
// station server. A setting, so that the box can be pointed at any server
// that speaks the directory's protocol.
eString directoryBaseUrl();

#endif
