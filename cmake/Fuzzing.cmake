# The fuzzing build (TARNWAVE_FUZZ, clang only): every library is instrumented
# for libFuzzer's coverage and built with AddressSanitizer and
# UndefinedBehaviorSanitizer; the targets in tests/fuzz link libFuzzer itself.
if(TARNWAVE_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang" OR NOT CMAKE_C_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "TARNWAVE_FUZZ needs clang (e.g. CMAKE_C_COMPILER=clang-14 CMAKE_CXX_COMPILER=clang++-14)")
    endif()
    if(TARNWAVE_SANITIZE)
        message(FATAL_ERROR "TARNWAVE_FUZZ brings its own sanitizers; leave TARNWAVE_SANITIZE off")
    endif()
    # Quicker to build than -O2 -g and as good for fuzzing; file and line in
    # reports; the code's assertions and the standard library's checks on.
    set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O1 -gline-tables-only")
    set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -gline-tables-only -D_GLIBCXX_ASSERTIONS")
    set(TARNWAVE_FUZZ_SANITIZERS address,undefined)
    add_compile_options(-fsanitize=fuzzer-no-link,${TARNWAVE_FUZZ_SANITIZERS} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${TARNWAVE_FUZZ_SANITIZERS})
endif()
