# The registry-views test in a Wine prefix of its own, made fresh for the run
# and deleted afterwards whatever happened: the test program writes into the
# prefix's real HKLM, HKCU and HKCR, where the two registry views exist.
#
#   cmake -DPREFIX=<wine prefix> -DWORK_DIR=<dir> -DWINE_RUN=<build/wine-run>
#         -DWINESERVER=<wineserver> -DTEST_PROGRAM=<views_tests.exe> -P run_views_test.cmake

foreach(required PREFIX WORK_DIR WINE_RUN WINESERVER TEST_PROGRAM)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()
set(ENV{KVIL_WINEPREFIX} "${PREFIX}")

# The prefix's wineserver is stopped before its folder goes, so that no
# registry flush lands in a deleted tree.
function(remove_prefix)
  if(EXISTS "${PREFIX}")
    foreach(option -k -w)
      execute_process(COMMAND ${CMAKE_COMMAND} -E env WINEPREFIX=${PREFIX} ${WINESERVER} ${option}
                      OUTPUT_QUIET ERROR_QUIET)
    endforeach()
  endif()
  file(REMOVE_RECURSE "${PREFIX}")
  file(REMOVE "${PREFIX}.lock")
endfunction()

remove_prefix()
file(MAKE_DIRECTORY "${WORK_DIR}")
# The output goes to files rather than pipes: the prefix's wineserver inherits
# whatever the first Wine process was given and would hold a pipe open until it
# shuts down, seconds after the program has ended.
execute_process(COMMAND ${WINE_RUN} ${TEST_PROGRAM} RESULT_VARIABLE status
                OUTPUT_FILE "${WORK_DIR}/views.out" ERROR_FILE "${WORK_DIR}/views.err")
file(READ "${WORK_DIR}/views.out" out)
file(READ "${WORK_DIR}/views.err" err)
remove_prefix()
message("${out}")
if(NOT status STREQUAL "0")
  message(FATAL_ERROR "views_tests failed: exit ${status}\n--- stderr\n${err}")
endif()
if(NOT out MATCHES "\\[  PASSED  \\] [1-9][0-9]* tests?\\.")
  message(FATAL_ERROR "views_tests ran no test\n${err}")
endif()
