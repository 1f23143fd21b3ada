# Runs kvilhosts.exe under Wine for one case and checks its exit status and its
# output. The prefix is the build's own: neither the product nor any host
# application is installed there, so every host answers as on a clean machine
# (Unknown is always available, the Editor exists but finds no product files, the
# Office hosts find no Office, and nothing can be attached).
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

# The rows built hosts must show on the empty machine, whatever the language:
#   <suffix>|<application>|<version>|<speller>|<grammar>|<thesaurus>|<hyphenator>
# A tool the host takes is "absent" when its application is missing; one it does
# not take is "n/a" whether or not the application is there.
set(clean_machine_rows
  # Word takes every tool, Publisher the speller and the hyphenator, the rest of
  # Office 95 and 97 the speller alone. Outlook's version comes from its program
  # and falls back to 8.0 when there is none.
  "WW70|WINWORD|7.0|absent|absent|absent|absent"
  "WW80|WINWORD|8.0|absent|absent|absent|absent"
  "EX70|EXCEL|7.0|absent|n/a|n/a|n/a"
  "EX80|EXCEL|8.0|absent|n/a|n/a|n/a"
  "PP70|POWERPNT|7.0|absent|n/a|n/a|n/a"
  "PP80|POWERPNT|8.0|absent|n/a|n/a|n/a"
  "ACC70|MSACCESS|7.0|absent|n/a|n/a|n/a"
  "ACC80|MSACCESS|8.0|absent|n/a|n/a|n/a"
  "OUTL97|OUTLOOK|8.0|absent|n/a|n/a|n/a"
  "MSPub98|MSPUB|5.0|absent|n/a|n/a|absent"
  # Office 2000 to 2003 likewise; Publisher 2003 adds the thesaurus, and
  # Publisher 2002 answers "not applicable" to every tool, installed or not.
  "WW90|WINWORD|9.0|absent|absent|absent|absent"
  "WW100|WINWORD|10.0|absent|absent|absent|absent"
  "WW11|WINWORD|11.0|absent|absent|absent|absent"
  "EX90|EXCEL|9.0|absent|n/a|n/a|n/a"
  "EX11|EXCEL|11.0|absent|n/a|n/a|n/a"
  "PP100|POWERPNT|10.0|absent|n/a|n/a|n/a"
  "ACC90|MSACCESS|9.0|absent|n/a|n/a|n/a"
  "OUTL2002|OUTLOOK|10.0|absent|n/a|n/a|n/a"
  "OUTL11|OUTLOOK|11.0|absent|n/a|n/a|n/a"
  "MSPub90|MSPUB|6.0|absent|n/a|n/a|absent"
  "MSPub100|MSPUB|10.0|n/a|n/a|n/a|n/a"
  "MSPub11|MSPUB|11.0|absent|n/a|absent|absent"
  "InfoPath11|INFOPATH|11.0|absent|n/a|n/a|n/a"
  # Office 2007 to 2013: each application takes the same tools in the three
  # versions, but Outlook 2007 is found for the speller only.
  "WW12|WINWORD|12.0|absent|absent|absent|absent"
  "OUTL12|OUTLOOK|12.0|absent|n/a|n/a|n/a"
  "OUTL14|OUTLOOK|14.0|absent|absent|absent|n/a"
  "EX14|EXCEL|14.0|absent|n/a|absent|n/a"
  "MSPub14|MSPUB|14.0|absent|n/a|absent|absent"
  "ACC15|MSACCESS|15.0|absent|n/a|n/a|n/a"
  "FPAGE15|FRONTPG|15.0|absent|n/a|absent|n/a"
  "InfoPath12|INFOPATH|12.0|absent|n/a|n/a|n/a"
  "OneNote15|ONENOTE|15.0|absent|n/a|absent|n/a"
  # FrontPage 97 and 98 take the speller, 2000 to 2003 the thesaurus too.
  "FPAGE97|FPEDITOR|2.0|absent|n/a|n/a|n/a"
  "FPAGE98|FPEDITOR|3.0|absent|n/a|n/a|n/a"
  "FPAGE2000|FRONTPG|4.0|absent|n/a|absent|n/a"
  "FPAGE2002|FRONTPG|10.0|absent|n/a|absent|n/a"
  "FPAGE11|FRONTPG|11.0|absent|n/a|absent|n/a"
  # Works takes the speller and the thesaurus; FoxPro and the mail clients the
  # speller alone.
  "WK40|MSWORKS|4.0|absent|n/a|absent|n/a"
  "WK45|MSWORKS|4.5|absent|n/a|absent|n/a"
  "VFP30|VFP|3.0|absent|n/a|n/a|n/a"
  "EXCH40|EXCHNG32|4.0|absent|n/a|n/a|n/a"
  "MAIL|MAILNEWS|2.0|absent|n/a|n/a|n/a"
  # Word Pro takes the speller, CorelDRAW the speller and the hyphenator; the
  # WordPerfect hosts cannot be found, whatever the tool.
  "WPRO97|WORDPRO|97.0|absent|n/a|n/a|n/a"
  "WPRO2000|WORDPRO|98.0|absent|n/a|n/a|n/a"
  "CDRW60|CORELDRW|6.0|absent|n/a|n/a|absent"
  "WP80|WPWIN8|8.0|absent|absent|absent|absent"
  # Mail clients and browsers take the speller alone; the office suites answer
  # for every tool, with no suite found as version 0.0.
  "OUTL_EXPR|MSIMN|4.72|absent|n/a|n/a|n/a"
  "OUTL_EXPR5|MSIMN|5.0|absent|n/a|n/a|n/a"
  "WinMail7|WINMAIL|6.0|absent|n/a|n/a|n/a"
  "Opera90|OPERA|9.0|absent|n/a|n/a|n/a"
  "FireFox20|FireFox|2.0|absent|n/a|n/a|n/a"
  "IE60|IEXPLORE|6.0|absent|n/a|n/a|n/a"
  "LibreOffice4|SOFFICE|0.0|absent|absent|absent|absent"
  # The product's own programs are always there; without a product their version is 0.0.
  "AGENT|KVLAGENT|0.0|installed|installed|installed|installed"
  "STDSP|KVLSTDSP|0.0|installed|installed|installed|installed"
  "Editor|KVILEDITOR|14.0|installed|installed|installed|installed"
  "Unknown|Unknown|0.0|available|available|available|available"
)
# Every suffix of the table is built into the library. A host that is not
# built is shown with a library that exports no host at all: Windows' own
# version.dll.
set(unbuilt_suffix TheBat50)
set(hostless_library version.dll)

