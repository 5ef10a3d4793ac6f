# Warnings, sanitizers and coverage, one interface target each consumer links privately.

add_library(movra_build_flags INTERFACE)
add_library(movra::build_flags ALIAS movra_build_flags)
target_compile_options(movra_build_flags INTERFACE -Wall -Wextra -Wshadow -Wconversion -Werror)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(movra_build_flags INTERFACE -Wthread-safety)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # False alarms about std::string under optimisation, mended in GCC 13 (bug 105651).
  target_compile_options(movra_build_flags INTERFACE -Wno-restrict)
endif()

if(MOVRA_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(MOVRA_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(NOT MOVRA_SANITIZE STREQUAL "")
  message(FATAL_ERROR "MOVRA_SANITIZE is '${MOVRA_SANITIZE}'; it must be address, thread or empty")
endif()

if(MOVRA_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Instrumented code confuses this analysis; the plain builds keep the warning.
  target_compile_options(movra_build_flags INTERFACE -Wno-maybe-uninitialized)
endif()

if(MOVRA_COVERAGE)
  add_compile_options(--coverage -O0)
  add_link_options(--coverage)
endif()

if(MOVRA_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
