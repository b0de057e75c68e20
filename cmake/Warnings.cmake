# Our own targets only; headers of other libraries come in as system headers.
function(vesk_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
                                           -Wcast-qual -Wimplicit-fallthrough -Wno-missing-field-initializers)
  # Optimised, g++ 12 takes inlined std::string code for overflows that cannot happen.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-stringop-overflow -Wno-stringop-overread -Wno-restrict
                                             -Wno-array-bounds)
  endif()
  if(VESK_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
