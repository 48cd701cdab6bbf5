# Debian's cross compiler for armhf (package g++-arm-linux-gnueabihf); what it builds runs here through qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# A note for objects of compilers before 2017; there are none here.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
