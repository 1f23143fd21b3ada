# Runs kvilhosts.exe under Wine for one case and checks its exit status and its
# output. The prefix is the build's own: neither the product nor any host
# application is installed there, so every host answers as on a clean machine
# (Unknown is always available, the Editor exists but finds no product files, the
# Office hosts find no Office, nothing can be attached, and with no "Installing"
# value the product's registry view is the 32-bit one).
#
#   cmake -DCASE=<name> -DTOOL=<kvilhosts.exe> -DEMULATOR=<wine-run> -DDEMO=<kvildemo.exe>
#         -DWINESERVER=<wineserver> -DWORK_DIR=<dir> -P kvilhosts_cli.cmake
#
# The journal and round-trip cases need hosts to change: each seeds a demo
# machine of its own, a fresh prefix under WORK_DIR, kept when the case fails.
# The demo machine is 64-bit Windows with 32-bit programs, so the keys the
# library changes are in the 32-bit view, which the journal names as the
# registry keeps it: HKLM\SOFTWARE\WOW6432Node\...

foreach(required CASE TOOL EMULATOR)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "define ${required}")
  endif()
endforeach()

include(${CMAKE_CURRENT_LIST_DIR}/support/wine_program.cmake)

macro(run_tool)
  run_program(${TOOL} ${ARGN})
endmacro()

# The demo machine of a journal or round-trip case, a prefix that every later
# run of the case uses.
set(prefix "${WORK_DIR}/${CASE}-prefix")

macro(seed_demo_machine)
  remove_wine_prefix("${prefix}")
  set(ENV{KVIL_WINEPREFIX} "${prefix}")
  run_program(${DEMO} seed)
  expect_exit(0)
endmacro()

# One whole line of stdout, given literally or, with REGEX, as a pattern.
function(expect_line line)
  if(ARGV1 STREQUAL "REGEX")
    if(NOT "\n${stdout}" MATCHES "\n${line}\n")
      fail("no line matches:\n${line}")
    endif()
  else()
    string(FIND "\n${stdout}" "\n${line}\n" at)
    if(at EQUAL -1)
      fail("no line reads:\n${line}")
    endif()
  endif()
endfunction()

# A round trip that leaves only what the host is documented to keep: that many
# differences, each marked expected, among them the lines given literally (LINE)
# or as patterns (PATTERN).
function(expect_roundtrip host differences)
  cmake_parse_arguments(expected "" "" "LINE;PATTERN" ${ARGN})
  string(REPLACE " " ";" arguments "${host}")
  run_tool(roundtrip ${arguments})
  expect_exit(0)
  expect_text(stderr "")
  expect_line("${differences} differences after detach: ${differences} documented, 0 unexpected")
  foreach(line IN LISTS expected_LINE)
    expect_line("${line}")
  endforeach()
  foreach(pattern IN LISTS expected_PATTERN)
    expect_line("${pattern}" REGEX)
  endforeach()
endfunction()

# The library beside the tool as Windows names it (Wine shows / as Z:), and what
# its version resource says.
get_filename_component(tool_folder "${TOOL}" DIRECTORY)
string(REPLACE "/" "\\" library "Z:${tool_folder}/kvilintg.dll")
set(library_version "1.0.0.0 (Kvil Integration Library, Tervane, Kvil 1.0.0)")

