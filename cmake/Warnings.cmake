# Strict warnings for every target of the project; errors unless TARNWAVE_WERROR is off.
add_compile_options(
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
    -Wunused -Woverloaded-virtual -Wconversion -Wsign-conversion -Wnull-dereference
    -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough)
if(TARNWAVE_WERROR)
    add_compile_options(-Werror)
endif()
