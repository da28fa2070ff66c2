# i386: 32 bits, members of 64 bits aligned to 4. Runs natively on a 64-bit machine, with its own libraries.
set(QEX_TRIPLE i686-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR i686)
# Compute single precision in single precision, not in the wide registers of the x87.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-Wl,--dynamic-linker=/usr/i686-linux-gnu/lib/ld-linux.so.2,-rpath=/usr/i686-linux-gnu/lib")
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-debian.cmake")
