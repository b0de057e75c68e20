# Our own targets only; headers of other libraries come in as system headers.
function(vesk_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
                                           -Wcast-qual -Wimplicit-fallthrough -Wno-missing-field-initializers)
  if(VESK_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
