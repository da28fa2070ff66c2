# libqex.a for programs: a single object whose only global names are the exports, so no internal name can meet one of
# the program's. The linker joins the objects and drops code that no export reaches; objcopy makes the other names local.
# Where these tools cannot do that, and in instrumented builds, the archive holds the objects as they are; their names
# are in namespace qex.
include(CheckLinkerFlag)

# Inline functions are in groups, of which a link keeps the first of each name; it must not take those of other objects
# for names that are local here.
set(QEX_JOIN -r -nostdlib "LINKER:--gc-sections,--force-group-allocation,-u,main")
check_linker_flag(CXX "${QEX_JOIN}" QEX_HAS_JOIN)

if(QEX_HAS_JOIN AND CMAKE_OBJCOPY AND NOT QEX_SANITIZE AND NOT QEX_COVERAGE AND NOT QEX_FUZZ)
  # objcopy cannot make names local that GNU's compiler marks as unique in the process.
  target_compile_options(qex_objects PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  set(QEX_ONE_OBJECT "${PROJECT_BINARY_DIR}/qex_static.o")
  separate_arguments(flags UNIX_COMMAND "${CMAKE_CXX_FLAGS}")
  if(CMAKE_CXX_COMPILER_TARGET)
    list(APPEND flags --target=${CMAKE_CXX_COMPILER_TARGET})
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    list(APPEND flags -flinker-output=nolto-rel)  # machine code, also from sources compiled with -flto
  endif()
  list(JOIN QEX_EXPORTS ",-u," roots)
  list(TRANSFORM QEX_EXPORTS PREPEND --keep-global-symbol= OUTPUT_VARIABLE globals)
  add_custom_command(
    OUTPUT "${QEX_ONE_OBJECT}"
    COMMAND ${CMAKE_CXX_COMPILER} ${flags} -r -nostdlib -Wl,--gc-sections,--force-group-allocation,-u,${roots}
            $<TARGET_OBJECTS:qex_objects> -o "${QEX_ONE_OBJECT}"
    COMMAND ${CMAKE_OBJCOPY} ${globals} "${QEX_ONE_OBJECT}"
    DEPENDS qex_objects $<TARGET_OBJECTS:qex_objects>
    COMMENT "Joining the objects of libqex.a" COMMAND_EXPAND_LISTS VERBATIM)
  set_source_files_properties("${QEX_ONE_OBJECT}" PROPERTIES EXTERNAL_OBJECT ON GENERATED ON)
  add_library(qex_static STATIC "${QEX_ONE_OBJECT}")
else()
  add_library(qex_static STATIC $<TARGET_OBJECTS:qex_objects>)
endif()
add_library(qex::qex_static ALIAS qex_static)
if(BUILD_SHARED_LIBS AND NOT PROJECT_IS_TOP_LEVEL AND NOT QEX_INSTALL)
  set_target_properties(qex_static PROPERTIES EXCLUDE_FROM_ALL ON)
endif()

# A program in C links by its own compiler, and names the C++ runtime as a library.
set(QEX_STATIC_NEEDS ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES} ${CMAKE_THREAD_LIBS_INIT})
list(REMOVE_ITEM QEX_STATIC_NEEDS ${CMAKE_C_IMPLICIT_LINK_LIBRARIES})
list(REMOVE_DUPLICATES QEX_STATIC_NEEDS)
list(TRANSFORM QEX_STATIC_NEEDS PREPEND -l REGEX "^[^-/]")
set_target_properties(qex_static PROPERTIES OUTPUT_NAME qex LINKER_LANGUAGE C)
target_compile_definitions(qex_static INTERFACE QEX_STATIC)
target_link_libraries(qex_static INTERFACE ${QEX_STATIC_NEEDS})
target_include_directories(qex_static INTERFACE
                           $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/api>
                           $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                           $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
qex_link_options(qex_static INTERFACE)
