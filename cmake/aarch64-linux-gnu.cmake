# Toolchain file: cross-build for arm64 with Debian's multiarch packages.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
find_program(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static)  # ctest runs the tests with it
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
