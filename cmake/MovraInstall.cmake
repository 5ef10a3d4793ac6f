# What `cmake --install` lays down, in four components:
#   producer  the core's libraries and headers, the CMake package, movra-producer.pc
#   media     the real collaborators, movra-media.pc
#   testing   the test doubles, movra-testing.pc
#   program   movra-producer with its manual page and shell completions
#
# The libraries are static, so whoever links them links what they need too. That is read from the
# targets themselves; nothing is listed here a second time.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(movra_headers_dir ${CMAKE_INSTALL_INCLUDEDIR}/movra)
set(movra_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/movra)

# Rewrites what TARGET asks of those who link it: the same as ever inside this build, and for the
# installed library without this build's own flags and with all pkg-config modules as the one target
# that the CMake package makes. Sets MODULES_OUT to these modules, FLAGS_OUT to linker flags for the
# rest.
function(movra_prepare_link_interface target modules_out flags_out)
  get_target_property(asked ${target} INTERFACE_LINK_LIBRARIES)
  set(modules)
  set(flags)
  set(installed)
  foreach(item IN LISTS asked)
    string(REGEX REPLACE "^\\$<LINK_ONLY:(.*)>$" "\\1" name "${item}")
    if(name MATCHES "^PkgConfig::(.*)$")
      get_property(found GLOBAL PROPERTY MOVRA_MODULES_OF_${CMAKE_MATCH_1})
      list(APPEND modules ${found})
    elseif(name STREQUAL "Threads::Threads")
      list(APPEND flags -pthread)
      list(APPEND installed ${name})
    elseif(TARGET ${name})
      if(NOT name STREQUAL "movra::build_flags")
        list(APPEND installed ${name})
      endif()
    else()
      movra_library_name(name "${name}")
      list(APPEND installed "$<LINK_ONLY:${name}>")
      if(NOT IS_ABSOLUTE ${name} AND NOT name MATCHES "^-")
        string(PREPEND name -l)
      endif()
      list(APPEND flags ${name})
    endif()
  endforeach()
  if(modules)
    list(APPEND installed "$<LINK_ONLY:PkgConfig::movra_modules>")
  endif()
  set_property(TARGET ${target} PROPERTY INTERFACE_LINK_LIBRARIES
    "$<BUILD_INTERFACE:${asked}>" "$<INSTALL_INTERFACE:${installed}>")
  set(${modules_out} ${modules} PARENT_SCOPE)
  set(${flags_out} ${flags} PARENT_SCOPE)
endfunction()

# /usr/lib/libyuv.so as yuv where every linker looks there: the path may be another elsewhere.
function(movra_library_name out path)
  set(name ${path})
  cmake_path(GET path PARENT_PATH folder)
  cmake_path(GET path FILENAME file)
  if(folder IN_LIST CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES AND file MATCHES "^lib(.+)\\.(so|a)$")
    set(name ${CMAKE_MATCH_1})
  endif()
  set(${out} ${name} PARENT_SCOPE)
endfunction()

# Installs static libraries as movra::NAME of the export set movra-COMPONENT.
function(movra_install_libraries component)
  foreach(target IN LISTS ARGN)
    target_compile_features(${target} INTERFACE cxx_std_20)
  endforeach()
  install(TARGETS ${ARGN} EXPORT movra-${component}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component}
    FILE_SET HEADERS DESTINATION ${movra_headers_dir} COMPONENT ${component})
endfunction()

