# libqex.so, or libqex.dll. The linker drops code that no export reaches (signing, key generation, primality).
if(NOT BUILD_SHARED_LIBS)
  return()
endif()
add_library(qex SHARED $<TARGET_OBJECTS:qex_objects>)
set_target_properties(qex PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
target_link_options(qex PRIVATE "LINKER:--gc-sections")
qex_exports(qex)
qex_harden(qex)
qex_static_runtime(qex)
if(QEX_RUNTIME_IS_STATIC)
  target_sources(qex PRIVATE "${PROJECT_SOURCE_DIR}/cmake/quiet_terminate.cpp")
endif()
if(NOT QEX_SANITIZE)
  # With clang a sanitizer's runtime is in the program, not in the library.
  target_link_options(qex PRIVATE "LINKER:--no-undefined")
endif()
target_include_directories(qex INTERFACE
                           $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/api>
                           $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                           $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(qex PRIVATE Threads::Threads)
qex_link_options(qex PUBLIC)
