# Installs the built library into a fresh prefix, then configures, builds and
# runs a host program that finds it with find_package(sdk).
set(required SOURCE_DIR CXX_FLAGS GENERATOR)
include("${CMAKE_CURRENT_LIST_DIR}/freshprefix.cmake")
file(GLOB sonames "${prefix}/lib*/libsdk.so.*")
if(NOT sonames)
  message(FATAL_ERROR "no versioned libsdk.so installed under ${prefix}")
endif()
run(${CMAKE_COMMAND} -S "${SOURCE_DIR}" -B "${WORK_DIR}/consumer" -G "${GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${CMAKE_COMMAND} --build "${WORK_DIR}/consumer")
run("${WORK_DIR}/consumer/consumer")
message(STATUS "consumer: ${out}")
