# What the tools' command-line tests share: running one of the build's Windows
# programs under Wine (EMULATOR), reporting a failed expectation, and removing
# a Wine prefix of their own.

# Runs a Windows program; sets exit_code, stdout and stderr (with Windows line
# ends folded) in the caller. The output goes through files, WORK_DIR/CASE.out
# and .err: a wineserver that the run starts, and the services it starts,
# inherit the run's handles and would hold a pipe open for seconds after the
# program has ended.
function(run_program)
  file(MAKE_DIRECTORY "${WORK_DIR}")
  execute_process(COMMAND ${EMULATOR} ${ARGN} RESULT_VARIABLE code
                  OUTPUT_FILE "${WORK_DIR}/${CASE}.out" ERROR_FILE "${WORK_DIR}/${CASE}.err")
  file(READ "${WORK_DIR}/${CASE}.out" out)
  file(READ "${WORK_DIR}/${CASE}.err" err)
  string(REPLACE "\r\n" "\n" out "${out}")
  string(REPLACE "\r\n" "\n" err "${err}")
  set(exit_code "${code}" PARENT_SCOPE)
  set(stdout "${out}" PARENT_SCOPE)
  set(stderr "${err}" PARENT_SCOPE)
endfunction()

# Ends the case with the last run's output; a script that must tidy up first
# defines on_failure().
function(fail what)
  if(COMMAND on_failure)
    on_failure()
  endif()
  message(FATAL_ERROR "${CASE}: ${what}\n--- exit ${exit_code}\n--- stdout\n${stdout}\n--- stderr\n${stderr}")
endfunction()

function(expect_exit expected)
  if(NOT exit_code STREQUAL "${expected}")
    fail("exit status ${exit_code}, expected ${expected}")
  endif()
endfunction()

function(expect_text stream expected)
  if(NOT "${${stream}}" STREQUAL "${expected}")
    fail("${stream} differs from:\n${expected}")
  endif()
endfunction()

# The prefix's wineserver is stopped before its folder goes, so that no
# registry flush lands in a deleted tree.
function(remove_wine_prefix prefix)
  if(EXISTS "${prefix}")
    foreach(option -k -w)
      execute_process(COMMAND ${CMAKE_COMMAND} -E env WINEPREFIX=${prefix} ${WINESERVER} ${option}
                      OUTPUT_QUIET ERROR_QUIET)
    endforeach()
  endif()
  file(REMOVE_RECURSE "${prefix}")
  file(REMOVE "${prefix}.lock")
endfunction()
