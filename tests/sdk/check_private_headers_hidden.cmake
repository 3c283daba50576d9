# cmake -DSOURCE_DIR=<tree> -DCOMPILER=<c++> -DSDK_INCLUDE_DIRS=<dirs> -DWORK_DIR=<dir>
#       -P check_private_headers_hidden.cmake
# Compiles, for every host header outside host/include, a file that includes it
# as the host's own sources do ("net/curl_loop_driver.h"), with a plug-in's
# include path; fails if any of them is found.
cmake_minimum_required(VERSION 3.25)
file(GLOB_RECURSE headers RELATIVE ${SOURCE_DIR}/host ${SOURCE_DIR}/host/*.h)
list(FILTER headers EXCLUDE REGEX "^include/")
set(include_flags)
foreach(dir IN LISTS SDK_INCLUDE_DIRS)
    list(APPEND include_flags -I${dir})
endforeach()
file(MAKE_DIRECTORY ${WORK_DIR})
set(reachable)
foreach(header IN LISTS headers)
    string(MAKE_C_IDENTIFIER ${header} id)
    set(source ${WORK_DIR}/${id}.cpp)
    file(WRITE ${source} "#include \"${header}\"\n")
    execute_process(COMMAND ${COMPILER} -std=c++20 -fsyntax-only ${include_flags} ${source}
        RESULT_VARIABLE result ERROR_VARIABLE errors OUTPUT_QUIET)
    if(result EQUAL 0 OR NOT errors MATCHES "No such file")
        list(APPEND reachable ${header})
    endif()
endforeach()
list(LENGTH headers count)
if(count EQUAL 0)
    message(FATAL_ERROR "no private headers found under ${SOURCE_DIR}/host")
endif()
if(reachable)
    list(JOIN reachable "\n  " report)
    message(FATAL_ERROR "a plug-in can include these private headers:\n  ${report}")
endif()
message(STATUS "${count} private headers are out of a plug-in's reach")
