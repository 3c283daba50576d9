# boxhost_add_plugin(<target> SOURCES <file>... [LIBS <library>...] [OUTPUT_NAME <name>])
# builds <target>.so (or <name>.so), a plug-in as the host loads it: a module
# for dlopen, linked against the host library (and LIBS), that exports its
# entry point gPlugin_exec and nothing else. Everything else is hidden, the
# static libraries linked in included, and the link fails when the plug-in
# calls something that neither the host nor LIBS provide.
set(BOXHOST_PLUGIN_EXPORTS ${CMAKE_CURRENT_LIST_DIR}/plugin_exports.map)

function(boxhost_add_plugin target)
    cmake_parse_arguments(ARG "" "OUTPUT_NAME" "SOURCES;LIBS" ${ARGN})
    add_library(${target} MODULE ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE boxhost ${ARG_LIBS})
    set_target_properties(${target} PROPERTIES
        PREFIX ""
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        LINK_DEPENDS ${BOXHOST_PLUGIN_EXPORTS})
    if(ARG_OUTPUT_NAME)
        set_target_properties(${target} PROPERTIES OUTPUT_NAME ${ARG_OUTPUT_NAME})
    endif()
    target_link_options(${target} PRIVATE
        -Wl,--version-script=${BOXHOST_PLUGIN_EXPORTS}
        -Wl,--exclude-libs,ALL
        -Wl,--no-undefined)
endfunction()
