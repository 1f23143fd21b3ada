# kvilfuzz's command line under Wine: every bad argument, and a library that is
# not there, is one line on the standard error and exit status 2, before
# anything is seeded, so the build's shared prefix is safe to use; the version
# is one line on the standard output.
#
#   cmake -DFUZZER=<kvilfuzz.exe> -DEMULATOR=<wine-run> -DWORK_DIR=<dir> -P kvilfuzz_cli.cmake

foreach(required FUZZER EMULATOR WORK_DIR)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()
include(${CMAKE_CURRENT_LIST_DIR}/../support/wine_program.cmake)
set(CASE usage)

# <exit status>|<the stream with the one line>|<the line>|<arguments...>
set(cases
  "2|stderr|kvilfuzz: unexpected argument '--run'|--run|5"
  "2|stderr|kvilfuzz: --runs takes a count from 1 to 10000000, not '0'|--runs|0"
  "2|stderr|kvilfuzz: --seed takes a decimal or 0x hexadecimal number, not '12x'|--seed|12x"
  "2|stderr|kvilfuzz: --time-limit: 1 required SECONDS missing|--runs|3|--time-limit"
  "2|stderr|kvilfuzz: --seed excludes --replay|--replay|0x2a|--seed|1"
  "2|stderr|kvilfuzz: no library at C:/no-such-folder/kvilintg.dll|--dll|C:/no-such-folder/kvilintg.dll"
  "0|stdout|kvilfuzz 1.0.0|--runs|0|--version"
)
foreach(row IN LISTS cases)
  string(REPLACE "|" ";" row "${row}")
  list(POP_FRONT row status stream expected)
  run_program(${FUZZER} ${row})
  expect_exit(${status})
  expect_text(${stream} "${expected}\n")
  set(both_streams "${stdout}${stderr}")
  expect_text(both_streams "${expected}\n")
endforeach()
