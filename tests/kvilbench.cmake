# Runs kvilbench.exe under Wine for one case and checks its exit status and its
# output.
#
#   cmake -DCASE=<name> -DTOOL=<kvilbench.exe> -DWINE_RUN=<wine-run>
#         [-DWINESERVER=<wineserver> -DPREFIX=<wine prefix>] -P kvilbench.cmake
#
# The run case seeds and attaches in the prefix PREFIX, made fresh for it and
# deleted after it, whatever happened.

foreach(required CASE TOOL WINE_RUN)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()

# Sets exit_code, stdout and stderr (with Windows line ends folded) in the caller.
function(run_tool)
  execute_process(COMMAND ${WINE_RUN} ${TOOL} ${ARGN}
                  RESULT_VARIABLE exit_code OUTPUT_VARIABLE out ERROR_VARIABLE err)
  string(REPLACE "\r\n" "\n" out "${out}")
  string(REPLACE "\r\n" "\n" err "${err}")
  set(exit_code "${exit_code}" PARENT_SCOPE)
  set(stdout "${out}" PARENT_SCOPE)
  set(stderr "${err}" PARENT_SCOPE)
endfunction()

# The prefix's wineserver is stopped before its folder goes, so that no
# registry flush lands in a deleted tree.
function(remove_prefix)
  if(PREFIX AND EXISTS "${PREFIX}")
    execute_process(COMMAND ${CMAKE_COMMAND} -E env WINEPREFIX=${PREFIX} ${WINESERVER} -k OUTPUT_QUIET ERROR_QUIET)
    execute_process(COMMAND ${CMAKE_COMMAND} -E env WINEPREFIX=${PREFIX} ${WINESERVER} -w OUTPUT_QUIET ERROR_QUIET)
  endif()
  if(PREFIX)
    file(REMOVE_RECURSE "${PREFIX}")
    file(REMOVE "${PREFIX}.lock")
  endif()
endfunction()

function(fail what)
  remove_prefix()
  message(FATAL_ERROR "${CASE}: ${what}\n--- exit ${exit_code}\n--- stdout\n${stdout}\n--- stderr\n${stderr}")
endfunction()

# Usage errors: NAME|<case>|STDERR|<the one line>|ARGS|<arguments...>
set(usage_cases
  "NAME|unknown_suffix|STDERR|kvilbench: unknown host suffix 'WW81'\n|ARGS|--suffix|ww80|--suffix|WW81"
  "NAME|unknown_tool|STDERR|kvilbench: unknown tool 'spelling'\n|ARGS|--tool|spelling"
  "NAME|unknown_language|STDERR|kvilbench: unknown language '1050'\n|ARGS|--lang|1050"
  "NAME|bad_rounds|STDERR|kvilbench: --rounds takes a count from 1 to 99, not '0'\n|ARGS|--rounds|0"
  "NAME|unknown_option|STDERR|kvilbench: unknown option '--json'\n|ARGS|--json"
)
foreach(row IN LISTS usage_cases)
  string(REPLACE "|" ";" row "${row}")
  cmake_parse_arguments(expected "" "NAME;STDERR" "ARGS" ${row})
  if(expected_NAME STREQUAL CASE)
    run_tool(${expected_ARGS})
    if(NOT exit_code STREQUAL "2")
      fail("exit status ${exit_code}, expected 2")
    endif()
    if(NOT stdout STREQUAL "" OR NOT stderr STREQUAL "${expected_STDERR}")
      fail("expected nothing on stdout and on stderr:\n${expected_STDERR}")
    endif()
    return()
  endif()
endforeach()

if(NOT CASE STREQUAL "run")
  message(FATAL_ERROR "unknown case '${CASE}'")
endif()
foreach(required WINESERVER PREFIX)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()

# Two rounds: the second attaches every host again after the first detached it.
remove_prefix()
set(ENV{KVIL_WINEPREFIX} "${PREFIX}")
run_tool(--rounds 2)
if(NOT exit_code STREQUAL "0")
  fail("exit status ${exit_code}, expected 0")
endif()
foreach(line
    "reference read \\(open, query, close of one value\\): [0-9.]+ us\n"
    "\n  full survey +[0-9]+ read-equivalents \\(target 2000[^)]*\\)\n"
    "\n  costliest attach +[0-9.]+ read-equivalents, [A-Za-z0-9_]+ [a-z]+ \\(target 50[^)]*\\)\n")
  if(NOT stdout MATCHES "${line}")
    fail("no line matching '${line}'")
  endif()
endforeach()
# One attach row per suffix surveyed.
if(NOT stdout MATCHES "\nsurvey: ([0-9]+) suffixes x 4 tool kinds")
  fail("no survey heading")
endif()
set(suffix_count ${CMAKE_MATCH_1})
string(REGEX MATCHALL "\n  [A-Za-z0-9_]+ +[0-9.]+  [a-z]+ +[0-9.]+  [0-4]/4" attach_rows "${stdout}")
list(LENGTH attach_rows attach_row_count)
if(NOT attach_row_count EQUAL suffix_count)
  fail("${attach_row_count} attach rows for ${suffix_count} suffixes")
endif()
remove_prefix()
