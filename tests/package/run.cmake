# Installs the built library to a scratch folder and builds and runs a host program against it.
# Arguments: BUILD_DIR, SOURCE_DIR, SCRATCH_DIR, CXX_FLAGS.
file(REMOVE_RECURSE ${SCRATCH_DIR})
set(steps
    "${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${SCRATCH_DIR}/prefix"
    "${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${SCRATCH_DIR}/build -G Ninja -DCMAKE_PREFIX_PATH=${SCRATCH_DIR}/prefix -DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
    "${CMAKE_COMMAND} --build ${SCRATCH_DIR}/build"
    "${SCRATCH_DIR}/build/host ${SCRATCH_DIR}/loops.db")
foreach(step IN LISTS steps)
  separate_arguments(command UNIX_COMMAND "${step}")
  execute_process(COMMAND ${command} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${step}\n${output}")
  endif()
endforeach()
message(STATUS "${output}")
