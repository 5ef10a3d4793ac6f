# movra_library(NAME SOURCES ... HEADERS ... [DEPENDS ...])
#   A static library movra_NAME with the alias movra::NAME. Headers are a file set rooted at the
#   repository, so that includes read "folder/header.h" and each header is verified to stand alone.
function(movra_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;HEADERS;DEPENDS" ${ARGN})
  add_library(movra_${name} STATIC ${ARG_SOURCES})
  add_library(movra::${name} ALIAS movra_${name})
  target_sources(movra_${name} PUBLIC
    FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARG_HEADERS})
  target_link_libraries(movra_${name} PUBLIC ${ARG_DEPENDS} PRIVATE movra::build_flags)
endfunction()

# movra_require_modules(NAME MODULES...)
#   Finds pkg-config modules as the target PkgConfig::NAME, and remembers which they are: whoever
#   links an installed static library that needs them has to find them again.
macro(movra_require_modules name)
  pkg_check_modules(${name} REQUIRED IMPORTED_TARGET GLOBAL ${ARGN})
  set_property(GLOBAL PROPERTY MOVRA_MODULES_OF_${name} ${ARGN})
endmacro()

# The core leaves its collaborators' factories open and they call back into the core, so a binary
# takes both as one group that the linker rescans. COLLABORATORS is `testing` or `media`, or both:
# then the doubles are found first, and the rest is of the real ones. With the doubles come the
# watchers of calls within the core.
set(MOVRA_CORE_LIBRARIES movra_producer movra_video movra_core movra_base movra_logging)
function(movra_link_producer target)
  list(JOIN MOVRA_CORE_LIBRARIES "," core)
  list(TRANSFORM ARGN PREPEND movra_ OUTPUT_VARIABLE collaborators)
  if("testing" IN_LIST ARGN)
    list(PREPEND collaborators movra_watched_calls)
  endif()
  list(JOIN collaborators "," collaborators)
  target_link_libraries(${target} PRIVATE
    "$<LINK_GROUP:RESCAN,${core},${collaborators}>")
endfunction()

# Reading GoogleTest's headers is a third of the time that a small test takes to compile, so all test
# programs share one precompiled form of them.
function(movra_precompile_gtest name)
  if(NOT TARGET movra_gtest_headers)
    file(WRITE ${PROJECT_BINARY_DIR}/gtest_headers.cpp "")
    add_library(movra_gtest_headers OBJECT ${PROJECT_BINARY_DIR}/gtest_headers.cpp)
    target_link_libraries(movra_gtest_headers PRIVATE GTest::gmock movra::build_flags)
    target_precompile_headers(movra_gtest_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
  endif()
  target_precompile_headers(${name} REUSE_FROM movra_gtest_headers)
  set_target_properties(${name} PROPERTIES PCH_WARN_INVALID OFF)
endfunction()

# movra_test(NAME LABEL unit|contract|media|stress SOURCES ... [LINK ...] [COLLABORATORS testing|media...])
#   A GoogleTest program, one CTest test for each of its tests.
function(movra_test name)
  cmake_parse_arguments(ARG "" "LABEL;TIMEOUT" "SOURCES;LINK;COLLABORATORS" ${ARGN})
  if(NOT MOVRA_TESTS)
    return()
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} GTest::gmock GTest::gtest_main
                                        movra::build_flags)
  movra_precompile_gtest(${name})
  if(ARG_COLLABORATORS)
    movra_link_producer(${name} ${ARG_COLLABORATORS})
  endif()
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60 PROPERTIES LABELS ${ARG_LABEL} TIMEOUT ${ARG_TIMEOUT})
endfunction()

# movra_test_elsewhere(NAME FILTER)
#   Runs the tests of NAME that FILTER matches where the machine is another: what these read is made
#   by the test, and must be the same everywhere. All other tests are run there by scripts/check.
function(movra_test_elsewhere name filter)
  if(MOVRA_TESTS)
    add_test(NAME ${name}.Elsewhere
      COMMAND ${PROJECT_SOURCE_DIR}/scripts/elsewhere $<TARGET_FILE:${name}> --gtest_brief=1
              --gtest_filter=${filter})
    set_tests_properties(${name}.Elsewhere PROPERTIES LABELS media TIMEOUT 240)
  endif()
