# Windows on x86-64: pointers of 64 bits, long of 32. MinGW-w64 with the threads of POSIX, which std::mutex needs.
# Programs contain their runtime. wine runs them, with settings of its own in the build folder.
set(QEX_SYSTEM Windows)
set(QEX_TRIPLE x86_64-w64-mingw32)
set(QEX_COMPILER_VARIANT -posix)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
find_program(QEX_WINE NAMES wine64 wine PATHS /usr/lib/wine)
if(QEX_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_COMMAND}" -E env "WINEPREFIX=${CMAKE_BINARY_DIR}/wine" WINEDEBUG=-all
      "WINEPATH=${CMAKE_BINARY_DIR}" WINEDLLOVERRIDES=mscoree,mshtml= "${QEX_WINE}")
endif()
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-debian.cmake")
