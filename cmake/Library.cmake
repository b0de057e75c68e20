# The library out of the layers, its headers, its CMake package and its pkg-config file.
#
# VeskLoopManagement, which the program links, is shared or static as BUILD_SHARED_LIBS says; with VESK_BUILD_BOTH_KINDS the
# other kind is made of the same objects and installed beside it. The libraries that it stands on show in no header: a host of the shared library
# needs none of them, a host of the static one links them.
set(VESK_PRIVATE_LIBRARIES ICU::i18n ICU::uc SQLite::SQLite3 EXPAT::EXPAT fmt::fmt)
set(VESK_PKGCONFIG_PRIVATE_LIBRARIES "-licui18n -licuuc -licudata -lsqlite3 -lexpat -lfmt -lstdc++ -ldl -lpthread -lm")

function(vesk_add_library)
  set(kinds static)
  set(other_kinds shared)
  if(BUILD_SHARED_LIBS)
    set(kinds shared)
    set(other_kinds static)
  endif()
  if(VESK_BUILD_BOTH_KINDS)
    list(APPEND kinds ${other_kinds})
  endif()

  set(name VeskLoopManagement)
  foreach(kind IN LISTS kinds)
    vesk_add_library_of_kind(${name} ${kind})
    set(name VeskLoopManagement_${other_kinds})
  endforeach()
  add_library(VeskLoopManagement::VeskLoopManagement ALIAS VeskLoopManagement)

  if(VESK_INSTALL)
    vesk_install_package()
  endif()
endfunction()

function(vesk_add_library_of_kind target kind)
  string(TOUPPER ${kind} type)
  add_library(${target} ${type})
  foreach(layer IN LISTS VESK_LAYERS)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:vesk_${layer}>)
  endforeach()
  set_target_properties(
    ${target}
    PROPERTIES OUTPUT_NAME VeskLoopManagement
               EXPORT_NAME VeskLoopManagement
               LINKER_LANGUAGE CXX
               VERSION ${PROJECT_VERSION}
               SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                              $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${target} PRIVATE ${VESK_PRIVATE_LIBRARIES})

  if(kind STREQUAL shared)
    # Hides what the headers of other libraries mark as visible, above all instances of their templates.
    set(script ${PROJECT_SOURCE_DIR}/cmake/exports.map)
    target_link_options(${target} PRIVATE LINKER:--version-script=${script})
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${script})
    if(NOT VESK_SANITIZE)
      target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
  endif()

  if(VESK_INSTALL)
    install(TARGETS ${target} EXPORT VeskLoopManagement-${kind})
    install(EXPORT VeskLoopManagement-${kind} NAMESPACE VeskLoopManagement:: DESTINATION ${VESK_PACKAGE_DIR})
  endif()
endfunction()

function(vesk_install_package)
  include(CMakePackageConfigHelpers)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/VeskLoopManagement DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VeskLoopManagementConfig.cmake.in
                                ${PROJECT_BINARY_DIR}/VeskLoopManagementConfig.cmake
                                INSTALL_DESTINATION ${VESK_PACKAGE_DIR})
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/VeskLoopManagementConfigVersion.cmake
                                   COMPATIBILITY SameMinorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/VeskLoopManagementConfig.cmake
                ${PROJECT_BINARY_DIR}/VeskLoopManagementConfigVersion.cmake DESTINATION ${VESK_PACKAGE_DIR})

  # The prefix as seen from the pkg-config file, so that an installed tree can be moved.
  file(RELATIVE_PATH up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" VESK_PKGCONFIG_PREFIX ${up})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/VeskLoopManagement.pc.in ${PROJECT_BINARY_DIR}/VeskLoopManagement.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/VeskLoopManagement.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
