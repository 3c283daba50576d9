# cmake -DCOMPILER=... -DSOURCE=... -DSTAMP=... -DSDK_DIR=... -DINCLUDE_DIRS=a|b
#       -DSYSTEM_DIRS=c|d -P check_sdk_only.cmake
# Lists the headers SOURCE includes outside the system directories, as the
# compiler finds them with the SDK's include directories, and fails unless
# each lies in SDK_DIR. Writes the list as STAMP.d (a depfile) and touches
# STAMP when the source passes.
foreach(variable COMPILER SOURCE STAMP SDK_DIR INCLUDE_DIRS)
    if(NOT DEFINED ${variable} OR "${${variable}}" STREQUAL "")
        message(FATAL_ERROR "check_sdk_only: ${variable} is not set")
    endif()
endforeach()

set(arguments -std=c++20 -MM -MT ${STAMP} -MF ${STAMP}.d)
string(REPLACE "|" ";" include_dirs "${INCLUDE_DIRS}")
foreach(directory IN LISTS include_dirs)
    list(APPEND arguments -I${directory})
endforeach()
string(REPLACE "|" ";" system_dirs "${SYSTEM_DIRS}")
foreach(directory IN LISTS system_dirs)
    list(APPEND arguments -isystem ${directory})
endforeach()

execute_process(COMMAND ${COMPILER} ${arguments} ${SOURCE}
    RESULT_VARIABLE status ERROR_VARIABLE errors)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "check_sdk_only: ${SOURCE} does not compile with the SDK alone:\n${errors}")
endif()

# "stamp: source header header \<newline> header ..." -> the headers.
file(READ ${STAMP}.d rule)
string(REPLACE "\\\n" " " rule "${rule}")
string(FIND "${rule}" ": " colon)
math(EXPR colon "${colon} + 2")
string(SUBSTRING "${rule}" ${colon} -1 rule)
string(STRIP "${rule}" rule)
string(REGEX REPLACE "[ \t\n]+" ";" headers "${rule}")
list(REMOVE_ITEM headers ${SOURCE})

get_filename_component(sdk "${SDK_DIR}" REALPATH)
set(outside "")
foreach(header IN LISTS headers)
    get_filename_component(header "${header}" REALPATH)
    string(FIND "${header}" "${sdk}/" position)
    if(NOT position EQUAL 0)
        list(APPEND outside ${header})
    endif()
endforeach()
if(outside)
    list(JOIN outside "\n  " outside)
    message(FATAL_ERROR "check_sdk_only: ${SOURCE} includes headers that are not in the SDK (${SDK_DIR}):\n  ${outside}")
endif()
file(TOUCH ${STAMP})
