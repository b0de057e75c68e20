# A layer is a folder of src/ with its public headers. Layers are object libraries, compiled once, and are put together to
# the library that hosts link (Library.cmake), or, layer by layer, to the test programs.
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
