#ifndef TARNWAVE_TESTS_STATION_SERVER_PROCESS_CPU_H
#define TARNWAVE_TESTS_STATION_SERVER_PROCESS_CPU_H

#include <sys/types.h>

// The user and system CPU time a process has used so far, in seconds (from
// /proc), for judging how much of a core the server needs.
double cpuSecondsOf(pid_t pid);

#endif
