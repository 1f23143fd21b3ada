# The hostile-machine fuzzer under Wine, in a prefix of its own: seeding the
# machine and attaching FrontPage 97 and 98 and Access 97 change frontpg.ini and
# win.ini in the Windows folder, which the host tests read on the build's shared
# prefix. The prefix is made on first use and removed by the last step.
#
#   MODE=remove-prefix  stops the prefix's wineserver and deletes the prefix
#   MODE=detects        drives a library with one fault of each kind the fuzzer
#                       reports, and shows each reported with the run's seed, and
#                       a crash made again by --replay of that seed
#   MODE=runs           RUNS runs from SEED must all pass
#
#   cmake -DMODE=<mode> -DFUZZER=<kvilfuzz.exe> -DFAULTY=<kvilfuzz_faulty.dll> -DEMULATOR=<build/wine-run>
#         -DWINESERVER=<wineserver> -DPREFIX=<wine prefix> -DWORK_DIR=<dir> [-DRUNS=<n> -DSEED=<s>]
#         -P run_kvilfuzz.cmake

foreach(required MODE FUZZER EMULATOR WINESERVER PREFIX WORK_DIR)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()
set(ENV{KVIL_WINEPREFIX} "${PREFIX}")
include(${CMAKE_CURRENT_LIST_DIR}/../support/wine_program.cmake)

if(MODE STREQUAL "remove-prefix")
  remove_wine_prefix("${PREFIX}")
  return()
endif()

# Runs the fuzzer; sets status and out (stdout, then stderr) in the caller.
function(run_fuzzer name)
  set(CASE "${name}")
  run_program(${FUZZER} ${ARGN})
  set(status "${exit_code}" PARENT_SCOPE)
  set(out "${stdout}${stderr}" PARENT_SCOPE)
endfunction()

function(expect_output name pattern)
  if(NOT out MATCHES "${pattern}")
    message(FATAL_ERROR "${name}: the output lacks\n  ${pattern}\n--- exit ${status}\n${out}")
  endif()
endfunction()

if(MODE STREQUAL "runs")
  # A run takes a second or two even on a loaded machine.
  run_fuzzer(runs --runs ${RUNS} --seed ${SEED} --time-limit 30)
  message("${out}")
  if(NOT status STREQUAL "0")
    message(FATAL_ERROR "kvilfuzz exit status ${status}")
  endif()
  expect_output(runs "kvilfuzz: ${RUNS} runs from seed [^\n]*: ${RUNS} passed, 0 failed\n")
  return()
endif()

if(NOT MODE STREQUAL "detects")
  message(FATAL_ERROR "unknown MODE ${MODE}")
endif()
if(NOT DEFINED FAULTY)
  message(FATAL_ERROR "define FAULTY")
endif()
# The faulty library's path as the fuzzer, a Windows program, opens it.
string(REPLACE "/" "\\" faulty "Z:${FAULTY}")

# <fault>|<the failure line the fuzzer must print>|<its count in the totals>
set(seed "0x[0-9a-f]+")
set(cases
  "overrun|  overrun: InfoUnknown\\(0, 1049, buffer of [0-9]+ bytes\\): wrote past its capacity\n|overrun 1"
  "underrun|  overrun: InfoUnknown\\(3, 1049, buffer of [0-9]+ bytes\\): wrote before its buffer\n|overrun 4"
  "crash|  crash: AttachUnknown\\(0, 1049\\): exception 0xC0000005 at kvilfuzz_faulty.dll\\+0x[0-9a-f]+\n|crash 1"
  "exception|  exception: DetachUnknown\\(3, 1049\\): a C\\+\\+ exception escaped\n|exception 4"
  "hang|  hang: still running after 10 s\n|hang 1"
  "lost|  lost-module: [^\n]*\\\\Opera\\\\spellcheck.ini: gone, and no backup of it\n|lost-module 1"
)
foreach(row IN LISTS cases)
  string(REPLACE "|" ";" row "${row}")
  list(GET row 0 fault)
  list(GET row 1 failure)
  list(GET row 2 count)
  set(ENV{KVILFUZZ_FAULT} "${fault}")
  run_fuzzer(${fault} --runs 1 --seed 5 --time-limit 10 --dll "${faulty}")
  if(NOT status STREQUAL "1")
    message(FATAL_ERROR "${fault}: exit status ${status}, expected 1\n${out}")
  endif()
  expect_output(${fault} "FAILED run 1, seed ${seed}:\n")
  string(REGEX MATCH "FAILED run 1, seed (${seed}):" found "${out}")
  set(failed_seed "${CMAKE_MATCH_1}")
  expect_output(${fault} "${failure}")
  expect_output(${fault} "  replay: kvilfuzz --replay ${failed_seed}\n")
  expect_output(${fault} "kvilfuzz: 1 run from seed 0x0000000000000005 in [0-9.]+ s: 0 passed, 1 failed\n")
  expect_output(${fault} "  failures:[^\n]* ${count}[ \n]")
  expect_output(${fault} "  failed seeds: ${failed_seed}\n")
  if(fault STREQUAL "crash")
    set(crash_seed "${failed_seed}")
    set(crash_failure "${failure}")
  endif()
endforeach()

set(ENV{KVILFUZZ_FAULT} crash)
run_fuzzer(replay --replay ${crash_seed} --dll "${faulty}")
expect_output(replay "FAILED run 1, seed ${crash_seed}:\n${crash_failure}")
expect_output(replay "kvilfuzz: replay of seed ${crash_seed} in [0-9.]+ s: 0 passed, 1 failed\n")
