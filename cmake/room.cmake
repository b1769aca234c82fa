# brindlemoss_room(NAME SOURCES... LINKS...)
#
# One folder of src/ as one static library. The links are the only rooms whose code it may call, so a
# wrong arrow breaks the link of that room's tests.
function(brindlemoss_room name)
  cmake_parse_arguments(room "" "" "SOURCES;LINKS" ${ARGN})
  add_library(brindlemoss_${name} STATIC ${room_SOURCES})
  target_include_directories(brindlemoss_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(brindlemoss_${name} PUBLIC ${room_LINKS})
endfunction()

# brindlemoss_test_program(NAME SOURCES... LINKS...)
#
# One test program a room: few, larger programs build faster than many small ones.
function(brindlemoss_test_program name)
  cmake_parse_arguments(room "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${room_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  # Tests are compiled more often than they are run, and their compilation is half of a build.
  target_compile_options(${name} PRIVATE -O0 -U_FORTIFY_SOURCE)
  target_compile_definitions(${name} PRIVATE
    BRINDLEMOSS_EXAMPLES="${PROJECT_SOURCE_DIR}/examples")
  target_link_libraries(${name} PRIVATE ${room_LINKS} GTest::gmock GTest::gtest_main)
  target_precompile_headers(${name} PRIVATE <gmock/gmock.h> <gtest/gtest.h> <string> <vector>)
  # What a test keeps without saying where is kept away from the user's own.
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT BRINDLEMOSS_HOME=${CMAKE_CURRENT_BINARY_DIR}/home/${name})
endfunction()
