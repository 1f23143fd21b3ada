# kvilfuzz's command line under Wine: every bad argument, and a library that is
# not there, is one line on the standard error and exit status 2, before
# anything is seeded, so the build's shared prefix is safe to use.
#
#   cmake -DFUZZER=<kvilfuzz.exe> -DEMULATOR=<wine-run> -DWORK_DIR=<dir> -P kvilfuzz_cli.cmake

foreach(required FUZZER EMULATOR WORK_DIR)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()
include(${CMAKE_CURRENT_LIST_DIR}/../support/wine_program.cmake)
set(CASE usage)

# <expected stderr>|<arguments...>
set(cases
  "kvilfuzz: unknown argument '--run'|--run|5"
  "kvilfuzz: --runs takes 1 to 10000000|--runs|0"
  "kvilfuzz: bad number '12x' for --seed|--seed|12x"
  "kvilfuzz: --time-limit needs a value|--runs|3|--time-limit"
  "kvilfuzz: --replay makes one run: no --runs or --seed|--replay|0x2a|--seed|1"
  "kvilfuzz: no library at C:/no-such-folder/kvilintg.dll|--dll|C:/no-such-folder/kvilintg.dll"
)
foreach(row IN LISTS cases)
  string(REPLACE "|" ";" row "${row}")
  list(POP_FRONT row expected)
  run_program(${FUZZER} ${row})
  expect_exit(2)
  expect_text(stdout "")
  expect_text(stderr "${expected}\n")
endforeach()
