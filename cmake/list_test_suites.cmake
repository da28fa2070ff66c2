# Writes LIST, the ctest entries of the test suites of PROGRAM. qex_test_suites runs it after PROGRAM is linked.
cmake_minimum_required(VERSION 3.22)
list(REMOVE_ITEM PROGRAM "")  # no emulator
execute_process(COMMAND ${PROGRAM} --gtest_list_tests "--gtest_filter=${FILTER}"
                OUTPUT_VARIABLE listed RESULT_VARIABLE status TIMEOUT 60)
if(NOT status EQUAL 0)
  file(REMOVE "${LIST}")
  message(FATAL_ERROR "${PROGRAM} does not list its tests: ${status}\n${listed}")
endif()

string(REPLACE "\r" "" listed "${listed}")  # the ends of lines on Windows

# A suite is a line that ends with a dot; its tests follow, indented. Both may have a comment.
string(REGEX REPLACE " *#[^\n]*" "" listed "${listed}")
string(REPLACE "\n" ";" lines "${listed}")
set(suites "")
foreach(line IN LISTS lines)
  if(line MATCHES "^([^ ].*)\\.$")
    set(suite "${CMAKE_MATCH_1}")
    list(APPEND suites "${suite}")
    set("tests of ${suite}" "")
  elseif(line MATCHES "^  (.+)$")
    list(APPEND "tests of ${suite}" "${suite}.${CMAKE_MATCH_1}")
  endif()
endforeach()
if(NOT suites)
  file(REMOVE "${LIST}")
  message(FATAL_ERROR "${PROGRAM} has no test that matches ${FILTER}")
endif()

set(command "")
foreach(word IN LISTS PROGRAM)
  string(APPEND command " [==[${word}]==]")
endforeach()
set(properties "")
foreach(word IN LISTS PROPERTIES)
  string(APPEND properties " [==[${word}]==]")
endforeach()
set(entries "")
foreach(suite IN LISTS suites)
  set(tests "${suite}.*")
  if(NOT FILTER STREQUAL "*")
    list(JOIN "tests of ${suite}" ":" tests)
  endif()
  # Begun last, a long suite would be left running alone.
  set(cost "")
  if(suite IN_LIST LONG_SUITES)
    set(cost " COST 100")
  endif()
  string(APPEND entries "add_test([==[${PREFIX}${suite}]==]${command} --gtest_brief=1 [==[--gtest_filter=${tests}]==])\n"
                        "set_tests_properties([==[${PREFIX}${suite}]==] PROPERTIES${properties}${cost})\n")
endforeach()
file(WRITE "${LIST}" "${entries}")
