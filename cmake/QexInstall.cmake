# `cmake --install` copies the library and its header, the tool, and the files by
# which CMake (find_package(qex)) and pkg-config (qex.pc) find them.
include(CMakePackageConfigHelpers)

set(QEX_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/qex")
install(TARGETS qex EXPORT qexTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES "${PROJECT_SOURCE_DIR}/api/qex.h" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT qexTargets NAMESPACE qex:: DESTINATION ${QEX_PACKAGE_DIR})

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/qexConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/qexConfig.cmake"
                              INSTALL_DESTINATION ${QEX_PACKAGE_DIR}
                              NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/qexConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/qexConfig.cmake" "${PROJECT_BINARY_DIR}/qexConfigVersion.cmake"
        DESTINATION ${QEX_PACKAGE_DIR})

# The paths of qex.pc are relative to its own folder, so the installed tree can be
# moved, and DESTDIR works.
file(RELATIVE_PATH QEX_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" QEX_PC_PREFIX "${QEX_PC_PREFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/qex.pc.in" "${PROJECT_BINARY_DIR}/qex.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/qex.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
