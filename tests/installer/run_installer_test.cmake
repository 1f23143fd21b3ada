# The library against a real Windows Installer: builds the packages with wixl
# and, with Wine's msiexec in a Wine prefix of its own (made fresh, deleted
# afterwards whatever happened), lays out one machine after the other: installs
# its packages, runs its installed-package tests, removes the packages and runs
# its removed-package tests. The first failing step fails the test.
#
#   cmake -DSOURCE_DIR=<tests/installer> -DWORK_DIR=<dir> -DPREFIX=<wine prefix>
#         -DWINE_RUN=<build/wine-run> -DWINESERVER=<wineserver> -DTEST_PROGRAM=<installer_tests.exe>
#         -P run_installer_test.cmake

foreach(required SOURCE_DIR WORK_DIR PREFIX WINE_RUN WINESERVER TEST_PROGRAM)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()
set(ENV{KVIL_WINEPREFIX} "${PREFIX}")

# Two machines, each in its own tests' name prefix: first one with 64-bit
# programs, where Word 2000's Russian proofing tools, then Office 2010's grammar
# checker and then the product's are installed, as on a machine where the
# product came after Office (the Installer appends each new provider to the
# lists); then one with 32-bit programs, where the same proofing tools are
# installed built for x86. The two builds share their product and component
# codes, so the second machine is laid out only once the first is removed.
# Each package has the product code msiexec /x removes it by.
set(machines x64 x86)
set(x64_packages proofing_tools office_grammar product_grammar)
set(x64_installed_tests "x64/InstalledPackage.*:PublishedGrammar.*")
set(x64_removed_tests "x64/RemovedPackage.*:RemovedGrammar.*")
set(x86_packages proofing_tools)
set(x86_installed_tests "x86/InstalledPackage.*")
set(x86_removed_tests "x86/RemovedPackage.*")
set(proofing_tools_code "{00000419-78E1-11D2-B60F-006097C998E7}")
set(office_grammar_code "{5B01B8FC-B06B-4E59-A932-997204AAB1B9}")
set(product_grammar_code "{570BBEB2-032A-412F-81DE-77E4180502D5}")

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

function(fail step details)
  remove_prefix()
  message(FATAL_ERROR "${step}\n${details}")
endfunction()

# Runs one step in WORK_DIR (or WORKING_DIRECTORY); any exit status but 0 fails
# the test with its output and where its log is. The output goes to files of
# the step's own rather than through pipes: the prefix's wineserver and the
# processes it keeps running inherit them from whichever step started them, and
# would hold a pipe open until they shut down, seconds after the step has ended.
function(run_step step)
  cmake_parse_arguments(arg "" "LOG;WORKING_DIRECTORY" "COMMAND" ${ARGN})
  if(NOT arg_WORKING_DIRECTORY)
    set(arg_WORKING_DIRECTORY "${WORK_DIR}")
  endif()
  string(MAKE_C_IDENTIFIER "${step}" id)
  execute_process(COMMAND ${arg_COMMAND} WORKING_DIRECTORY "${arg_WORKING_DIRECTORY}" RESULT_VARIABLE status
                  OUTPUT_FILE "${WORK_DIR}/${id}.out" ERROR_FILE "${WORK_DIR}/${id}.err")
  file(READ "${WORK_DIR}/${id}.out" out)
  file(READ "${WORK_DIR}/${id}.err" err)
  message(STATUS "${step}: exit ${status}")
  if(NOT status STREQUAL "0")
    fail("${step} failed: exit ${status}" "--- stdout\n${out}\n--- stderr\n${err}\n--- log: ${arg_LOG}")
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

# msiexec reads and writes through Wine's drive Z:, which is the Unix root.
function(msiexec option target log)
  string(REPLACE "/" "\\" windows_log "Z:${log}")
  run_step("msiexec ${option} ${target}" LOG "${log}"
           COMMAND ${WINE_RUN} msiexec ${option} ${target} /qn /l*v ${windows_log})
endfunction()

remove_prefix()
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}/payload")
# Each proofing file holds its own name, which the tests read back; of the
# grammar checkers' modules only the paths are looked at.
foreach(name MSSP3RU.DLL MSSP3RU.LEX MSSP3EN.DLL MSSP3EN.LEX MSGR3RU.DLL kvilgr32.dll)
  file(WRITE "${WORK_DIR}/payload/${name}" "Office proofing file ${name}\r\n")
endforeach()
find_program(WIXL wixl)
find_program(MSIBUILD msibuild)
if(NOT WIXL OR NOT MSIBUILD)
  fail("wixl and msibuild are needed" "install Debian's wixl and msitools (scripts/install-deps.sh)")
endif()

# wixl writes no PublishComponent table and leaves the publishing actions out of
# the execute sequence: both are added to the built package, the table from
# <name>.idt (or <name>-<arch>.idt, where the width changes what is published),
# the actions at their places in the Installer's standard sequence. A package
# is built for its machine's width (Arch tells its source which).
function(build_package name arch)
  set(package "${WORK_DIR}/${name}-${arch}.msi")
  set(table "${SOURCE_DIR}/${name}-${arch}.idt")
  if(NOT EXISTS "${table}")
    set(table "${SOURCE_DIR}/${name}.idt")
  endif()
  run_step("wixl ${name} ${arch}" WORKING_DIRECTORY "${WORK_DIR}/payload"
           COMMAND ${WIXL} -a ${arch} -D Arch=${arch} -o ${package} ${SOURCE_DIR}/${name}.wxs)
  set(insert "INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) VALUES")
  run_step("msibuild ${name} ${arch}" COMMAND ${MSIBUILD} ${package} -i ${table}
           -q "${insert} ('UnpublishComponents', 1700)" -q "${insert} ('PublishComponents', 6200)")
endfunction()

foreach(arch IN LISTS machines)
  foreach(name IN LISTS ${arch}_packages)
    build_package(${name} ${arch})
    string(REPLACE "/" "\\" windows_package "Z:${WORK_DIR}/${name}-${arch}.msi")
    msiexec(/i ${windows_package} "${WORK_DIR}/${name}-${arch}-install.log")
  endforeach()
  run_tests("${arch} installed package tests" "${${arch}_installed_tests}")
  foreach(name IN LISTS ${arch}_packages)
    msiexec(/x ${${name}_code} "${WORK_DIR}/${name}-${arch}-remove.log")
  endforeach()
  run_tests("${arch} removed package tests" "${${arch}_removed_tests}")
endforeach()
remove_prefix()
