# A test program against the real hives of a Wine prefix of its own, where the
# registry's two views exist (the scratch-key redirection has none). The script
# that includes this lays its machine out between fresh_prefix() and
# remove_prefix(); a failing step deletes the prefix too. It is run as
#   cmake -DPREFIX=<wine prefix> -DWORK_DIR=<dir> -DWINE_RUN=<build/wine-run>
#         -DWINESERVER=<wineserver> -DTEST_PROGRAM=<program.exe> -P <script>

foreach(required PREFIX WORK_DIR WINE_RUN WINESERVER TEST_PROGRAM)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()
set(ENV{KVIL_WINEPREFIX} "${PREFIX}")

# remove_wine_prefix comes from the tools' tests; this script's own fail() below
# takes the place of theirs.
include(${CMAKE_CURRENT_LIST_DIR}/wine_program.cmake)

function(remove_prefix)
  remove_wine_prefix("${PREFIX}")
endfunction()

function(fresh_prefix)
  remove_prefix()
  file(REMOVE_RECURSE "${WORK_DIR}")
  file(MAKE_DIRECTORY "${WORK_DIR}")
endfunction()

function(fail step details)
  remove_prefix()
  message(FATAL_ERROR "${step}\n${details}")
endfunction()

# Runs one step in WORK_DIR (or WORKING_DIRECTORY); any exit status but 0 fails
# the test with its output and where its log is. The output goes to files of
# the step's own rather than through pipes: the prefix's wineserver and the
# processes it keeps running inherit them from whichever step started them, and
# would hold a pipe open until they shut down, seconds after the step has ended.
function(run_step step)
  cmake_parse_arguments(arg "" "LOG;WORKING_DIRECTORY" "COMMAND" ${ARGN})
  if(NOT arg_WORKING_DIRECTORY)
    set(arg_WORKING_DIRECTORY "${WORK_DIR}")
  endif()
  string(MAKE_C_IDENTIFIER "${step}" id)
  execute_process(COMMAND ${arg_COMMAND} WORKING_DIRECTORY "${arg_WORKING_DIRECTORY}" RESULT_VARIABLE status
                  OUTPUT_FILE "${WORK_DIR}/${id}.out" ERROR_FILE "${WORK_DIR}/${id}.err")
  file(READ "${WORK_DIR}/${id}.out" out)
  file(READ "${WORK_DIR}/${id}.err" err)
  message(STATUS "${step}: exit ${status}")
  if(NOT status STREQUAL "0")
    fail("${step} failed: exit ${status}" "--- stdout\n${out}\n--- stderr\n${err}\n--- log: ${arg_LOG}")
  endif()
  if(NOT out STREQUAL "")
    message("${out}")
  endif()
  set(step_output "${out}" PARENT_SCOPE)
endfunction()

# The test program, with a filter if given; one that selects nothing would pass quietly.
function(run_tests step)
  run_step("${step}" COMMAND ${WINE_RUN} ${TEST_PROGRAM} ${ARGN})
  if(NOT step_output MATCHES "\\[  PASSED  \\] [1-9][0-9]* tests?\\.")
    fail("${step} ran no test" "${step_output}")
  endif()
endfunction()
