#ifndef TARNWAVE_HOST_BASE_BOXPATH_H
#define TARNWAVE_HOST_BASE_BOXPATH_H

#include <string>

// Every absolute path of the box ("/var/tuxbox/config/...", "/tmp/...") is mapped
// through boxPath. On the box the root is empty and paths stay as they are; the
// emulator and the tests put the box under a directory of their own.
//
// The root starts as the value of the environment variable TARNWAVE_ROOT (empty
// when unset) and can be replaced with setBoxRoot. A trailing '/' is dropped.

const std::string &boxRoot();
void setBoxRoot(std::string root);

// root + path for an absolute path; a relative path is returned unchanged.
std::string boxPath(const std::string &path);

#endif
