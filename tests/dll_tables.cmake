# Reads the built DLL's tables with objdump: it must import only Windows system
# DLLs, and export exactly the names of the module-definition file, each by name.
foreach(var DLL DEF OBJDUMP)
  if(NOT ${var})
    message(FATAL_ERROR "dll_tables: ${var} not set")
  endif()
endforeach()

execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE dump RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "objdump failed on ${DLL}")
endif()

string(REGEX MATCHALL "DLL Name: [^\n]+" imports "${dump}")
set(system_dll "^(advapi32|kernel32|user32|version|msi|shell32|shlwapi|ole32|oleaut32|msvcrt|ucrtbase|api-ms-win-.*)\\.dll$")
foreach(line IN LISTS imports)
  string(REPLACE "DLL Name: " "" name "${line}")
  string(TOLOWER "${name}" name)
  if(NOT name MATCHES "${system_dll}")
    message(FATAL_ERROR "the DLL imports ${name}, which is not a Windows system DLL")
  endif()
endforeach()

# Exported names: the "[Ordinal/Name Pointer] Table" rows "[   n] Name".
string(REGEX MATCH "\\[Ordinal/Name Pointer\\] Table[^\n]*\n(([ \t]+\\[[ 0-9]+\\] [^\n]+\n)*)" table "${dump}")
# Brackets would upset CMake's list splitting: drop the "[   n] " row prefixes first.
string(REGEX REPLACE "[ \t]*\\[[ 0-9]+\\] " "" names_text "${CMAKE_MATCH_1}")
string(REGEX MATCHALL "[A-Za-z_][A-Za-z0-9_]*" exported "${names_text}")
list(SORT exported)

file(STRINGS ${DEF} def_lines)
set(declared)
set(in_exports FALSE)
foreach(line IN LISTS def_lines)
  string(STRIP "${line}" line)
  if(line STREQUAL "EXPORTS")
    set(in_exports TRUE)
  elseif(in_exports AND line MATCHES "^([A-Za-z_][A-Za-z0-9_]*)$")
    list(APPEND declared "${CMAKE_MATCH_1}")
  elseif(in_exports AND NOT line STREQUAL "" AND NOT line MATCHES "^;")
    message(FATAL_ERROR "module-definition entry is not a plain name: '${line}'")
  endif()
endforeach()
list(SORT declared)

if(NOT exported STREQUAL declared)
  message(FATAL_ERROR "exports differ from the module-definition file:\n  exported: ${exported}\n  declared: ${declared}")
endif()

# No ordinal-only entries: as many addresses as names.
string(REGEX MATCH "Export Address Table[ \t]+([0-9a-fA-F]+)\n" unused "${dump}")
set(address_count "${CMAKE_MATCH_1}")
string(REGEX MATCH "\\[Name Pointer/Ordinal\\] Table[ \t]+([0-9a-fA-F]+)" unused "${dump}")
set(name_count "${CMAKE_MATCH_1}")
if(NOT address_count OR NOT address_count STREQUAL name_count)
  message(FATAL_ERROR "export table has ${address_count} addresses but ${name_count} names")
endif()
list(LENGTH declared declared_count)
message(STATUS "kvilintg.dll: ${declared_count} named exports; imports: ${imports}")
