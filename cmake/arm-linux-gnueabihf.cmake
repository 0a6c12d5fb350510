# 32-bit ARM, hard float: the target. `./dev arm` fetches the libraries into
# ZK_ARM_SYSROOT; programs run under qemu-user where the host is another machine.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

set(ZK_ARM_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/arm-sysroot" CACHE PATH
  "Folder into which the armhf packages of FreeType and libpng are unpacked")
get_filename_component(ZK_ARM_SYSROOT "${ZK_ARM_SYSROOT}" ABSOLUTE)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZK_ARM_SYSROOT)

set(zk_arm_libs "${ZK_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf")
set(CMAKE_FIND_ROOT_PATH "${ZK_ARM_SYSROOT}" /usr/arm-linux-gnueabihf)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-rpath-link,${zk_arm_libs}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${zk_arm_libs}")
set(CMAKE_CROSSCOMPILING_EMULATOR
  qemu-arm-static -L /usr/arm-linux-gnueabihf -E "LD_LIBRARY_PATH=${zk_arm_libs}")
