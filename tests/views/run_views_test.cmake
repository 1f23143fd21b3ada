# The registry-views test: the program writes into the prefix's real HKLM, HKCU
# and HKCR.
include(${CMAKE_CURRENT_LIST_DIR}/../support/wine_prefix.cmake)
fresh_prefix()
run_tests("views tests")
remove_prefix()
