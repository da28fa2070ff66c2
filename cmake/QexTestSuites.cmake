# qex_test_suites(PROGRAM PREFIX FILTER [NAME VALUE]...): a ctest entry for each test suite of a GoogleTest program, named
# PREFIX and the suite, with the tests that FILTER admits. A process for each test would spend more time starting
# than testing, above all under sanitizers and emulators; under an emulator several suites share an entry. The names and
# values are properties of the entries. The suites in QEX_LONG_SUITES begin first.
function(qex_test_suites program prefix filter)
  get_property(number TARGET ${program} PROPERTY QEX_SUITE_LISTS)
  math(EXPR number "0${number} + 1")
  set_property(TARGET ${program} PROPERTY QEX_SUITE_LISTS ${number})
  set(list "${CMAKE_CURRENT_BINARY_DIR}/${program}_suites_${number}.cmake")
  add_custom_command(
    TARGET ${program} POST_BUILD
    BYPRODUCTS "${list}"
    COMMAND ${CMAKE_COMMAND} -D "PROGRAM=${CMAKE_CROSSCOMPILING_EMULATOR};$<TARGET_FILE:${program}>"
            -D "PREFIX=${prefix}" -D "FILTER=${filter}" -D "PROPERTIES=${ARGN}"
            -D "LONG_SUITES=${QEX_LONG_SUITES}" -D "LIST=${list}"
            -P "${PROJECT_SOURCE_DIR}/cmake/list_test_suites.cmake"
    VERBATIM)
  # A program that has not been built is a test that fails, not one that is missing.
  set(include "${CMAKE_CURRENT_BINARY_DIR}/${program}_include_${number}.cmake")
  file(WRITE "${include}" "if(EXISTS \"${list}\")
  include(\"${list}\")
else()
  add_test(${prefix}NOT_BUILT ${program}_NOT_BUILT)
endif()
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${include}")
endfunction()
