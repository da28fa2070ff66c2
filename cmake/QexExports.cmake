# The exports of the library, as cmake/qex.map lists them.
set(QEX_MAP "${PROJECT_SOURCE_DIR}/cmake/qex.map")
file(STRINGS "${QEX_MAP}" QEX_EXPORTS REGEX "^ *QEX_[A-Za-z0-9_]+;")
list(TRANSFORM QEX_EXPORTS REPLACE "^ *(QEX_[A-Za-z0-9_]+).*" "\\1")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${QEX_MAP}")

# qex_exports(TARGET): the shared library TARGET exports these functions and nothing else. The linker of ELF reads
# qex.map; that of Windows reads a module definition file, libqex.def in the build folder.
function(qex_exports target)
  if(NOT WIN32)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${QEX_MAP}")
    target_link_options(${target} PRIVATE "LINKER:--version-script=${QEX_MAP}")
    return()
  endif()
  set(QEX_DEFINITION "${PROJECT_BINARY_DIR}/libqex.def")
  list(JOIN QEX_EXPORTS "\n  " names)
  file(CONFIGURE OUTPUT "${QEX_DEFINITION}" CONTENT "LIBRARY libqex.dll\nEXPORTS\n  @names@\n" @ONLY)
  target_sources(${target} PRIVATE "${QEX_DEFINITION}")
endfunction()