# Splits a row of clean_machine_rows into suffix, application, version and tools
# (the four tool words as a list) in the caller.
macro(split_row row)
  string(REPLACE "|" ";" tools "${row}")
  list(POP_FRONT tools suffix application version)
endmacro()

if(CASE STREQUAL "missing_library")
  run_tool(--dll [[C:\nowhere\kvilintg.dll]] list)
  expect_exit(1)
  expect_text(stdout "")
  if(NOT stderr MATCHES "^kvilhosts: cannot load C:\\\\nowhere\\\\kvilintg\\.dll: error [0-9]+[^\n]*\n$")
    fail("stderr is not one line naming the library")
  endif()

elseif(CASE STREQUAL "not_built")
  # In the suffix table but not exported by the DLL; typed in lower case, named
  # as the table spells it.
  string(TOLOWER "${unbuilt_suffix}" typed)
  run_tool(--dll ${hostless_library} check ${typed} grammar uk)
  expect_exit(1)
  expect_text(stdout "")
  if(NOT stderr MATCHES "^kvilhosts: ${unbuilt_suffix} is not built into ${hostless_library}\n$")
    fail("stderr is not one line saying ${unbuilt_suffix} is not built")
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
  if(NOT header MATCHES "^suffix +application +version +speller +grammar +thesaurus +hyphenator$")
    fail("header '${header}' does not name the columns")
  endif()
  list(GET lines 1 first)
  list(GET lines 103 second_last)
  list(GET lines 104 last)
  if(NOT first MATCHES "^WW70 " OR NOT second_last MATCHES "^Editor " OR NOT last MATCHES "^Unknown ")
    fail("rows are not in the table's order: first '${first}', last two '${second_last}', '${last}'")
  endif()

  # Exactly one row per suffix, holding exactly the expected words.
  foreach(row IN LISTS clean_machine_rows)
    split_row("${row}")
    string(REPLACE "." "\\." version_pattern "${version}")
    string(REPLACE ";" " +" tool_pattern "${tools}")
    list(APPEND expected_rows "${suffix}|^${suffix} +${application} +${version_pattern} +${tool_pattern}$")
  endforeach()
  if(stdout MATCHES "not built")
    fail("a suffix of the table is not built")
  endif()
  foreach(expected IN LISTS expected_rows)
    string(REPLACE "|" ";" expected "${expected}")
    list(GET expected 0 suffix)
    list(GET expected 1 pattern)
    set(found ${lines})
    list(FILTER found INCLUDE REGEX "^${suffix} ")
    list(LENGTH found matches)
    if(NOT matches EQUAL 1)
      fail("${matches} rows for ${suffix}, expected one")
    endif()
    if(NOT found MATCHES "${pattern}")
      fail("${suffix} row '${found}' does not match '${pattern}'")
    endif()
    if(suffix STREQUAL "Editor")
      set(editor "${found}")
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
  # Where each suffix is: index_<suffix>, and the order of the ends of the table.
  math(EXPR last_index "${count} - 1")
  foreach(index RANGE ${last_index})
    string(JSON suffix GET "${stdout}" ${index} suffix)
    if(DEFINED index_${suffix})
      fail("${suffix} is listed twice")
    endif()
    set(index_${suffix} ${index})
  endforeach()
  if(NOT index_WW70 EQUAL 0 OR NOT index_Editor EQUAL 102 OR NOT index_Unknown EQUAL 103)
    fail("objects are not in the table's order: WW70 at ${index_WW70}, Editor at ${index_Editor}, Unknown at ${index_Unknown}")
  endif()

  foreach(row IN LISTS clean_machine_rows)
    split_row("${row}")
    if(NOT DEFINED index_${suffix})
      fail("no object for ${suffix}")
    endif()
    set(index ${index_${suffix}})
    string(JSON built GET "${stdout}" ${index} built)
    if(NOT built STREQUAL "ON")
      fail("${suffix} is not built")
    endif()
    foreach(member application version)
      string(JSON actual GET "${stdout}" ${index} ${member})
      if(NOT actual STREQUAL "${${member}}")
        fail("${suffix} ${member} is '${actual}', expected '${${member}}'")
      endif()
    endforeach()
    foreach(tool speller grammar thesaurus hyphenator)
      list(POP_FRONT tools word)
      string(JSON actual GET "${stdout}" ${index} tools ${tool})
      if(NOT actual STREQUAL word)
        fail("${suffix} ${tool} is '${actual}', expected '${word}'")
      endif()
    endforeach()
  endforeach()

  # A host that is not built has no answers, not empty ones.
  run_tool(--dll ${hostless_library} list --json)
  expect_exit(0)
  string(JSON built GET "${stdout}" ${index_${unbuilt_suffix}} built)
  if(NOT built STREQUAL "OFF")
    fail("${unbuilt_suffix} is built ${built}, expected OFF")
  endif()
  foreach(member application version tools)
    string(JSON type TYPE "${stdout}" ${index_${unbuilt_suffix}} ${member})
    if(NOT type STREQUAL "NULL")
      fail("${unbuilt_suffix} ${member} is ${type}, expected null")
    endif()
  endforeach()

else()
  message(FATAL_ERROR "unknown case '${CASE}'")
endif()
