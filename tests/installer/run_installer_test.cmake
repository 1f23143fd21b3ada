# The library against a real Windows Installer: builds three packages with
# wixl and, with Wine's msiexec in a Wine prefix of its own, installs the
# proofing-tools package, runs the installed-package tests, removes it and runs
# the removed-package tests; then installs Office 2010's Russian grammar
# checker and the product's beside it, runs the published-grammar tests,
# removes both and runs the removed-grammar tests. The prefix is made fresh for
# each run and deleted afterwards, whatever happened; the first failing step
# fails the test.
#
#   cmake -DSOURCE_DIR=<tests/installer> -DWORK_DIR=<dir> -DPREFIX=<wine prefix>
#         -DWINE_RUN=<build/wine-run> -DWINESERVER=<wineserver> -DTEST_PROGRAM=<installer_tests.exe>
#         -P run_installer_test.cmake

foreach(required SOURCE_DIR WORK_DIR PREFIX WINE_RUN WINESERVER TEST_PROGRAM)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()

# Each package's product code, which msiexec /x removes it by.
set(proofing_tools_code "{00000419-78E1-11D2-B60F-006097C998E7}")
set(office_grammar_code "{5B01B8FC-B06B-4E59-A932-997204AAB1B9}")
set(product_grammar_code "{570BBEB2-032A-412F-81DE-77E4180502D5}")
set(ENV{KVIL_WINEPREFIX} "${PREFIX}")

# msiexec reads and writes through Wine's drive Z:, which is the Unix root.
function(windows_path unix_path out)
  string(REPLACE "/" "\\" path "${unix_path}")
  set(${out} "Z:${path}" PARENT_SCOPE)
endfunction()

# The prefix's wineserver is stopped before its folder goes, so that no
# registry flush lands in a deleted tree.
function(remove_prefix)
  if(EXISTS "${PREFIX}")
    execute_process(COMMAND ${CMAKE_COMMAND} -E env WINEPREFIX=${PREFIX} ${WINESERVER} -k
                    OUTPUT_QUIET ERROR_QUIET)
    execute_process(COMMAND ${CMAKE_COMMAND} -E env WINEPREFIX=${PREFIX} ${WINESERVER} -w
                    OUTPUT_QUIET ERROR_QUIET)
  endif()
  file(REMOVE_RECURSE "${PREFIX}")
  file(REMOVE "${PREFIX}.lock")
endfunction()

function(fail step details)
  remove_prefix()
  message(FATAL_ERROR "${step}\n${details}")
endfunction()

# Runs one step; any exit status but 0 fails the test with its output and, for
# msiexec, the tail of its log. The output goes to files of the step's own
# rather than through pipes: the prefix's wineserver and the processes it keeps
# running inherit them from whichever step started them, and would hold a pipe
# open until they shut down, seconds after the step itself has ended.
function(run_step step)
  cmake_parse_arguments(arg "" "LOG;WORKING_DIRECTORY" "COMMAND" ${ARGN})
  if(NOT arg_WORKING_DIRECTORY)
    set(arg_WORKING_DIRECTORY "${WORK_DIR}")
  endif()
  string(MAKE_C_IDENTIFIER "${step}" id)
  file(MAKE_DIRECTORY "${WORK_DIR}/steps")
  execute_process(COMMAND ${arg_COMMAND} WORKING_DIRECTORY "${arg_WORKING_DIRECTORY}" RESULT_VARIABLE status
                  OUTPUT_FILE "${WORK_DIR}/steps/${id}.out" ERROR_FILE "${WORK_DIR}/steps/${id}.err")
  file(READ "${WORK_DIR}/steps/${id}.out" out)
  file(READ "${WORK_DIR}/steps/${id}.err" err)
  message(STATUS "${step}: exit ${status}")
  if(NOT status STREQUAL "0")
    set(log "")
    if(arg_LOG AND EXISTS "${arg_LOG}")
      file(STRINGS "${arg_LOG}" lines)
      list(LENGTH lines count)
      if(count GREATER 60)
        math(EXPR first "${count} - 60")
        list(SUBLIST lines ${first} 60 lines)
      endif()
      list(JOIN lines "\n" log)
    endif()
    fail("${step} failed: exit ${status}" "--- stdout\n${out}\n--- stderr\n${err}\n--- log\n${log}")
  endif()
  if(NOT out STREQUAL "")
    message("${out}")
  endif()
  set(step_output "${out}" PARENT_SCOPE)
