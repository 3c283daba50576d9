# cmake -DSOURCE_DIR=<tree> -P check_include_rules.cmake
# Fails, naming each file and line, when
# - an SDK header (host/include) includes a header that is neither the
#   standard library's, a listed system header nor libsigc++'s, or a quoted
#   header that is not in the SDK;
# - a plug-in source includes a host header that is not in the SDK, by a path
#   from the tree's root ("host/...") or a relative one ("../host/..."), or a
#   library that the host keeps to itself.
cmake_minimum_required(VERSION 3.25)
set(sdk_dir ${SOURCE_DIR}/host/include)
set(system_headers poll.h sys/types.h libintl.h sigc++/sigc++.h)
set(hidden_libraries "^(curl/|expat|gst/|glib|SDL|ft2build|freetype|png|httplib|lame/)")
set(plugin_folders plugin directory model favourites record dialogs examples tests/e2e/test_plugin)
set(problems)

function(includes_of file out)
    file(STRINGS ${file} lines REGEX "^[ \t]*#[ \t]*include")
    set(${out} "${lines}" PARENT_SCOPE)
endfunction()

file(GLOB_RECURSE sdk_headers ${sdk_dir}/*.h)
foreach(header IN LISTS sdk_headers)
    includes_of(${header} lines)
    foreach(line IN LISTS lines)
        if(line MATCHES "<([^>]+)>")
            set(name ${CMAKE_MATCH_1})
            if(NOT name MATCHES "^[a-z_]+$" AND NOT name IN_LIST system_headers)
                list(APPEND problems "${header}: includes <${name}>, not a standard or listed header")
            endif()
        elseif(line MATCHES "\"([^\"]+)\"")
            if(NOT EXISTS ${sdk_dir}/${CMAKE_MATCH_1})
                list(APPEND problems "${header}: includes \"${CMAKE_MATCH_1}\", which is not in the SDK")
            endif()
        endif()
    endforeach()
endforeach()

# Whether a quoted include of `source`, looked up beside it or from the tree's
# root, names a host header outside the SDK.
function(reaches_past_sdk source name out)
    get_filename_component(source_dir ${source} DIRECTORY)
    set(${out} FALSE PARENT_SCOPE)
    foreach(base IN ITEMS ${source_dir} ${SOURCE_DIR})
        get_filename_component(path ${base}/${name} REALPATH)
        if(EXISTS ${path} AND path MATCHES "^${SOURCE_DIR}/host/" AND NOT path MATCHES "^${sdk_dir}/")
            set(${out} TRUE PARENT_SCOPE)
        endif()
    endforeach()
endfunction()

foreach(folder IN LISTS plugin_folders)
    file(GLOB_RECURSE sources ${SOURCE_DIR}/${folder}/*.cpp ${SOURCE_DIR}/${folder}/*.h)
    foreach(source IN LISTS sources)
        includes_of(${source} lines)
        foreach(line IN LISTS lines)
            set(past_sdk FALSE)
            if(line MATCHES "\"([^\"]+)\"")
                reaches_past_sdk(${source} ${CMAKE_MATCH_1} past_sdk)
            endif()
            if(past_sdk)
                list(APPEND problems "${source}: includes \"${CMAKE_MATCH_1}\", a host header outside the SDK")
            elseif(line MATCHES "<([^>]+)>" AND CMAKE_MATCH_1 MATCHES "${hidden_libraries}")
                list(APPEND problems "${source}: includes <${CMAKE_MATCH_1}>, a library of the host's own")
            endif()
        endforeach()
    endforeach()
endforeach()

if(problems)
    list(JOIN problems "\n" report)
    message(FATAL_ERROR "${report}")
endif()
list(LENGTH sdk_headers count)
message(STATUS "${count} SDK headers and the plug-in sources keep to the SDK")
