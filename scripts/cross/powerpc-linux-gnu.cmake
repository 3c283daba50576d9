# CMake toolchain for the box: 32-bit big-endian PowerPC with Debian's
# powerpc-linux-gnu cross compiler. The libraries come from the sysroot that
# scripts/cross/build-sysroot makes (-DTARNWAVE_SYSROOT=DIR, or the environment
# variable of the same name); programs built here run under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR powerpc)

set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)

if(NOT TARNWAVE_SYSROOT AND DEFINED ENV{TARNWAVE_SYSROOT})
    set(TARNWAVE_SYSROOT "$ENV{TARNWAVE_SYSROOT}")
endif()
if(NOT TARNWAVE_SYSROOT)
    message(FATAL_ERROR "Set TARNWAVE_SYSROOT to the prefix that scripts/cross/build-sysroot printed")
endif()
# try_compile projects see the variable too.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TARNWAVE_SYSROOT)

# The C library of the cross compiler, and our libraries.
set(TARNWAVE_TARGET_LIBC /usr/powerpc-linux-gnu)
set(CMAKE_FIND_ROOT_PATH ${TARNWAVE_TARGET_LIBC} ${TARNWAVE_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_PREFIX_PATH ${TARNWAVE_SYSROOT})

# pkg-config looks only at the sysroot's .pc files, which name absolute paths.
set(ENV{PKG_CONFIG_LIBDIR} "${TARNWAVE_SYSROOT}/lib/pkgconfig:${TARNWAVE_SYSROOT}/share/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

# Build-time helpers and tests run under user-mode emulation in the sysroot's
# target root (the C library and a big-endian C.UTF-8 locale), with the
# sysroot's libraries where a box has its system libraries.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc -L ${TARNWAVE_SYSROOT}/target-root -E LD_LIBRARY_PATH=${TARNWAVE_SYSROOT}/lib)
