# qex.exe: the commands that need neither the network nor libcrypto. It takes the headers of CLI11 and nlohmann-json
# from this machine, for they are headers alone, and by links: no other header of this machine is seen.
set(headers "${CMAKE_CURRENT_BINARY_DIR}/headers")
foreach(need CLI/CLI.hpp nlohmann/json.hpp)
  get_filename_component(folder "${need}" DIRECTORY)
  find_path(QEX_HEADERS_${folder} "${need}" PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(NOT QEX_HEADERS_${folder})
    qex_left_out("tool qex" "header ${need} not found")
    return()
  endif()
  file(MAKE_DIRECTORY "${headers}")
  file(CREATE_LINK "${QEX_HEADERS_${folder}}/${folder}" "${headers}/${folder}" SYMBOLIC)
endforeach()

# base/stop_request.cpp is for commands that are left out.
set(commands arguments command_line completion digest explain grammar help left_out_windows outcome program reply request
    request_options rewrite show show_one tac usage version)
list(TRANSFORM commands PREPEND commands/)
list(TRANSFORM commands APPEND .cpp)
file(GLOB sources CONFIGURE_DEPENDS base/*.cpp message/*.cpp judge/*.cpp worker/*.cpp worker/inspect/*.cpp main.cpp)
list(FILTER sources EXCLUDE REGEX "_(posix|libcrypto)\\.cpp$|/stop_request\\.cpp$")
list(APPEND sources ${commands} exchange/request.cpp worker/strict/reply.cpp)
list(TRANSFORM sources PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/" REGEX "^[^/]")

add_executable(qex_tool ${sources})
set_target_properties(qex_tool PROPERTIES OUTPUT_NAME qex)
target_include_directories(qex_tool PRIVATE "${PROJECT_SOURCE_DIR}")
target_include_directories(qex_tool SYSTEM PRIVATE "${headers}")
# The API of Windows 10, and none of the names of windows.h that others have too.
target_compile_definitions(qex_tool PRIVATE QEX_TOOL_VERSION="${PROJECT_VERSION}" _WIN32_WINNT=0x0A00
                           WIN32_LEAN_AND_MEAN NOMINMAX)
target_link_libraries(qex_tool PRIVATE qex::qex qex_core)
qex_compile_options(qex_tool)
qex_harden(qex_tool)
qex_static_runtime(qex_tool)
qex_by_folder(qex_tool)
list(FILTER sources INCLUDE REGEX "_windows\\.cpp$")
set_source_files_properties(${sources} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
target_compile_options(qex_tool PRIVATE $<$<CONFIG:Release,RelWithDebInfo>:-O1>)
install(TARGETS qex_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
