# Generates the host catalogue in a Wine prefix of its own and writes it to PAGE
# (MODE=update) or fails, showing how, when PAGE differs from it (MODE=check).
#   cmake -DMODE=update|check -DCATALOG=<kvilcatalog.exe> -DDEF=<kvilintg.def> -DPAGE=<hosts.md>
#         -DEMULATOR=<wine-run> -DWINESERVER=<wineserver> -DPREFIX=<prefix> -DWORK_DIR=<dir> -P hosts_doc.cmake
include(${CMAKE_CURRENT_LIST_DIR}/../../tests/support/wine_program.cmake)
set(CASE catalogue)
function(on_failure)
  remove_wine_prefix("${PREFIX}")
endfunction()

remove_wine_prefix("${PREFIX}")
set(ENV{KVIL_WINEPREFIX} "${PREFIX}")
string(REPLACE "/" "\\" windows_def "Z:${DEF}")
run_program(${CATALOG} "${windows_def}")
expect_exit(0)
remove_wine_prefix("${PREFIX}")
set(generated "${WORK_DIR}/${CASE}.out")

if(MODE STREQUAL "update")
  file(COPY_FILE "${generated}" "${PAGE}")
  message(STATUS "wrote ${PAGE}")
  return()
endif()
execute_process(COMMAND diff -u "${PAGE}" "${generated}" RESULT_VARIABLE differs OUTPUT_VARIABLE diff)
if(NOT differs EQUAL 0)
  message(NOTICE "${diff}")
  message(FATAL_ERROR "${PAGE} is not what the library makes now (the diff above goes from it to what "
                      "the library makes). Regenerate it with: cmake --build build --target hosts_doc")
endif()
