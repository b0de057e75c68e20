# A layer is a folder of src/. Layers are object libraries, compiled once, and are put together to the one library that hosts
# link, or, layer by layer, to the test programs.
set(VESK_LAYERS "" CACHE INTERNAL "layers, from left to right")

function(vesk_add_layer name)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${name}/*.cpp
       ${PROJECT_SOURCE_DIR}/src/${name}/*.h ${PROJECT_SOURCE_DIR}/include/VeskLoopManagement/${name}/*.h)
  add_library(vesk_${name} OBJECT ${sources})
  set_target_properties(vesk_${name} PROPERTIES LINKER_LANGUAGE CXX)
  target_include_directories(vesk_${name} PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(vesk_${name} PUBLIC ICU::i18n ICU::uc SQLite::SQLite3 EXPAT::EXPAT fmt::fmt)
  target_compile_features(vesk_${name} PUBLIC cxx_std_20)
  vesk_set_warnings(vesk_${name})
  vesk_precompile(vesk_${name} precompiled)
  set(VESK_LAYERS ${VESK_LAYERS} ${name} CACHE INTERNAL "layers, from left to right")
endfunction()

# The headers that nearly every file includes, compiled once by a target of their own for all targets with the same set.
# `name` is "precompiled", for libraries, or "precompiled_tests", for programs: the file in cmake/.
function(vesk_precompile target name)
  if(NOT TARGET vesk_${name})
    file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/vesk_${name}.cpp CONTENT "// Carries the precompiled header.\n")
    add_library(vesk_${name} OBJECT ${PROJECT_BINARY_DIR}/vesk_${name}.cpp)
    target_link_libraries(vesk_${name} PUBLIC fmt::fmt ${ARGN})
    target_compile_features(vesk_${name} PUBLIC cxx_std_20)
    target_include_directories(vesk_${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake)
    vesk_set_warnings(vesk_${name})
    if(name STREQUAL precompiled_tests)  # programs are compiled so; the header must agree
      set_target_properties(vesk_${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
      target_compile_options(vesk_${name} PRIVATE -fPIE)
    endif()
    target_precompile_headers(vesk_${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/${name}.h)
  endif()
  target_precompile_headers(${target} REUSE_FROM vesk_${name})
endfunction()

# Links `target` with the layers up to and including `last`.
function(vesk_link_layers target last)
  foreach(layer IN LISTS VESK_LAYERS)
    target_link_libraries(${target} PRIVATE vesk_${layer})
    if(layer STREQUAL last)
      return()
    endif()
  endforeach()
endfunction()

# VeskLoopManagement::VeskLoopManagement, static or shared as BUILD_SHARED_LIBS says, with headers and a CMake package.
function(vesk_add_library)
  set(objects)
  foreach(layer IN LISTS VESK_LAYERS)
    list(APPEND objects $<TARGET_OBJECTS:vesk_${layer}>)
  endforeach()
  add_library(VeskLoopManagement ${objects})
  add_library(VeskLoopManagement::VeskLoopManagement ALIAS VeskLoopManagement)
  set_target_properties(VeskLoopManagement PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                                                      LINKER_LANGUAGE CXX)
  target_compile_features(VeskLoopManagement PUBLIC cxx_std_20)
  target_include_directories(
    VeskLoopManagement PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
                              $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(VeskLoopManagement PUBLIC ICU::i18n ICU::uc SQLite::SQLite3 EXPAT::EXPAT fmt::fmt)

  include(CMakePackageConfigHelpers)
  set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VeskLoopManagement)
  install(TARGETS VeskLoopManagement EXPORT VeskLoopManagementTargets)
  install(EXPORT VeskLoopManagementTargets NAMESPACE VeskLoopManagement:: DESTINATION ${package_dir})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/VeskLoopManagement DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VeskLoopManagementConfig.cmake.in
                                ${PROJECT_BINARY_DIR}/VeskLoopManagementConfig.cmake INSTALL_DESTINATION ${package_dir})
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/VeskLoopManagementConfigVersion.cmake
                                   COMPATIBILITY SameMinorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/VeskLoopManagementConfig.cmake
                ${PROJECT_BINARY_DIR}/VeskLoopManagementConfigVersion.cmake DESTINATION ${package_dir})
endfunction()