# Cases whose whole output is known, stderr given literally or as a pattern:
#   NAME|<case>|EXIT|<status>[|STDOUT|<text>][|STDERR|<text>][|STDERR_MATCHES|<regex>]|ARGS|<arguments...>
# Every usage error is one line on stderr, exit status 2, and happens before the
# library is loaded; a kind of 4 must never reach an export.
set(exact_cases
  "NAME|unknown_suffix|EXIT|2|STDERR|kvilhosts: unknown host suffix 'ww999'\n|ARGS|attach|ww999|speller|ru"
  "NAME|unknown_tool|EXIT|2|STDERR|kvilhosts: unknown tool '4'\n|ARGS|check|Editor|4|ru"
  "NAME|unknown_language|EXIT|2|STDERR|kvilhosts: unknown language '1050'\n|ARGS|detach|Unknown|speller|1050"
  "NAME|missing_arguments|EXIT|2|STDERR|kvilhosts: LANG is required\n|ARGS|attach|Editor|speller"
  "NAME|missing_arguments|EXIT|2|STDERR|kvilhosts: A subcommand is required\n|ARGS|--dll|kvilintg.dll"
  "NAME|missing_arguments|EXIT|2|STDERR|kvilhosts: --dll: 1 required PATH missing\n|ARGS|list|--dll"
  # The version of the tool, then that of the library it would load, read from
  # the file without loading it; --version wins over the help and the command.
  "NAME|version|EXIT|0|STDOUT|kvilhosts 1.0.0\nkvilintg.dll ${library_version}\n|ARGS|--version"
  "NAME|version|EXIT|0|STDOUT|kvilhosts 1.0.0\nkvilintg.dll ${library_version}\n|ARGS|--help|--version"
  "NAME|version|EXIT|0|STDOUT|kvilhosts 1.0.0\nC:\\nowhere\\kvilintg.dll: no version resource (error 3)\n|ARGS|list|--version|--dll|C:\\nowhere\\kvilintg.dll"
  "NAME|missing_library|EXIT|1|STDERR_MATCHES|^kvilhosts: cannot load C:\\\\nowhere\\\\kvilintg\\.dll: error [0-9]+[^\n]*\n$|ARGS|--dll|C:\\nowhere\\kvilintg.dll|list"
  # Suffixes match in any case and are printed as the table spells them. A host
  # in the suffix table that the library does not export is not built; a library
  # that exports no host at all is Windows' own version.dll.
  "NAME|not_built|EXIT|1|STDERR|kvilhosts: TheBat50 is not built into version.dll\n|ARGS|--dll|version.dll|check|thebat50|grammar|uk"
  # With no product there is no startup folder, so the Editor cannot be attached.
  "NAME|attach_without_product|EXIT|1|STDOUT|AttachEditor(0, 1049) = 0x00000000 (0): failed\n|ARGS|attach|editor|Speller|ru"
)
set(exact_case FALSE)
foreach(row IN LISTS exact_cases)
  string(REPLACE "|" ";" row "${row}")
  cmake_parse_arguments(expected "" "NAME;EXIT;STDOUT;STDERR;STDERR_MATCHES" "ARGS" ${row})
  if(expected_NAME STREQUAL CASE)
    set(exact_case TRUE)
    run_program(${TOOL} ${expected_ARGS})
    expect_exit(${expected_EXIT})
    expect_text(stdout "${expected_STDOUT}")
    if(DEFINED expected_STDERR_MATCHES)
      if(NOT stderr MATCHES "${expected_STDERR_MATCHES}")
        fail("stderr does not match:\n${expected_STDERR_MATCHES}")
      endif()
    else()
      expect_text(stderr "${expected_STDERR}")
    endif()
  endif()
endforeach()
if(exact_case)
  return()
endif()

# Rows of the empty machine's table as printed: the first, each word a tool can
# show there, a version longer than "x.y", an empty application shown as "-",
# and the product's own hosts, always there. What every host answers, tool by
# tool, is the library's and stated by the host tests.
set(clean_machine_rows
  "WW70          WINWORD      7.0      absent     absent     absent     absent"
  "MSPub98       MSPUB        5.0      absent     n/a        n/a        absent"
  "MSPub100      MSPUB        10.0     n/a        n/a        n/a        n/a"
  "OUTL_EXPR     MSIMN        4.72     absent     n/a        n/a        n/a"
  "TheBat50      -            6.x      absent     n/a        n/a        n/a"
  "AGENT         KVLAGENT     0.0      installed  installed  installed  installed"
  "Editor        KVILEDITOR   14.0     installed  installed  installed  installed"
  "Unknown       Unknown      0.0      available  available  available  available"
)

