# aarch64: 64 bits, little-endian, char is unsigned.
set(QEX_TRIPLE aarch64-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-aarch64-static -L /usr/aarch64-linux-gnu)
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-debian.cmake")
