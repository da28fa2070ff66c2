# Debian's cross compilers, g++-<triple>: the common part of cmake/toolchain-<platform>.cmake. Each of those
# sets QEX_TRIPLE first; QEX_SYSTEM where that is not Linux, and QEX_COMPILER_VARIANT where the names of the compilers
# end with one.
if(NOT QEX_SYSTEM)
  set(QEX_SYSTEM Linux)
endif()
set(CMAKE_SYSTEM_NAME ${QEX_SYSTEM})
set(CMAKE_C_COMPILER ${QEX_TRIPLE}-gcc${QEX_COMPILER_VARIANT})
set(CMAKE_CXX_COMPILER ${QEX_TRIPLE}-g++${QEX_COMPILER_VARIANT})

# Use the libraries and packages of the platform, but the programs of this machine.
set(CMAKE_FIND_ROOT_PATH /usr/${QEX_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