if(CASE STREQUAL "list_table")
  run_tool(list)
  expect_exit(0)
  expect_text(stderr "")
  if(stdout MATCHES "not built")
    fail("a suffix of the table is not built")
  endif()
  # The product's registry view, a header and one row per suffix of the table,
  # which starts at WW70 and ends with the Editor and Unknown.
  string(REGEX REPLACE "\n$" "" body "${stdout}")
  string(REPLACE "\n" ";" lines "${body}")
  list(LENGTH lines count)
  if(NOT count EQUAL 107)
    fail("${count} lines, expected the library, the view, a header and 104 rows")
  endif()
  list(GET clean_machine_rows 0 -2 -1 rows)
  list(GET lines 0 1 2 3 105 106 ends)
  expect_text(ends "library: ${library} ${library_version};registry view: 32-bit (product installed for 32-bit hosts);suffix        application  version  speller    grammar    thesaurus  hyphenator;${rows}")
  foreach(row IN LISTS clean_machine_rows)
    expect_line("${row}")
  endforeach()

elseif(CASE STREQUAL "list_json")
  run_tool(list --lang uk --json)
  expect_exit(0)
  expect_text(stderr "")
  string(JSON count ERROR_VARIABLE json_error LENGTH "${stdout}" hosts)
  if(json_error)
    fail("not JSON with a hosts array: ${json_error}")
  endif()
  string(JSON first GET "${stdout}" hosts 0 suffix)
  string(JSON second_last GET "${stdout}" hosts 102 suffix)
  string(JSON last GET "${stdout}" hosts 103 suffix)
  # The library loaded, as Windows names it, and its version resource.
  string(REPLACE "\\" "\\\\" library "${library}")
  expect_line("{\"library\":{\"path\":\"${library}\",\"file_version\":\"1.0.0.0\",\"product_version\":\"1.0.0\"},\"registry_view\":\"32-bit\",\"hosts\":[")
  if(NOT "${count} ${first} ${second_last} ${last}" STREQUAL "104 WW70 Editor Unknown")
    fail("expected 104 objects in the table's order, from WW70 to the Editor and Unknown")
  endif()
  # One object a line, the same rows as the table's, and an empty application "".
  foreach(row IN LISTS clean_machine_rows)
    string(REGEX REPLACE " +" ";" row "${row}")
    list(POP_FRONT row suffix application version speller grammar thesaurus hyphenator)
    if(application STREQUAL "-")
      set(application "")
    endif()
    set(separator ",")
    if(suffix STREQUAL "Unknown")
      set(separator "")
    endif()
    string(CONFIGURE [[  {"suffix":"@suffix@","built":true,"application":"@application@","version":"@version@","tools":{"speller":"@speller@","grammar":"@grammar@","thesaurus":"@thesaurus@","hyphenator":"@hyphenator@"}}@separator@]] object @ONLY)
    expect_line("${object}")
  endforeach()

  # A host that is not built has no answers, not empty ones.
  run_tool(--dll version.dll list --json)
  expect_exit(0)
  expect_line([[  {"suffix":"TheBat50","built":false,"application":null,"version":null,"tools":null},]])

  # A product installed for 64-bit hosts: "Installing" = 64, as its 64-bit
  # setup writes it in the 64-bit view, and nothing in the 32-bit view.
  remove_wine_prefix("${prefix}")
  set(ENV{KVIL_WINEPREFIX} "${prefix}")
  run_program(reg add [[HKLM\Software\Tervane]] /v Installing /t REG_DWORD /d 64 /reg:64)
  expect_exit(0)
  run_tool(list --json)
  expect_exit(0)
  string(JSON view GET "${stdout}" registry_view)
  expect_text(view "64-bit")
  run_tool(list)
  expect_exit(0)
  if(NOT stdout MATCHES "^library: [^\n]*\nregistry view: 64-bit \\(product installed for 64-bit hosts\\)\nsuffix ")
    fail("the table does not start with the 64-bit view")
  endif()
  remove_wine_prefix("${prefix}")

