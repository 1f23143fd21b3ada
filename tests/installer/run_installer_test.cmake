# The library against a real Windows Installer: builds the packages beside this
# script with wixl and, with Wine's msiexec in a Wine prefix of its own, lays out
# one machine after the other: installs its packages, runs its tests and removes
# the packages. The first failing step fails the test.
include(${CMAKE_CURRENT_LIST_DIR}/../support/wine_prefix.cmake)
set(SOURCE_DIR ${CMAKE_CURRENT_LIST_DIR})

# Two machines, each in its own tests' name prefix: first one with 64-bit
# programs, where Word 2000's Russian proofing tools, then Office 2010's grammar
# checker and then the product's are installed, as on a machine where the
# product came after Office (the Installer appends each new provider to the
# lists); then one with 32-bit programs, where the same proofing tools are
# installed built for x86. The two builds share their product and component
# codes, so the second machine is laid out only once the first is removed.
set(machines x64 x86)
set(x64_packages proofing_tools office_grammar product_grammar)
set(x86_packages proofing_tools)

# msiexec reads and writes through Wine's drive Z:, which is the Unix root.
function(msiexec option package log)
  string(REPLACE "/" "\\" windows_package "Z:${package}")
  string(REPLACE "/" "\\" windows_log "Z:${log}")
  run_step("msiexec ${option} ${package}" LOG "${log}"
           COMMAND ${WINE_RUN} msiexec ${option} ${windows_package} /qn /l*v ${windows_log})
endfunction()

fresh_prefix()
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
    msiexec(/i "${WORK_DIR}/${name}-${arch}.msi" "${WORK_DIR}/${name}-${arch}-install.log")
  endforeach()
  run_tests("${arch} tests" --gtest_filter=${arch}/*)
  foreach(name IN LISTS ${arch}_packages)
    msiexec(/x "${WORK_DIR}/${name}-${arch}.msi" "${WORK_DIR}/${name}-${arch}-remove.log")
  endforeach()
endforeach()
remove_prefix()
