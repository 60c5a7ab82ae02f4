# Cross build for 64-bit Arm with Debian's compiler (g++-aarch64-linux-gnu); tests run under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# Header-only libraries (Boost, CLI11, nlohmann-json) serve every architecture; they lie in /usr/include, which is
# searched last, behind the headers of the target's own C library.
set(CMAKE_C_FLAGS_INIT "-idirafter /usr/include")
set(CMAKE_CXX_FLAGS_INIT "-idirafter /usr/include")

set(LUTC_CROSS_SYSROOT /usr/aarch64-linux-gnu CACHE PATH "Where the target's own libraries lie")
set(CMAKE_FIND_ROOT_PATH ${LUTC_CROSS_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)

# Compiled packages of the build machine are of no use here: these modules build them from source instead.
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/cross)

find_program(LUTC_QEMU NAMES qemu-aarch64 qemu-aarch64-static)
if(LUTC_QEMU)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${LUTC_QEMU} -L ${LUTC_CROSS_SYSROOT})
endif()