elseif(CASE STREQUAL "journal_usage")
  # The journal and the round trip refuse bad input before the library is
  # loaded, as the other commands do, whose one check of SUFFIX, TOOL and LANG
  # they share:  <arguments>|<the one line on stderr>
  set(refusals
    "detach|WW80|grammar8|ru|--journal|--json|unknown tool 'grammar8'"
    "roundtrip|Editor|speller|LANG is required"
    "check|Editor|speller|ru|--journal|unexpected argument '--journal'"
    "attach|Editor|speller|ru|--json|--json requires --journal"
  )
  foreach(row IN LISTS refusals)
    string(REPLACE "|" ";" arguments "${row}")
    list(POP_BACK arguments message)
    run_tool(${arguments})
    expect_exit(2)
    expect_text(stdout "")
    expect_text(stderr "kvilhosts: ${message}\n")
  endforeach()

elseif(CASE STREQUAL "journal_word97")
  seed_demo_machine()
  # Word 97's Russian speller over Office's own registration, as the record and
  # registration tests of the Office 97 family set it up: 32-bit Office wrote it
  # in the 32-bit view.
  file(WRITE "${prefix}/drive_c/foreign.reg" [=[Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Shared Tools\Proofing Tools\Spelling\1049\Normal]
"Engine"="C:\\Program Files (x86)\\Microsoft Office\\Office\\MSSP2_RU.DLL"
"Dictionary"="C:\\Program Files (x86)\\Microsoft Office\\Office\\MSSP2_RU.LEX"
]=])
  run_program(reg import [[C:\foreign.reg]] /reg:32)
  expect_exit(0)

  # Every key and value the attach adds or changes, in the order it does so,
  # each named where the registry keeps it.
  set(kvil [[HKLM\SOFTWARE\WOW6432Node\Tervane\Kvil\8.0]])
  set(saved [[HKLM\SOFTWARE\WOW6432Node\Tervane\Kvil\8.0\Saved connections\Spelling\1049\Normal]])
  set(shared [[HKLM\SOFTWARE\WOW6432Node\Microsoft\Shared Tools\Proofing Tools\Spelling\1049\Normal]])
  set(office [[C:\Program Files (x86)\Microsoft Office\Office]])
  set(product [[C:\Program Files (x86)\Kvil]])
  set(record [[HKLM\SOFTWARE\WOW6432Node\Tervane\Kvil\8.0\Products\WINWORD\8.0\Spelling\1049]])
  string(CONFIGURE [=[AttachWW80(0, 1049) = 0x00000001 (1): done
create key @kvil@\Saved connections
create key @kvil@\Saved connections\Spelling
create key @kvil@\Saved connections\Spelling\1049
create key @saved@
set @saved@ "Dictionary" REG_SZ: (none) -> "@office@\MSSP2_RU.LEX"
set @saved@ "Engine" REG_SZ: (none) -> "@office@\MSSP2_RU.DLL"
set @shared@ "Dictionary" REG_SZ: "@office@\MSSP2_RU.LEX" -> "@product@\SPRUNORM.LEX"
set @shared@ "Engine" REG_SZ: "@office@\MSSP2_RU.DLL" -> "@product@\kvilsp3.dll"
create key @kvil@\Products
create key @kvil@\Products\WINWORD
create key @kvil@\Products\WINWORD\8.0
create key @kvil@\Products\WINWORD\8.0\Spelling
create key @record@
set @record@ "Learning" REG_DWORD: (none) -> 1
set @record@ "StrictYO" REG_DWORD: (none) -> 1
set @record@ "Original LID" REG_DWORD: (none) -> 1033
set @record@ "Action" REG_DWORD: (none) -> 1
set @record@ "Attached" REG_DWORD: (none) -> 1
set @record@ "Supplement dictionaries" REG_SZ: (none) -> "Normal"
]=] attach_journal @ONLY)
  run_tool( attach WW80 speller ru --journal)
  expect_exit(0)
  expect_text(stderr "")
  expect_text(stdout "${attach_journal}")

  # Detach clears the flag and nothing else; as JSON, stdout is the array alone.
  run_tool( detach WW80 speller ru --journal --json)
  expect_exit(0)
  expect_text(stderr "DetachWW80(0, 1049) = 0x00000001 (1): done\n")
  expect_text(stdout [=[[
  {"change":"set value","key":"HKLM\\SOFTWARE\\WOW6432Node\\Tervane\\Kvil\\8.0\\Products\\WINWORD\\8.0\\Spelling\\1049","value":"Attached","old":{"type":"REG_DWORD","data":1},"new":{"type":"REG_DWORD","data":0}}
]
]=])

  # A journal whose reader has gone: the attach does all it does without one.
  # Each detach's journal shows the flag and CorelDRAW's module the attach left.
  execute_process(COMMAND ${EMULATOR} ${TOOL} attach CDRW60 speller ru --journal
                  COMMAND ${CMAKE_COMMAND} -E true
                  RESULTS_VARIABLE exit_code ERROR_FILE "${WORK_DIR}/${CASE}.err")
  file(READ "${WORK_DIR}/${CASE}.err" stderr)
  expect_exit("0;0")
  expect_text(stderr "kvilhosts: cannot write the journal to standard output\n")
  foreach(journal_of_attach IN ITEMS "closed pipe" "none")
    run_tool( detach CDRW60 speller ru --journal --json)
    expect_exit(0)
    expect_text(stdout [=[[
  {"change":"set value","key":"HKLM\\SOFTWARE\\WOW6432Node\\Tervane\\Kvil\\8.0\\Products\\CORELDRW\\6.0\\Spelling\\1049","value":"Attached","old":{"type":"REG_DWORD","data":1},"new":{"type":"REG_DWORD","data":0}},
  {"change":"move file","from":"C:\\Corel60\\Programs\\cdrtpr60.org","to":"C:\\Corel60\\Programs\\cdrtpr60.dll","replaced":true}
]
]=])
    if(journal_of_attach STREQUAL "closed pipe")
      run_tool( attach CDRW60 speller ru)
      expect_exit(0)
    endif()
  endforeach()
  remove_wine_prefix("${prefix}")

