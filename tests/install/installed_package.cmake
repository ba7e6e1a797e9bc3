# Installs the built library into a fresh prefix, then configures, builds and
# runs a host program that finds it with find_package(sdk).
foreach(var BUILD_DIR WORK_DIR SOURCE_DIR CXX_FLAGS GENERATOR)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "installed_package.cmake: ${var} is not set")
  endif()
endforeach()
file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")

macro(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
endmacro()

run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")
file(GLOB sonames "${prefix}/lib*/libsdk.so.*")
if(NOT sonames)
  message(FATAL_ERROR "no versioned libsdk.so installed under ${prefix}")
endif()
run(${CMAKE_COMMAND} -S "${SOURCE_DIR}" -B "${WORK_DIR}/consumer" -G "${GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${CMAKE_COMMAND} --build "${WORK_DIR}/consumer")
run("${WORK_DIR}/consumer/consumer")
message(STATUS "consumer: ${out}")
