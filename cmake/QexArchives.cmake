# `cpack` packs what `cmake --install` copies, and `cpack --config CPackSourceConfig.cmake` the sources, as .tar.gz.
# scripts/archives.sh makes and tests those of a release. None of this needs git.
string(TOLOWER "${CMAKE_SYSTEM_NAME}" system)
string(REGEX REPLACE "[][.+?^$(){}|\\]" "\\\\\\0" source_pattern "${PROJECT_SOURCE_DIR}")
set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_VENDOR "libqex authors")
set(CPACK_PACKAGE_FILE_NAME "qex-${PROJECT_VERSION}-${system}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_STRIP_FILES ON)
set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME "qex-${PROJECT_VERSION}")
# What .gitignore names, and what only the repository needs.
set(CPACK_SOURCE_IGNORE_FILES "^${source_pattern}/(build.*|out|\\\\.git|\\\\.gitignore|\\\\.ci)(/|$)"
    "/__pycache__/" "/compile_commands\\\\.json$" "/CMakeUserPresets\\\\.json$" "\\\\.(o|swp)$" "~$")
include(CPack)