endfunction()

# movra_must_not_compile(FOLDER [COMPILER PATH] [FLAGS ...])
#   For each source of the folder two CTest tests: that it does not compile with MOVRA_MISUSE, and
#   that its twin without it does. The misuse is tried only where the twin passed, so it cannot fail
#   for another reason than the lines that differ. COMPILER is one that finds what the project's may
#   not, with FLAGS of its own.
function(movra_must_not_compile folder)
  cmake_parse_arguments(ARG "" "COMPILER" "FLAGS" ${ARGN})
  if(NOT MOVRA_TESTS)
    return()
  endif()
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
  separate_arguments(flags UNIX_COMMAND "${CMAKE_CXX_FLAGS}")
  set(compiler ${CMAKE_CXX_COMPILER} ${flags})
  if(ARG_COMPILER)
    set(compiler ${ARG_COMPILER} ${ARG_FLAGS})
  endif()
  set(compile ${compiler} ${CMAKE_CXX20_STANDARD_COMPILE_OPTION} -fsyntax-only
              -I${PROJECT_SOURCE_DIR})
  foreach(source IN LISTS sources)
    cmake_path(GET source STEM name)
    set(twin ${folder}.${name}.TwinCompiles)
    set(misuse ${folder}.${name}.MisuseDoesNot)
    add_test(NAME ${twin} COMMAND ${compile} -Wall -Wextra -Wshadow -Wconversion -Werror ${source})
    add_test(NAME ${misuse} COMMAND ${compile} -DMOVRA_MISUSE ${source})
    set_tests_properties(${twin} PROPERTIES FIXTURES_SETUP ${twin})
    set_tests_properties(${misuse} PROPERTIES FIXTURES_REQUIRED ${twin} WILL_FAIL ON)
    set_tests_properties(${twin} ${misuse} PROPERTIES LABELS unit TIMEOUT 120)
  endforeach()
endfunction()

# movra_must_compile(FOLDER)
#   For each source of the folder a CTest test for each compiler that there is, g++ and clang++: that
#   it compiles without a warning. So applications may be stricter than this project is.
function(movra_must_compile folder)
  if(NOT MOVRA_TESTS)
    return()
  endif()
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
  foreach(compiler IN ITEMS g++ clang++)
    find_program(MOVRA_COMPILER_${compiler} ${compiler})
    mark_as_advanced(MOVRA_COMPILER_${compiler})
    if(NOT MOVRA_COMPILER_${compiler})
      continue()
    endif()
    foreach(source IN LISTS sources)
      cmake_path(GET source STEM name)
      cmake_path(RELATIVE_PATH source BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE path)
      cmake_path(GET path PARENT_PATH path)
      set(test ${path}.${name}.CompilesWith.${compiler})
      add_test(NAME ${test}
        COMMAND ${MOVRA_COMPILER_${compiler}} ${CMAKE_CXX20_STANDARD_COMPILE_OPTION} -fsyntax-only
                -I${PROJECT_SOURCE_DIR} -Wall -Wextra -Wmissing-field-initializers -Wshadow
                -Wconversion -Werror ${source})
      set_tests_properties(${test} PROPERTIES LABELS unit TIMEOUT 120)
    endforeach()
  endforeach()
endfunction()

# movra_fuzzer(NAME SOURCES ... LINK ... COLLABORATORS testing|media)
#   A libFuzzer program NAME_fuzzer, built by the target `fuzzers`; see scripts/check.
function(movra_fuzzer name)
  cmake_parse_arguments(ARG "" "COLLABORATORS" "SOURCES;LINK" ${ARGN})
  add_executable(${name}_fuzzer ${ARG_SOURCES})
  target_link_libraries(${name}_fuzzer PRIVATE ${ARG_LINK} movra::build_flags)
  target_link_options(${name}_fuzzer PRIVATE -fsanitize=fuzzer)
  set_target_properties(${name}_fuzzer PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/fuzzers)
  movra_link_producer(${name}_fuzzer ${ARG_COLLABORATORS})
  if(NOT TARGET fuzzers)
    add_custom_target(fuzzers)
  endif()
  add_dependencies(fuzzers ${name}_fuzzer)
endfunction()