elseif(CASE STREQUAL "roundtrip_demo_hosts")
  seed_demo_machine()
  # Each family's demo host; the mail client speaks Ukrainian, so that its shared
  # registration is its own and not the one Word 97 left.
  set(kvil [[HKLM\SOFTWARE\WOW6432Node\Tervane\Kvil]])
  set(shared [[HKLM\SOFTWARE\WOW6432Node\Microsoft\Shared Tools\Proofing Tools\Spelling]])
  set(programs [[C:\Program Files (x86)]])
  string(REPLACE "\\" "\\\\" programs_pattern "${programs}")
  string(REGEX REPLACE "([()])" "\\\\\\1" programs_pattern "${programs_pattern}")
  expect_roundtrip("Editor speller ru" 11 PATTERN [[expected: C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs\\Kvil\\Kvil Editor\.lnk: file of [0-9]+ bytes -> \(none\) \(the Editor's detach moves its Start-menu shortcut into the start-up folder, and attach never moves it back\)]])
  expect_roundtrip("WW80 speller ru" 10 LINE "expected: ${shared}\\1049\\Normal \"Engine\": (none) -> REG_SZ \"${programs}\\Kvil\\kvilsp3.dll\" (detach leaves the shared proofing registration naming the product)"
                                              "expected: ${kvil}\\8.0\\Products\\WINWORD\\8.0\\Spelling\\1049 \"Attached\": (none) -> REG_DWORD 0 (detach clears the attachment record's flag)")
  # The Installer's component data stays in the 64-bit view, where the Installer keeps it.
  expect_roundtrip("WW90 speller ru" 10 LINE "expected: HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Components\\CEF3839E23492D1109A00008F5B92110 \"914000001E872D116BF00006799C897E\": REG_SZ \"${programs}\\Common Files\\Microsoft Shared\\Proof\\MSSP3RU.DLL\" -> REG_SZ \"${programs}\\Kvil\\kvilsp3.dll\" (detach leaves Office's Installer components naming the product, their former paths saved beside them)")
  expect_roundtrip("WW14 grammar ru" 16 PATTERN "expected: ${programs_pattern}\\\\Microsoft Office\\\\Office14\\\\msproof7\\.dll: file of [0-9]+ bytes -> file of [0-9]+ bytes, other content \\(Office's proofing-tool module is put back by DetachOffice12, 14 or 15, not by the host's detach\\)"
                                          LINE [[expected: HKCR\Installer\Components\EA77853199E1AFF4B87708D83E6A7046 "1049": REG_MULTI_SZ ["p]{Pz5Bd@S+!Zmc8?Fq6ProofingTools_1049>nD%$eF[F?r5A~)v]o_", "8u2o$WTx9Z}7M4a]cK)qGrammar_Rus>Kvil_Proofing"] -> REG_MULTI_SZ ["p]{Pz5Bd@S+!Zmc8?Fq6ProofingTools_1049>nD%$eF[F?r5A~)v]o_"] (switching Microsoft's tool back in lists it without the product's entry and keeps the saved list)]])
  expect_roundtrip("CDRW60 speller ru" 8 LINE "expected: ${kvil}\\8.0\\Products\\CORELDRW\\6.0\\Spelling\\1049 \"Engine\": (none) -> REG_SZ \"cdrtpr60.org\" (the attachment record keeps its options after detach)")
  expect_roundtrip("InDesign8 speller ru" 14 PATTERN "expected: ${programs_pattern}\\\\Adobe\\\\Adobe InDesign CS6\\\\Plug-ins\\\\Tervane\\\\KVILSpeller\\.pln: \\(none\\) -> file of [0-9]+ bytes \\(the plug-in stays until RemoveInDesign or RemoveInCopyPln\\)")
  expect_roundtrip("LibreOffice4 speller ru" 8 LINE "expected: ${kvil}\\8.0\\Products\\SOFFICE\\4.1 \"Name\": (none) -> REG_SZ \"Libre Office 4.1\" (the application record stays after detach)")
  expect_roundtrip("FireFox20 speller ru" 7 LINE "expected: ${kvil}\\9.0\\Products\\FIREFOX\\2.0\\Spelling\\1049 \"Attached\": (none) -> REG_DWORD 1 (Firefox files its options under product 9.0, where detach does not clear them)")
  expect_roundtrip("WLMail8 speller uk" 9 LINE "expected: ${shared}\\1058\\Normal \"Engine\": (none) -> REG_SZ \"${programs}\\Kvil\\kvilsp3.dll\" (detach leaves the shared proofing registration naming the product)")

  # A backup someone else left: attach keeps it, detach puts it in place of
  # CorelDRAW's own module, and the round trip says that was not to be.
  file(WRITE "${prefix}/drive_c/Corel60/Programs/cdrtpr60.org" "stale")
  run_tool(roundtrip CDRW60 speller ru)
  expect_exit(1)
  expect_line([[unexpected: C:\\Corel60\\Programs\\cdrtpr60\.dll: file of [0-9]+ bytes -> file of 5 bytes]] REGEX)
  expect_line([[unexpected: C:\Corel60\Programs\cdrtpr60.org: file of 5 bytes -> (none)]])
  expect_line("2 differences after detach: 0 documented, 2 unexpected")
  remove_wine_prefix("${prefix}")

else()
  message(FATAL_ERROR "unknown case '${CASE}'")
endif()
