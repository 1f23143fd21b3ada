# Runs kvilhosts.exe under Wine for one case and checks its exit status and its
# output. The prefix is the build's own: no product is installed there, so the
# reference hosts answer as on a clean machine (Unknown is always available, the
# Editor exists but finds no product files, and nothing can be attached).
#
#   cmake -DCASE=<name> -DTOOL=<kvilhosts.exe> -DEMULATOR=<wine-run> -P kvilhosts_cli.cmake

foreach(required CASE TOOL EMULATOR)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()

# Sets exit_code, stdout and stderr (with Windows line ends folded) in the caller.
function(run_tool)
  execute_process(COMMAND ${EMULATOR} ${TOOL} ${ARGN}
                  RESULT_VARIABLE exit_code OUTPUT_VARIABLE out ERROR_VARIABLE err)
  string(REPLACE "\r\n" "\n" out "${out}")
  string(REPLACE "\r\n" "\n" err "${err}")
  set(exit_code "${exit_code}" PARENT_SCOPE)
  set(stdout "${out}" PARENT_SCOPE)
  set(stderr "${err}" PARENT_SCOPE)
endfunction()

function(fail what)
  message(FATAL_ERROR "${CASE}: ${what}\n--- exit ${exit_code}\n--- stdout\n${stdout}\n--- stderr\n${stderr}")
endfunction()

function(expect_exit expected)
  if(NOT exit_code STREQUAL "${expected}")
    fail("exit status ${exit_code}, expected ${expected}")
  endif()
endfunction()

function(expect_text stream expected)
  if(NOT "${${stream}}" STREQUAL "${expected}")
    fail("${stream} differs from:\n${expected}")
  endif()
endfunction()

# Cases whose whole output is known:
#   NAME|<case>|EXIT|<status>[|STDOUT|<text>][|STDERR|<text>]|ARGS|<arguments...>
# Every usage error is one line on stderr, exit status 2, and happens before the
# library is loaded; a kind of 4 must never reach an export.
set(exact_cases
  "NAME|unknown_suffix|EXIT|2|STDERR|kvilhosts: unknown host suffix 'ww999'\n|ARGS|attach|ww999|speller|ru"
  "NAME|unknown_tool|EXIT|2|STDERR|kvilhosts: unknown tool '4'\n|ARGS|check|Editor|4|ru"
  "NAME|unknown_language|EXIT|2|STDERR|kvilhosts: unknown language '1050'\n|ARGS|detach|Unknown|speller|1050"
  "NAME|missing_arguments|EXIT|2|STDERR|kvilhosts: attach needs SUFFIX TOOL LANG\n|ARGS|attach|Editor|speller"
  # Suffixes match in any case and are printed as the table spells them. With no
  # product there is no startup folder, so the Editor cannot be attached.
  "NAME|attach_without_product|EXIT|1|STDOUT|AttachEditor(0, 1049) = 0x00000000 (0): failed\n|ARGS|attach|editor|Speller|ru"
)
foreach(row IN LISTS exact_cases)
  string(REPLACE "|" ";" row "${row}")
  cmake_parse_arguments(expected "" "NAME;EXIT;STDOUT;STDERR" "ARGS" ${row})
  if(expected_NAME STREQUAL CASE)
    run_tool(${expected_ARGS})
    expect_exit(${expected_EXIT})
    expect_text(stdout "${expected_STDOUT}")
    expect_text(stderr "${expected_STDERR}")
    return()
  endif()
endforeach()

# The rows the reference hosts must show on the empty machine, whatever language.
set(editor_tools installed installed installed installed)
set(unknown_tools available available available available)

if(CASE STREQUAL "missing_library")
  run_tool(--dll [[C:\nowhere\kvilintg.dll]] list)
  expect_exit(1)
  expect_text(stdout "")
  if(NOT stderr MATCHES "^kvilhosts: cannot load C:\\\\nowhere\\\\kvilintg\\.dll: error [0-9]+[^\n]*\n$")
    fail("stderr is not one line naming the library")
  endif()

