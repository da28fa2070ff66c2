# Compiler settings shared by all targets, and the list of parts left out.

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
if(PROJECT_IS_TOP_LEVEL)
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
endif()

# Options that instrumentation adds to a compile or link line, as lists.
set(QEX_INSTRUMENT_COMPILE "")
set(QEX_INSTRUMENT_LINK "")
if(QEX_SANITIZE)
  list(APPEND QEX_INSTRUMENT_COMPILE -fsanitize=${QEX_SANITIZE} -fno-sanitize-recover=all
       -fno-omit-frame-pointer)
  list(APPEND QEX_INSTRUMENT_LINK -fsanitize=${QEX_SANITIZE})
endif()
if(QEX_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # A C program that links the library needs the C++ runtime of the sanitizer's reports.
  list(APPEND QEX_INSTRUMENT_LINK -fsanitize-link-c++-runtime -lstdc++)
endif()
if(QEX_FUZZ)
  # The library's edges are counted; only the targets link the engine itself.
  list(APPEND QEX_INSTRUMENT_COMPILE -fsanitize=fuzzer-no-link)
  list(APPEND QEX_INSTRUMENT_LINK -fsanitize=fuzzer-no-link)
endif()
if(QEX_COVERAGE)
  # Counters are atomic, for the tests that call the library from several threads.
  list(APPEND QEX_INSTRUMENT_COMPILE --coverage -O0 -fprofile-update=atomic)
  list(APPEND QEX_INSTRUMENT_LINK --coverage)
endif()

# The guard of the stack; an option of the link too, because some systems have it in a library of its own.
set(QEX_STACK_GUARD -fstack-protector-strong)

# qex_compile_options(TARGET): warnings, hardening, and the instrumentation asked for.
function(qex_compile_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow
                         ${QEX_STACK_GUARD} ${QEX_INSTRUMENT_COMPILE})
  target_link_options(${target} PRIVATE ${QEX_STACK_GUARD})
  # MinGW's g++ assumes a stack aligned to 32 octets and more; it is aligned to 16 (GCC bug 54412). The assembler
  # replaces the moves that would fault.
  target_compile_options(${target} PRIVATE $<$<PLATFORM_ID:Windows>:-Wa,-muse-unaligned-vector-move>)
  # GCC 12 sees overlapping copies inside std::string's operator+ that are not there (GCC bug 105651).
  target_compile_options(${target} PRIVATE
                         $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_GREATER_EQUAL:$<CXX_COMPILER_VERSION>,12>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
  if(QEX_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(NOT QEX_SANITIZE AND NOT QEX_COVERAGE)
    target_compile_options(${target} PRIVATE
                           $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE$<SEMICOLON>-D_FORTIFY_SOURCE=2>)
  endif()
endfunction()

# qex_link_options(TARGET SCOPE): link options of instrumentation. They are not part
# of the installed package: instrumented builds are not installed.
function(qex_link_options target scope)
  foreach(option IN LISTS QEX_INSTRUMENT_LINK)
    target_link_options(${target} ${scope} $<BUILD_INTERFACE:${option}>)
  endforeach()
endfunction()

# qex_harden(TARGET): for installed targets and their parts. Code can be loaded anywhere in memory, indirect
# calls and returns are checked where the processor can do it, every symbol is resolved before the first call,
# the relocation tables are read-only from then on, and the stack holds no code.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_cxx_compiler_flag(-fcf-protection QEX_HAS_CF_PROTECTION)
include(CheckLinkerFlag)
check_pie_supported(LANGUAGES CXX)
set(QEX_HARDENED_ELF "LINKER:-z,relro,-z,now,-z,noexecstack")
check_linker_flag(CXX "${QEX_HARDENED_ELF}" QEX_HAS_HARDENED_ELF)
set(QEX_HARDENED_DLL "LINKER:--dynamicbase,--high-entropy-va,--nxcompat,--no-insert-timestamp")
if(WIN32)
  check_linker_flag(CXX "${QEX_HARDENED_DLL}" QEX_HAS_HARDENED_DLL)
endif()
function(qex_harden target)
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  if(QEX_HAS_CF_PROTECTION)
    target_compile_options(${target} PRIVATE -fcf-protection)
  endif()
  target_link_options(${target} PRIVATE ${QEX_STACK_GUARD})
  if(QEX_HAS_HARDENED_ELF)
    target_link_options(${target} PRIVATE "${QEX_HARDENED_ELF}")
  endif()
  if(QEX_HAS_HARDENED_DLL)
    target_link_options(${target} PRIVATE "${QEX_HARDENED_DLL}")
  endif()
endfunction()

# qex_static_runtime(TARGET): installed targets contain the part of the C++ runtime that they use. A program in
# any language can then load the library next to its own C++ runtime, and start-up does not resolve the names of
# the whole runtime, a fifth of the time of one check. Instrumentation has runtimes of its own.
set(QEX_RUNTIME_IS_STATIC OFF)
if(QEX_STATIC_RUNTIME AND NOT QEX_SANITIZE AND NOT QEX_COVERAGE AND NOT QEX_FUZZ)
  include(CheckCXXSourceCompiles)
  set(CMAKE_REQUIRED_LINK_OPTIONS -static-libstdc++ -static-libgcc)
  check_cxx_source_compiles("#include <string>\nint main(int n, char**) { throw std::string(n, 'x'); }"
                            QEX_HAS_STATIC_RUNTIME)
  unset(CMAKE_REQUIRED_LINK_OPTIONS)
  set(QEX_RUNTIME_IS_STATIC ${QEX_HAS_STATIC_RUNTIME})
endif()
function(qex_static_runtime target)
  if(QEX_RUNTIME_IS_STATIC)
    # On Windows the runtime has more parts: threads, the guard of the stack.
    target_link_options(${target} PRIVATE -static-libstdc++ -static-libgcc $<$<PLATFORM_ID:Windows>:-static>)
  endif()
endfunction()

# qex_check_integers(TARGET): for sources of library and tool. Where QEX_CHECK_INTEGERS is on, integers that
# wrap or change in an implicit conversion are reported, except in the places listed as intended.
if(QEX_CHECK_INTEGERS)
  # Patterns of the list are regular expressions, except for `*`.
  string(REGEX REPLACE "[][.+?^$(){}|\\]" "\\\\\\0" source_pattern "${PROJECT_SOURCE_DIR}")
  configure_file(cmake/integers_meant.txt.in integers_meant.txt @ONLY)
endif()
function(qex_check_integers target)
  if(QEX_CHECK_INTEGERS)
    target_compile_options(${target} PRIVATE -fsanitize=integer,implicit-conversion
                           "-fsanitize-ignorelist=${PROJECT_BINARY_DIR}/integers_meant.txt"
                           -fno-sanitize-recover=all)
  endif()
endfunction()

# qex_unoptimized(TARGET): for tests, which check results and not how fast they are: most of the time that they take is
# the compiler's. What they test is as fast as ever: of an inline function that several objects have, the linker keeps
# the first, and here that is the library's.
function(qex_unoptimized target)
  # Fortified functions are for optimized code alone.
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo>:-O0 -U_FORTIFY_SOURCE>)
  get_target_property(type ${target} TYPE)
  get_target_property(libraries ${target} LINK_LIBRARIES)
  if(type STREQUAL "EXECUTABLE" AND "qex_core" IN_LIST libraries)
    target_link_options(${target} PRIVATE "LINKER:--whole-archive,$<TARGET_FILE:qex_core>,--no-whole-archive")
  endif()
endfunction()

# qex_by_folder(TARGET [SOURCE...]): where QEX_BY_FOLDER is on, compiles the target's sources of one folder as one, in a
# quarter of the time; with SOURCE, only of these. Names that are local to a file must then be unique in its folder.
function(qex_by_folder target)
  if(NOT QEX_BY_FOLDER)
    return()
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  set(sources ${ARGN})
  if(NOT sources)
    get_target_property(sources ${target} SOURCES)
  endif()
  foreach(source IN LISTS sources)
    get_filename_component(folder "${source}" DIRECTORY)
    file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}" "${folder}")
    string(MAKE_C_IDENTIFIER "${folder}" group)
    set_source_files_properties("${source}" PROPERTIES UNITY_GROUP "${group}")
  endforeach()
endfunction()

# qex_left_out(PART WHY): remembers a part that is not built.
function(qex_left_out part why)
  set_property(GLOBAL APPEND PROPERTY QEX_LEFT_OUT_LIST "${part}: ${why}")
endfunction()

function(qex_report_left_out)
  get_property(list GLOBAL PROPERTY QEX_LEFT_OUT_LIST)
  foreach(line IN LISTS list)
    message(STATUS "Left out - ${line}")
  endforeach()
  if(NOT list)
    message(STATUS "Nothing left out of what was asked for: ${QEX_PARTS}")
  endif()
endfunction()
