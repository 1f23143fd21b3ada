# The hostile-machine fuzzer's default run under Wine, in a prefix of its own:
# seeding the machine and attaching FrontPage 97 and 98 and Access 97 change
# frontpg.ini and win.ini in the Windows folder, which the host tests read on
# the build's shared prefix. The prefix is made fresh for the run and deleted
# afterwards, whatever happened; the fuzzer's exit status decides the test.
#
#   cmake -DFUZZER=<kvilfuzz.exe> -DWINE_RUN=<build/wine-run> -DWINESERVER=<wineserver>
#         -DPREFIX=<wine prefix> -DWORK_DIR=<dir> -DRUNS=<n> -DSEED=<s> -P run_kvilfuzz.cmake

foreach(required FUZZER WINE_RUN WINESERVER PREFIX WORK_DIR RUNS SEED)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()
set(ENV{KVIL_WINEPREFIX} "${PREFIX}")

# The prefix's wineserver is stopped before its folder goes, so that no
# registry flush lands in a deleted tree.
function(remove_prefix)
  if(EXISTS "${PREFIX}")
    execute_process(COMMAND ${CMAKE_COMMAND} -E env WINEPREFIX=${PREFIX} ${WINESERVER} -k OUTPUT_QUIET ERROR_QUIET)
    execute_process(COMMAND ${CMAKE_COMMAND} -E env WINEPREFIX=${PREFIX} ${WINESERVER} -w OUTPUT_QUIET ERROR_QUIET)
  endif()
  file(REMOVE_RECURSE "${PREFIX}")
  file(REMOVE "${PREFIX}.lock")
endfunction()

remove_prefix()
file(MAKE_DIRECTORY "${WORK_DIR}")
# Files, not pipes: the prefix's wineserver inherits whatever the first Wine
# process was given and would hold a pipe open until it shuts down.
execute_process(COMMAND ${WINE_RUN} ${FUZZER} --runs ${RUNS} --seed ${SEED}
                RESULT_VARIABLE status OUTPUT_FILE "${WORK_DIR}/kvilfuzz.out" ERROR_FILE "${WORK_DIR}/kvilfuzz.err")
remove_prefix()
file(READ "${WORK_DIR}/kvilfuzz.out" out)
file(READ "${WORK_DIR}/kvilfuzz.err" err)
message("${out}${err}")
if(NOT status STREQUAL "0")
  message(FATAL_ERROR "kvilfuzz exit status ${status}")
endif()
if(NOT out MATCHES "kvilfuzz: ${RUNS} runs from seed [^\n]*: ${RUNS} passed, 0 failed")
  message(FATAL_ERROR "kvilfuzz did not report ${RUNS} passed runs")
endif()
