# s390x: 64 bits, big-endian.
set(QEX_TRIPLE s390x-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-s390x-static -L /usr/s390x-linux-gnu)
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-debian.cmake")
