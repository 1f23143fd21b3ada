# The package as the product's team receives it: cpack makes the ZIP into
# WORK_DIR, it is unpacked there, and what it holds is checked and run.
#
#   cmake -DCPACK=<cpack> -DBINARY_DIR=<build> -DSOURCE_DIR=<source> -DVERSION=<x.y.z>
#         -DEMULATOR=<wine-run> -DWORK_DIR=<dir> -P package.cmake
set(CASE package)
include(${CMAKE_CURRENT_LIST_DIR}/support/wine_program.cmake)

file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}/unpacked")
execute_process(COMMAND ${CPACK} --config ${BINARY_DIR}/CPackConfig.cmake -B ${WORK_DIR}
                RESULT_VARIABLE exit_code OUTPUT_VARIABLE stdout ERROR_VARIABLE stderr)
expect_exit(0)
set(zip "${WORK_DIR}/kvilintg-${VERSION}-win64.zip")
execute_process(COMMAND ${CMAKE_COMMAND} -E tar xf ${zip} WORKING_DIRECTORY "${WORK_DIR}/unpacked"
                RESULT_VARIABLE exit_code)
expect_exit(0)

# Exactly these files.
file(GLOB docs RELATIVE "${SOURCE_DIR}" "${SOURCE_DIR}/docs/*")
list(TRANSFORM docs PREPEND "doc/")
set(expected bin/kvilhosts.exe bin/kvilintg.dll doc/README.md ${docs} include/kvilintg.h lib/kvilintg.def)
list(SORT expected)
file(GLOB_RECURSE unpacked RELATIVE "${WORK_DIR}/unpacked" "${WORK_DIR}/unpacked/*")
list(SORT unpacked)
if(NOT unpacked STREQUAL expected)
  fail("the package holds\n  ${unpacked}\nnot\n  ${expected}")
endif()

# Reproducible binaries: a PE header time stamp of 0, and no path of this
# build's tree, or of the trees the C++ runtime and MinGW were built in, inside.
foreach(binary kvilintg.dll kvilhosts.exe)
  set(path "${WORK_DIR}/unpacked/bin/${binary}")
  file(READ "${path}" pe_offset OFFSET 60 LIMIT 4 HEX)
  string(REGEX REPLACE "(..)(..)(..)(..)" "\\4\\3\\2\\1" pe_offset "${pe_offset}")
  math(EXPR stamp_offset "0x${pe_offset} + 8")
  file(READ "${path}" stamp OFFSET ${stamp_offset} LIMIT 4 HEX)
  if(NOT stamp STREQUAL "00000000")
    fail("${binary} carries the link time stamp ${stamp}")
  endif()
  foreach(tree "${SOURCE_DIR}" "${BINARY_DIR}" "/build/" "/usr/")
    file(STRINGS "${path}" leaks REGEX "${tree}")
    if(leaks)
      fail("${binary} names the build tree: ${leaks}")
    endif()
  endforeach()
endforeach()

# The unpacked survey tool runs against the library beside it.
run_program("${WORK_DIR}/unpacked/bin/kvilhosts.exe" --version)
expect_exit(0)
expect_text(stdout "kvilhosts ${VERSION}\nkvilintg.dll ${VERSION}.0 (Kvil Integration Library, Tervane, Kvil ${VERSION})\n")
run_program("${WORK_DIR}/unpacked/bin/kvilhosts.exe" list --json)
expect_exit(0)
string(JSON loaded GET "${stdout}" library path)
string(JSON loaded_version GET "${stdout}" library file_version)
string(JSON host_count LENGTH "${stdout}" hosts)
string(REPLACE "\\" "/" loaded "${loaded}")
string(TOLOWER "${loaded}" loaded)
string(TOLOWER "z:${WORK_DIR}/unpacked/bin/kvilintg.dll" own_library)
if(NOT loaded STREQUAL own_library OR NOT loaded_version STREQUAL "${VERSION}.0" OR host_count LESS 80)
  fail("list loaded ${loaded} ${loaded_version} with ${host_count} hosts, not the package's ${own_library}")
endif()
file(REMOVE_RECURSE "${WORK_DIR}")
