# Small helpers so that adding a source file or a test is one line, and a
# misspelt argument stops the configure step instead of being ignored.

function(_sdk_reject_unparsed fn)
  if(ARGN)
    message(FATAL_ERROR "${fn}: unknown arguments: ${ARGN}")
  endif()
endfunction()

# sdk_add_sources(FILES a.cpp b.cpp HEADERS a.h b.h)
# Adds sources to the library target and public headers to the install set.
function(sdk_add_sources)
  cmake_parse_arguments(ARG "" "" "FILES;HEADERS" ${ARGN})
  _sdk_reject_unparsed(sdk_add_sources ${ARG_UNPARSED_ARGUMENTS})
  foreach(f IN LISTS ARG_FILES ARG_HEADERS)
    if(NOT EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${f}")
      message(FATAL_ERROR "sdk_add_sources: no such file ${CMAKE_CURRENT_SOURCE_DIR}/${f}")
    endif()
  endforeach()
  foreach(f IN LISTS ARG_FILES ARG_HEADERS)
    target_sources(sdk PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/${f}")
  endforeach()
  file(RELATIVE_PATH rel "${SDK_SOURCE_ROOT}" "${CMAKE_CURRENT_SOURCE_DIR}")
  foreach(h IN LISTS ARG_HEADERS)
    install(FILES "${CMAKE_CURRENT_SOURCE_DIR}/${h}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/sdk/${rel}")
  endforeach()
endfunction()

# sdk_add_test(tst_name [SOURCES extra.cpp] [LIBS extra] [TIMEOUT s] [GUI]
#              [FROM tst_other.cpp DEFINES NAME...])
# One QtTest executable per behaviour, run headless by CTest. FROM builds the
# test from another test's file, with DEFINES selecting its share of the
# slots, so that a long program runs as two beside each other.
function(sdk_add_test name)
  cmake_parse_arguments(ARG "GUI" "TIMEOUT;FROM" "SOURCES;LIBS;DEFINES" ${ARGN})
  _sdk_reject_unparsed(sdk_add_test ${ARG_UNPARSED_ARGUMENTS})
  if(NOT name MATCHES "^tst_")
    message(FATAL_ERROR "sdk_add_test: test names begin with tst_: ${name}")
  endif()
  if(NOT ARG_FROM)
    set(ARG_FROM ${name}.cpp)
  endif()
  if(NOT EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${ARG_FROM}")
    message(FATAL_ERROR "sdk_add_test: no such file ${ARG_FROM}")
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 30)
  endif()
  add_executable(${name} ${ARG_FROM} ${ARG_SOURCES})
  target_compile_definitions(${name} PRIVATE ${ARG_DEFINES})
  target_link_libraries(${name} PRIVATE sdk sdk_testcommon Qt6::Test ${ARG_LIBS})
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES
    TIMEOUT ${ARG_TIMEOUT}
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;SDK_TEST_SHARE=${SDK_STAGE_DIR};ASAN_OPTIONS=detect_leaks=1:abort_on_error=1;UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1")
endfunction()

# sdk_require_mocs(moc_name ...)
# The moc step of an existing build tree runs again only when a file it has
# already seen changes, so a Q_OBJECT header new to the library, listed from a
# subdirectory, goes unnoticed. Forgets the step's stamp when its output lacks
# one of the meta-objects named.
function(sdk_require_mocs)
  get_target_property(binary_dir sdk BINARY_DIR)
  if(NOT EXISTS "${binary_dir}/sdk_autogen/mocs_compilation.cpp")
    return()
  endif()
  file(READ "${binary_dir}/sdk_autogen/mocs_compilation.cpp" mocs)
  foreach(moc IN LISTS ARGN)
    if(NOT mocs MATCHES "${moc}")
      file(REMOVE "${binary_dir}/sdk_autogen/timestamp")
    endif()
  endforeach()
endfunction()