# movra_install_pkg_config(COMPONENT DESCRIPTION TEXT LIBRARIES ... [MODULES ...] [FLAGS ...])
#   The libraries call each other both ways, so the linker rescans them as a group, which is a single
#   word because pkg-config sorts words and drops repeated ones.
function(movra_install_pkg_config component)
  cmake_parse_arguments(ARG "" "DESCRIPTION" "LIBRARIES;MODULES;FLAGS" ${ARGN})
  list(TRANSFORM ARG_LIBRARIES PREPEND -l)
  list(JOIN ARG_LIBRARIES "," group)
  list(REMOVE_DUPLICATES ARG_FLAGS)
  list(JOIN ARG_FLAGS " " ARG_FLAGS)
  list(JOIN ARG_MODULES " " ARG_MODULES)
  set(group "-Wl,--start-group,${group},--end-group")
  # From the file's own place, so that what was installed may be moved.
  set(prefix .)
  cmake_path(RELATIVE_PATH prefix BASE_DIRECTORY ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  configure_file(cmake/movra.pc.in ${PROJECT_BINARY_DIR}/movra-${component}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/movra-${component}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${component})
endfunction()

function(movra_install_export component)
  install(EXPORT movra-${component} FILE movra-${component}-targets.cmake NAMESPACE movra::
    DESTINATION ${movra_package_dir} COMPONENT ${component})
endfunction()

# The component producer.
set(core_flags)
foreach(target IN LISTS MOVRA_CORE_LIBRARIES)
  string(REPLACE "movra_" "" name ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  movra_prepare_link_interface(${target} modules flags)
  list(APPEND core_flags ${flags})
endforeach()
movra_install_libraries(producer ${MOVRA_CORE_LIBRARIES})
movra_install_export(producer)
movra_install_pkg_config(producer DESCRIPTION "The producer, without collaborators"
  LIBRARIES ${MOVRA_CORE_LIBRARIES} FLAGS ${core_flags})

# A component of collaborators. What is installed as movra::COMPONENT is the group of the core and
# the library of the collaborators, so that an embedder need not know that they call each other both
# ways. Sets MODULES_OUT to the pkg-config modules that the library needs.
function(movra_install_collaborators component modules_out description)
  set(library movra_${component})
  set_target_properties(${library} PROPERTIES EXPORT_NAME ${component}_library)
  movra_prepare_link_interface(${library} modules flags)
  add_library(${library}_group INTERFACE)
  set_target_properties(${library}_group PROPERTIES EXPORT_NAME ${component})
  list(TRANSFORM MOVRA_CORE_LIBRARIES REPLACE "(.+)" "$<TARGET_NAME:\\1>" OUTPUT_VARIABLE group)
  list(JOIN group "," group)
  target_link_libraries(${library}_group INTERFACE
    "$<LINK_GROUP:RESCAN,${group},$<TARGET_NAME:${library}>>")
  movra_install_libraries(${component} ${library})
  install(TARGETS ${library}_group EXPORT movra-${component})
  movra_install_export(${component})
  movra_install_pkg_config(${component} DESCRIPTION "${description}"
    LIBRARIES ${MOVRA_CORE_LIBRARIES} ${library} MODULES ${modules} FLAGS ${core_flags} ${flags})
  set(${modules_out} ${modules} PARENT_SCOPE)
endfunction()

set(movra_modules)
if(MOVRA_MEDIA)
  movra_install_collaborators(media movra_modules "The producer with the collaborators for Linux")
endif()
if(MOVRA_DOUBLES)
  movra_install_collaborators(testing testing_modules "The producer with test doubles")
endif()

list(TRANSFORM MOVRA_CORE_LIBRARIES REPLACE "^movra_" "movra::" OUTPUT_VARIABLE installed_core)
list(JOIN installed_core "," installed_core)
configure_package_config_file(cmake/movra-config.cmake.in
  ${PROJECT_BINARY_DIR}/movra-config.cmake INSTALL_DESTINATION ${movra_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/movra-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/movra-config.cmake
              ${PROJECT_BINARY_DIR}/movra-config-version.cmake
  DESTINATION ${movra_package_dir} COMPONENT producer)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT producer)

# The component program.
if(MOVRA_MEDIA)
  install(TARGETS movra-producer RUNTIME COMPONENT program)
  add_subdirectory(completions)
endif()

# Other projects that use what is installed. Instrumented libraries ask for more than plain ones.
if(MOVRA_TESTS AND NOT (MOVRA_SANITIZE OR MOVRA_COVERAGE OR MOVRA_FUZZ))
  set(cases core_alone doubles doubles_pkg_config headers missing_component unknown_component)
  if(MOVRA_MEDIA)
    list(APPEND cases program)
  endif()
  if(MOVRA_MEDIA AND MOVRA_WITH_GPL)
    list(APPEND cases doubles_beside_media find_package pkg_config)
  endif()
  foreach(case IN LISTS cases)
    add_test(NAME install_test.${case}
      COMMAND ${PROJECT_SOURCE_DIR}/cmake/install_test/install_test.sh
              ${PROJECT_BINARY_DIR} ${CMAKE_CXX_COMPILER} ${case})
    # One at a time, because an installation writes its list of files into the build directory.
    set_tests_properties(install_test.${case} PROPERTIES
      LABELS media TIMEOUT 120 RESOURCE_LOCK install)
  endforeach()
endif()
