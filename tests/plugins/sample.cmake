# The sample plug-in of examples/plugins/filecheck: with it staged, with the
# installation that lacks it, and built on its own against the installed
# package.
foreach(test tst_sampleplugin tst_samplewithoutplugin)
  sdk_add_test(${test})
  add_dependencies(${test} filecheck velmont-batch)
  target_compile_definitions(${test} PRIVATE
    SDK_BATCH_PROGRAM="$<TARGET_FILE:velmont-batch>" SDK_EXAMPLES_DIR="${PROJECT_SOURCE_DIR}/examples")
endforeach()

add_test(NAME tst_samplestandalone
  COMMAND ${CMAKE_COMMAND}
    -DBUILD_DIR=${CMAKE_BINARY_DIR} -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/standalone
    -DSOURCE_DIR=${PROJECT_SOURCE_DIR}/examples/plugins/filecheck "-DGENERATOR=${CMAKE_GENERATOR}"
    -P ${CMAKE_CURRENT_SOURCE_DIR}/sample_standalone.cmake)
set_tests_properties(tst_samplestandalone PROPERTIES TIMEOUT 120 RUN_SERIAL TRUE)
