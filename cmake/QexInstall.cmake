# `cmake --install` copies library, header and tool, and the files by which CMake (find_package(qex)) and pkg-config
# (qex.pc) find them. `--component` takes a part of that: runtime, development, tool or documentation.
include(CMakePackageConfigHelpers)

set(QEX_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/qex")
set(development DESTINATION ${QEX_PACKAGE_DIR} COMPONENT development)

# One export for each kind, so that the package describes those that are there.
if(TARGET qex)
  install(TARGETS qex EXPORT qexShared
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime  # a DLL, and the library to link with it
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
  install(EXPORT qexShared NAMESPACE qex:: ${development})
endif()
if(WIN32 AND TARGET qex)
  install(FILES "${PROJECT_BINARY_DIR}/libqex.def" DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
endif()
install(TARGETS qex_static EXPORT qexStatic
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(EXPORT qexStatic NAMESPACE qex:: ${development})
install(FILES "${PROJECT_SOURCE_DIR}/api/qex.h" "${PROJECT_SOURCE_DIR}/include/qex.hpp"
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

# Whoever gets the library gets its licence, and documents whose links lead to each other.
set(documentation DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/qex COMPONENT documentation)
foreach(file LICENSE README.md CHANGELOG.md SECURITY.md)
  install(FILES "${PROJECT_SOURCE_DIR}/${file}" ${documentation})
endforeach()
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" ${documentation}
        FILES_MATCHING PATTERN "docs/*.md" PATTERN "docs/*.svg" PATTERN "docs/*.json"
        PATTERN man EXCLUDE PATTERN reference EXCLUDE)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/examples" ${documentation}
        PATTERN CMakeLists.txt EXCLUDE PATTERN __pycache__ EXCLUDE)

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/qexConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/qexConfig.cmake"
                              INSTALL_DESTINATION ${QEX_PACKAGE_DIR}
                              NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/qexConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/qexConfig.cmake" "${PROJECT_BINARY_DIR}/qexConfigVersion.cmake" ${development})

# The paths of qex.pc are relative to its own folder, so the installed tree can be
# moved, and DESTDIR works; unless the folders are set to absolute ones.
file(RELATIVE_PATH up "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" up "${up}")
set(QEX_PC_PREFIX "\${pcfiledir}/${up}")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(QEX_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
endif()
foreach(folder LIBDIR INCLUDEDIR)
  cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_${folder} BASE_DIRECTORY "\${prefix}" OUTPUT_VARIABLE QEX_PC_${folder})
endforeach()
list(JOIN QEX_STATIC_NEEDS " " QEX_PC_LIBS_PRIVATE)
set(QEX_PC_LIBS "-lqex")
set(QEX_PC_CFLAGS "")
if(NOT TARGET qex)
  string(APPEND QEX_PC_LIBS " ${QEX_PC_LIBS_PRIVATE}")
  set(QEX_PC_CFLAGS " -DQEX_STATIC")
endif()
configure_file("${PROJECT_SOURCE_DIR}/cmake/qex.pc.in" "${PROJECT_BINARY_DIR}/qex.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/qex.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
