# Runs kvilbench.exe under Wine for one case and checks its exit status and its
# output.
#
#   cmake -DCASE=<name> -DTOOL=<kvilbench.exe> -DEMULATOR=<wine-run> -DWORK_DIR=<dir>
#         [-DWINESERVER=<wineserver> -DPREFIX=<wine prefix>] -P kvilbench.cmake
#
# The run case seeds and attaches in the prefix PREFIX, made fresh for it and
# deleted after it, whatever happened.

foreach(required CASE TOOL EMULATOR WORK_DIR)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()

include(${CMAKE_CURRENT_LIST_DIR}/support/wine_program.cmake)

function(on_failure)
  if(PREFIX)
    remove_wine_prefix("${PREFIX}")
  endif()
endfunction()

# Usage errors, one line on stderr and exit status 2, and the version, one line
# on stdout and exit status 0:
#   NAME|<case>|EXIT|<status>|STDOUT or STDERR|<the line>|ARGS|<arguments...>
set(usage_cases
  "NAME|unknown_suffix|EXIT|2|STDERR|kvilbench: unknown host suffix 'WW81'\n|ARGS|--suffix|ww80|--suffix|WW81"
  "NAME|unknown_tool|EXIT|2|STDERR|kvilbench: unknown tool 'spelling'\n|ARGS|--tool|spelling"
  "NAME|unknown_language|EXIT|2|STDERR|kvilbench: unknown language '1050'\n|ARGS|--lang|1050"
  "NAME|bad_rounds|EXIT|2|STDERR|kvilbench: --rounds takes a count from 1 to 99, not '0'\n|ARGS|--rounds|0"
  "NAME|unknown_option|EXIT|2|STDERR|kvilbench: unexpected argument '--json'\n|ARGS|--json|--rounds|2"
  "NAME|version|EXIT|0|STDOUT|kvilbench 1.0.0\n|ARGS|--rounds|2|--help|--version"
)
foreach(row IN LISTS usage_cases)
  string(REPLACE "|" ";" row "${row}")
  cmake_parse_arguments(expected "" "NAME;EXIT;STDOUT;STDERR" "ARGS" ${row})
  if(expected_NAME STREQUAL CASE)
    run_program(${TOOL} ${expected_ARGS})
    expect_exit(${expected_EXIT})
    expect_text(stdout "${expected_STDOUT}")
    expect_text(stderr "${expected_STDERR}")
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
remove_wine_prefix("${PREFIX}")
set(ENV{KVIL_WINEPREFIX} "${PREFIX}")
run_program(${TOOL} --rounds 2)
expect_exit(0)
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
remove_wine_prefix("${PREFIX}")