endfunction()

# A filter that selects nothing would pass quietly.
function(run_tests step filter)
  run_step("${step}" COMMAND ${WINE_RUN} ${TEST_PROGRAM} --gtest_filter=${filter})
  if(NOT step_output MATCHES "\\[  PASSED  \\] [1-9][0-9]* tests?\\.")
    fail("${step} ran no test" "${step_output}")
  endif()
endfunction()

# <name>.wxs built into <name>.msi. wixl writes no PublishComponent table and
# leaves the publishing actions out of the execute sequence; both are added to
# the built package, the table from <name>.idt. 1700 and 6200 are the actions'
# places in the Installer's standard sequence.
function(build_package name)
  set(package "${WORK_DIR}/${name}.msi")
  run_step("wixl ${name}" WORKING_DIRECTORY "${WORK_DIR}/payload"
           COMMAND ${WIXL} -a x64 -o ${package} ${SOURCE_DIR}/${name}.wxs)
  run_step("msibuild ${name} PublishComponent" COMMAND ${MSIBUILD} ${package} -i ${SOURCE_DIR}/${name}.idt)
  foreach(action IN ITEMS "UnpublishComponents|1700" "PublishComponents|6200")
    string(REPLACE "|" ";" action "${action}")
    list(GET action 0 action_name)
    list(GET action 1 sequence)
    run_step("msibuild ${name} ${action_name}" COMMAND ${MSIBUILD} ${package} -q
             "INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) VALUES ('${action_name}', ${sequence})")
  endforeach()
endfunction()

function(install_package name)
  windows_path("${WORK_DIR}/${name}.msi" package_path)
  windows_path("${WORK_DIR}/${name}-install.log" log_path)
  run_step("msiexec /i ${name}" LOG "${WORK_DIR}/${name}-install.log"
           COMMAND ${WINE_RUN} msiexec /i ${package_path} /qn /l*v ${log_path})
endfunction()

function(remove_package name)
  windows_path("${WORK_DIR}/${name}-remove.log" log_path)
  run_step("msiexec /x ${name}" LOG "${WORK_DIR}/${name}-remove.log"
           COMMAND ${WINE_RUN} msiexec /x ${${name}_code} /qn /l*v ${log_path})
endfunction()

remove_prefix()
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}/payload")

# Each file holds its own name, which the installed-package tests read back.
foreach(name MSSP3RU.DLL MSSP3RU.LEX MSSP3EN.DLL MSSP3EN.LEX)
  file(WRITE "${WORK_DIR}/payload/${name}" "Office proofing file ${name}\r\n")
endforeach()
# The grammar checkers' modules too, though only their paths are looked at.
foreach(name MSGR3RU.DLL kvilgr32.dll)
  file(WRITE "${WORK_DIR}/payload/${name}" "Grammar checker ${name}\r\n")
endforeach()

find_program(WIXL wixl)
find_program(MSIBUILD msibuild)
if(NOT WIXL OR NOT MSIBUILD)
  fail("wixl and msibuild are needed" "install Debian's wixl and msitools (scripts/install-deps.sh)")
endif()
foreach(name proofing_tools office_grammar product_grammar)
  build_package(${name})
endforeach()

install_package(proofing_tools)
run_tests("installed package tests" "InstalledPackage.*")
remove_package(proofing_tools)
run_tests("removed package tests" "RemovedPackage.*")

# Office's grammar checker goes first, as on a machine where the product came
# after Office: the Installer appends each new provider to the lists.
install_package(office_grammar)
install_package(product_grammar)
run_tests("published grammar tests" "PublishedGrammar.*")
remove_package(office_grammar)
remove_package(product_grammar)
run_tests("removed grammar tests" "RemovedGrammar.*")

remove_prefix()
