# kvilfuzz's command line under Wine: every bad argument, and a library that is
# not there, is one line on the standard error and exit status 2, before
# anything is seeded, so the build's shared prefix is safe to use.
#
#   cmake -DFUZZER=<kvilfuzz.exe> -DEMULATOR=<wine-run> -P kvilfuzz_cli.cmake

foreach(required FUZZER EMULATOR)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()

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
  execute_process(COMMAND ${EMULATOR} ${FUZZER} ${row}
                  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  string(REPLACE "\r\n" "\n" err "${err}")
  if(NOT status STREQUAL "2" OR NOT out STREQUAL "" OR NOT err STREQUAL "${expected}\n")
    message(FATAL_ERROR "kvilfuzz ${row}: exit ${status}, expected 2\n--- stdout\n${out}\n--- stderr\n${err}\n"
                        "--- expected stderr\n${expected}")
  endif()
endforeach()