elseif(CASE STREQUAL "not_built")
  # WW80 is in the suffix table but the DLL does not export it yet.
  run_tool(check ww80 grammar uk)
  expect_exit(1)
  expect_text(stdout "")
  if(NOT stderr MATCHES "^kvilhosts: WW80 is not built into [^\n]*kvilintg\\.dll\n$")
    fail("stderr is not one line saying WW80 is not built")
  endif()

elseif(CASE STREQUAL "list_table")
  run_tool(list)
  expect_exit(0)
  expect_text(stderr "")
  string(REGEX REPLACE "\n$" "" body "${stdout}")
  string(REPLACE "\n" ";" lines "${body}")
  list(LENGTH lines count)
  # A header and one row per suffix of the table, which starts at WW70 and ends
  # with the Editor and Unknown.
  if(NOT count EQUAL 105)
    fail("${count} lines, expected a header and 104 rows")
  endif()
  list(GET lines 0 header)
  list(GET lines 1 ww70)
  list(GET lines 2 ww80)
  list(GET lines 103 editor)
  list(GET lines 104 unknown)
  string(REPLACE ";" " +" editor_words "${editor_tools}")
  string(REPLACE ";" " +" unknown_words "${unknown_tools}")
  foreach(check
      "header;^suffix +application +version +speller +grammar +thesaurus +hyphenator$"
      "ww70;^WW70 +not built$"
      "ww80;^WW80 +not built$"
      "editor;^Editor +KVILEDITOR +14\\.0 +${editor_words}$"
      "unknown;^Unknown +Unknown +0\\.0 +${unknown_words}$")
    list(GET check 0 line)
    list(GET check 1 pattern)
    if(NOT "${${line}}" MATCHES "${pattern}")
      fail("${line} row '${${line}}' does not match '${pattern}'")
    endif()
  endforeach()
  # Columns line up: every tool word of the Editor row starts where the header's does.
  string(FIND "${header}" "hyphenator" header_column)
  string(FIND "${editor}" "installed" editor_first)
  string(FIND "${editor}" "installed" editor_last REVERSE)
  string(FIND "${header}" "speller" speller_column)
  if(NOT editor_first EQUAL speller_column OR NOT editor_last EQUAL header_column)
    fail("the Editor's tool words are not under their headings")
  endif()

elseif(CASE STREQUAL "list_json")
  run_tool(list --lang uk --json)
  expect_exit(0)
  expect_text(stderr "")
  string(JSON count ERROR_VARIABLE json_error LENGTH "${stdout}")
  if(json_error)
    fail("not JSON: ${json_error}")
  endif()
  if(NOT count EQUAL 104)
    fail("${count} objects, expected 104")
  endif()
  # index, suffix, built, application, version, then the four tool words.
  foreach(check
      "0;WW70;OFF"
      "1;WW80;OFF"
      "102;Editor;ON;KVILEDITOR;14.0;${editor_tools}"
      "103;Unknown;ON;Unknown;0.0;${unknown_tools}")
    list(POP_FRONT check index suffix built)
    string(JSON actual GET "${stdout}" ${index} suffix)
    string(JSON actual_built GET "${stdout}" ${index} built)
    if(NOT actual STREQUAL suffix OR NOT actual_built STREQUAL built)
      fail("object ${index} is ${actual}, built ${actual_built}; expected ${suffix}, built ${built}")
    endif()
    if(built)
      list(POP_FRONT check application version)
      foreach(member application version)
        string(JSON actual GET "${stdout}" ${index} ${member})
        if(NOT actual STREQUAL "${${member}}")
          fail("${suffix} ${member} is '${actual}', expected '${${member}}'")
        endif()
      endforeach()
      foreach(tool speller grammar thesaurus hyphenator)
        list(POP_FRONT check word)
        string(JSON actual GET "${stdout}" ${index} tools ${tool})
        if(NOT actual STREQUAL word)
          fail("${suffix} ${tool} is '${actual}', expected '${word}'")
        endif()
      endforeach()
    else()
      # A host that is not built has no answers, not empty ones.
      foreach(member application version tools)
        string(JSON type TYPE "${stdout}" ${index} ${member})
        if(NOT type STREQUAL "NULL")
          fail("${suffix} ${member} is ${type}, expected null")
        endif()
      endforeach()
    endif()
  endforeach()

else()
  message(FATAL_ERROR "unknown case '${CASE}'")
endif()
