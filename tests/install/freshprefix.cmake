# What the scripts that build against an installed package share: the
# variables they need, a work directory emptied, the prefix below it with the
# built library installed, and run(), which stops the script with the output
# of a command that failed.
foreach(var BUILD_DIR WORK_DIR ${required})
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "${CMAKE_SCRIPT_MODE_FILE}: ${var} is not set")
  endif()
endforeach()

macro(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
endmacro()

file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")
run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")
