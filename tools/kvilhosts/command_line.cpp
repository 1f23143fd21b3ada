#include "command_line.h"

#include <array>

#include "file_version.h"
#include "host_library.h"
#include "host_suffixes.h"
#include "tool_app.h"

namespace kvilhosts {
namespace {

using kvil::tools::AddReadOption;
using kvil::tools::Into;

constexpr char kLanguages[] = "ru, uk, or an LCID: 1049 1058 1033 2057 3081 1031\n1034 1036 1040 1046 2070";

// SUFFIX TOOL LANG, each checked as it is read.
void AddHostArguments(CLI::App& command, Invocation& invocation) {
  AddReadOption(command, "SUFFIX", "A host suffix such as WW80, Editor or Unknown\n(any case)", FindHostSuffix,
                "unknown host suffix", Into(invocation.suffix))
      ->required();
  AddReadOption(command, "TOOL", "speller, grammar, thesaurus, hyphenator, or 0 to 3", ParseToolKind, "unknown tool",
                Into(invocation.kind))
      ->required();
  AddReadOption(command, "LANG", kLanguages, ParseLanguage, "unknown language", Into(invocation.lcid))->required();
}

// The survey tool's own version, then the resource of the library it would
// load, which is read without loading it.
std::string VersionText(const Invocation& invocation) {
  const std::string path = invocation.libraryPath.value_or(DefaultLibraryPath());
  return kvil::tools::ToolVersionLine("kvilhosts") + "\n" +
         FileVersionLine(invocation.libraryPath.value_or("kvilintg.dll"), ReadFileVersion(path));
}

}  // namespace

ParsedCommandLine ParseCommandLine(int argc, char** argv) {
  ParsedCommandLine parsed;
  Invocation& invocation = parsed.invocation;
  CLI::App app{
      "Surveys the host modules of kvilintg.dll through their exports, as the setup\n"
      "tool does, or attaches, detaches or checks one tool for one host.",
      "kvilhosts"};
  kvil::tools::SetUpToolApp(app, "Exit status: 0 success, 1 the library or the host said no, 2 usage error.");
  app.require_subcommand(1);
  app.fallthrough();
  app.add_option("--dll", invocation.libraryPath,
                 "The library to load, before or after the command;\n"
                 "default: kvilintg.dll beside kvilhosts.exe")
      ->type_name("PATH");
  // After --dll, whose value the version's second line reads.
  app.set_version_flag(
      "--version", [&invocation] { return VersionText(invocation); },
      "Print the tool's version and that of the library it would load, and exit");

  CLI::App* list = app.add_subcommand("list",
                                      "One row per host suffix: the application key and version\n"
                                      "Info reports, and per tool kind one word: attached (Check\n"
                                      "says so), available (Avail finds the product's files),\n"
                                      "installed (the host only), absent (no host), n/a (the host\n"
                                      "does not take that tool); 'not built' when the DLL lacks\n"
                                      "the host's exports");
  AddReadOption(*list, "--lang", std::string(kLanguages) + "\n(default ru)", ParseLanguage, "unknown language",
                Into(invocation.lcid))
      ->type_name("LANG");
  list->add_flag("--json", invocation.json, "The rows as JSON");

  CLI::App* attach = app.add_subcommand("attach", "Calls Attach<SUFFIX>; exit status 0 when it answers done");
  CLI::App* detach = app.add_subcommand("detach", "Calls Detach<SUFFIX>; exit status 0 when it answers done");
  for (CLI::App* command : {attach, detach}) {
    AddHostArguments(*command, invocation);
    command
        ->add_option("--added-files", invocation.addedFilesFolder,
                     "Afterwards, saves the files the library placed\n"
                     "outside the product's folder into FOLDER\\addfiles.xml")
        ->type_name("FOLDER");
    CLI::Option* journal = command->add_flag("--journal", invocation.journal,
                                             "Afterwards, lists every change the library made to\n"
                                             "the registry, files and INI files, in order, one a line");
    command
        ->add_flag("--json", invocation.json,
                   "The journal as a JSON array; the export's answer then\ngoes to standard error")
        ->needs(journal);
  }
  CLI::App* check = app.add_subcommand("check", "Calls Check<SUFFIX>; exit status 0 when the tool is attached");
  CLI::App* roundtrip = app.add_subcommand("roundtrip",
                                           "Calls Attach<SUFFIX>, then Detach<SUFFIX>, and lists every\n"
                                           "registry value, file and INI entry the library changed that\n"
                                           "is not back to what it was, each marked expected (the host\n"
                                           "keeps it by design, the reason given) or unexpected; exit\n"
                                           "status 0 when all are expected");
  AddHostArguments(*check, invocation);
  AddHostArguments(*roundtrip, invocation);

  parsed.exitStatus = kvil::tools::ParseOrExit(app, argc, argv);
  const std::array<std::pair<CLI::App*, Command>, 5> commands = {{{list, Command::kList},
                                                                  {attach, Command::kAttach},
                                                                  {detach, Command::kDetach},
                                                                  {check, Command::kCheck},
                                                                  {roundtrip, Command::kRoundtrip}}};
  for (const auto& [subcommand, command] : commands) {
    if (subcommand->parsed()) invocation.command = command;
  }
  return parsed;
}

}  // namespace kvilhosts
