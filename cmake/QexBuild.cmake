# Compiler settings shared by all targets, and the account of what was left out.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# qex_compile_options(TARGET): warnings, and the instrumentation asked for.
function(qex_compile_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
  if(QEX_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(QEX_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${QEX_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
  endif()
  if(QEX_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage -O0)
  endif()
endfunction()

# qex_link_options(TARGET SCOPE): what instrumentation needs at link time.
function(qex_link_options target scope)
  if(QEX_SANITIZE)
    target_link_options(${target} ${scope} -fsanitize=${QEX_SANITIZE})
  endif()
  if(QEX_COVERAGE)
    target_link_options(${target} ${scope} --coverage)
  endif()
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
endfunction()
