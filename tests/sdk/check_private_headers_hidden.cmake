# cmake -DSOURCE_DIR=<tree> -DCOMPILER=<c++> -DSDK_INCLUDE_DIRS=<dirs> -DWORK_DIR=<dir>
#       -P check_private_headers_hidden.cmake
# Asks the compiler, with a plug-in's include path, whether it finds any host
# header outside host/include as the host's own sources name it
# ("net/curl_loop_driver.h"); fails if it finds one. One file of
# __has_include tests, compiled once: what counts is whether the header is
# found, not whether it compiles, and no compiler message is parsed but ours.
cmake_minimum_required(VERSION 3.25)
file(GLOB_RECURSE headers RELATIVE ${SOURCE_DIR}/host ${SOURCE_DIR}/host/*.h)
list(FILTER headers EXCLUDE REGEX "^include/")
list(LENGTH headers count)
if(count EQUAL 0)
    message(FATAL_ERROR "no private headers found under ${SOURCE_DIR}/host")
endif()
set(include_flags)
foreach(dir IN LISTS SDK_INCLUDE_DIRS)
    list(APPEND include_flags -I${dir})
endforeach()

# The SDK itself must be found, or the test would prove nothing.
set(probe "#if !__has_include(\"gui/ewidget.h\")\n#error tarnwave-sdk-missing\n#endif\n")
foreach(header IN LISTS headers)
    string(APPEND probe "#if __has_include(\"${header}\")\n#error tarnwave-reachable: ${header}\n#endif\n")
endforeach()
file(MAKE_DIRECTORY ${WORK_DIR})
file(WRITE ${WORK_DIR}/private_headers.cpp "${probe}")
execute_process(COMMAND ${COMPILER} -std=c++20 -fsyntax-only ${include_flags} ${WORK_DIR}/private_headers.cpp
    RESULT_VARIABLE result ERROR_VARIABLE errors OUTPUT_QUIET)
if(result EQUAL 0)
    message(STATUS "${count} private headers are out of a plug-in's reach")
    return()
endif()
if(errors MATCHES "tarnwave-sdk-missing")
    message(FATAL_ERROR "the SDK headers are not on the include path given:\n${errors}")
endif()
string(REGEX MATCHALL "tarnwave-reachable: [^\r\n]*" reachable "${errors}")
if(NOT reachable)
    message(FATAL_ERROR "the check did not compile:\n${errors}")
endif()
# The compiler quotes each #error line as well as reporting it.
list(REMOVE_DUPLICATES reachable)
list(TRANSFORM reachable REPLACE "^tarnwave-reachable: " "")
list(JOIN reachable "\n  " report)
message(FATAL_ERROR "a plug-in can include these private headers:\n  ${report}")
