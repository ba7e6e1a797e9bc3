# Installs the built library into a fresh prefix, then builds the sample
# plug-in from its folder alone against the installed package, as a plug-in
# writer who copied the folder does, and installs it into that prefix.
set(required SOURCE_DIR GENERATOR)
include("${CMAKE_CURRENT_LIST_DIR}/../install/freshprefix.cmake")

set(sample_files share/velmont/plugins/nodes/libfilecheck.so share/velmont/lib/scripts/FileCheck.pl)
# The project's own install brought the sample too; the copy must bring it again.
foreach(installed IN LISTS sample_files)
  file(REMOVE "${prefix}/${installed}")
endforeach()
# The folder is copied, so that nothing of the libsdk tree around it helps.
file(COPY "${SOURCE_DIR}/" DESTINATION "${WORK_DIR}/filecheck")
# One unit of the plug-in's sources: its headers are the installed ones all
# the same, and the build inside the tree already compiles each file alone.
run(${CMAKE_COMMAND} -S "${WORK_DIR}/filecheck" -B "${WORK_DIR}/build" -G "${GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${prefix}" -DCMAKE_UNITY_BUILD=ON)
run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")
run(${CMAKE_COMMAND} --install "${WORK_DIR}/build" --prefix "${prefix}")
foreach(installed IN LISTS sample_files)
  if(NOT EXISTS "${prefix}/${installed}")
    message(FATAL_ERROR "the sample's install left no ${installed} under ${prefix}")
  endif()
endforeach()
message(STATUS "sample plug-in built and installed under ${prefix}")
