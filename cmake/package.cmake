# What ships: `cmake --install` and the ZIP that `--target package` makes hold
# the library, the survey tool beside it, the C header, the module-definition
# file and the docs.
# Shipped binaries are linked without symbols or the debug sections of the
# static C++ runtime, which would carry its own build machine's paths.
set_property(TARGET kvilintg kvilhosts APPEND PROPERTY LINK_OPTIONS -s)
install(TARGETS kvilintg kvilhosts RUNTIME DESTINATION bin)
install(FILES ${PROJECT_SOURCE_DIR}/include/kvilintg.h DESTINATION include)
install(FILES ${PROJECT_SOURCE_DIR}/exports/kvilintg.def DESTINATION lib)
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION doc)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION doc)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME kvilintg)
set(CPACK_PACKAGE_VENDOR Tervane)
set(CPACK_PACKAGE_FILE_NAME kvilintg-${PROJECT_VERSION}-win64)
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
# The ZIP's entries are dated by the last commit when the package is made, so
# two builds of one commit give the same bytes.
set(KVIL_SOURCE_DIR ${PROJECT_SOURCE_DIR})
configure_file(${CMAKE_CURRENT_LIST_DIR}/package_time.cmake.in ${CMAKE_BINARY_DIR}/package_time.cmake @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/package_time.cmake)
include(CPack)
