#include "command_line.h"

#include <vector>

#include "host_suffixes.h"

namespace kvilhosts {
namespace {

std::optional<Command> ParseCommand(std::string_view word) {
  if (word == "list") return Command::kList;
  if (word == "attach") return Command::kAttach;
  if (word == "detach") return Command::kDetach;
  if (word == "check") return Command::kCheck;
  if (word == "roundtrip") return Command::kRoundtrip;
  return std::nullopt;
}

}  // namespace

const char kUsage[] =
    "usage: kvilhosts [--dll PATH] list [--lang LANG] [--json]\n"
    "       kvilhosts [--dll PATH] attach|detach SUFFIX TOOL LANG [--added-files FOLDER]\n"
    "                 [--journal [--json]]\n"
    "       kvilhosts [--dll PATH] check SUFFIX TOOL LANG\n"
    "       kvilhosts [--dll PATH] roundtrip SUFFIX TOOL LANG\n"
    "       kvilhosts --help\n"
    "\n"
    "Surveys the host modules of kvilintg.dll through their exports, as the setup\n"
    "tool does, or attaches, detaches or checks one tool for one host.\n"
    "\n"
    "  list      one row per host suffix: the application key and version Info\n"
    "            reports, and per tool kind one word: attached (Check says so),\n"
    "            available (Avail finds the product's files), installed (the host\n"
    "            only), absent (no host), n/a (the host does not take that tool);\n"
    "            'not built' when the DLL lacks the host's exports.\n"
    "            --json prints the rows as a JSON array.\n"
    "  attach    calls Attach<SUFFIX>; exit status 0 when it answers done\n"
    "  detach    calls Detach<SUFFIX>; exit status 0 when it answers done\n"
    "  check     calls Check<SUFFIX>; exit status 0 when the tool is attached\n"
    "  roundtrip calls Attach<SUFFIX>, then Detach<SUFFIX>, and lists every registry\n"
    "            value, file and INI entry the library changed that is not back to\n"
    "            what it was, each marked expected (the host keeps it by design, the\n"
    "            reason given) or unexpected; exit status 0 when all are expected\n"
    "\n"
    "  SUFFIX    a host suffix such as WW80, Editor or Unknown (any case)\n"
    "  TOOL      speller, grammar, thesaurus, hyphenator, or 0 to 3\n"
    "  LANG      ru, uk, or an LCID: 1049 1058 1033 2057 3081 1031 1034 1036\n"
    "            1040 1046 2070 (list defaults to ru)\n"
    "  --added-files  after attach or detach, saves the files the library placed\n"
    "            outside the product's folder into FOLDER\\addfiles.xml\n"
    "  --journal after attach or detach, lists every change the library made to the\n"
    "            registry, files and INI files, in order, one a line; with --json as\n"
    "            a JSON array (the export's answer then goes to standard error)\n"
    "  --dll     the library to load, before or after the command; default:\n"
    "            kvilintg.dll beside kvilhosts.exe\n"
    "\n"
    "Exit status: 0 success, 1 the library or the host said no, 2 usage error.\n";

ParsedCommandLine ParseCommandLine(std::span<const std::string_view> args) {
  ParsedCommandLine parsed;
  Invocation& invocation = parsed.invocation;
  const auto fail = [&parsed](std::string message) {
    parsed.usageError = std::move(message);
    return parsed;
  };

  std::vector<std::string_view> positional;
  std::optional<std::string_view> language;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string_view arg = args[i];
    if (arg == "--help" || arg == "-h" || arg == "/?") {
      invocation.command = Command::kHelp;
      return parsed;
    }
    if (arg == "--dll" || arg == "--lang" || arg == "--added-files") {
      if (i + 1 == args.size()) return fail(std::string(arg) + " needs a value");
      const std::string_view value = args[++i];
      if (arg == "--dll") {
        invocation.libraryPath = std::string(value);
      } else if (arg == "--added-files") {
        invocation.addedFilesFolder = std::string(value);
      } else {
        language = value;
      }
    } else if (arg == "--json") {
      invocation.json = true;
    } else if (arg == "--journal") {
      invocation.journal = true;
    } else if (arg.size() > 1 && arg[0] == '-' && !(arg[1] >= '0' && arg[1] <= '9')) {
      // A negative number is left to the tool and language checks to reject.
      return fail("unknown option " + Quoted(arg));
    } else {
      positional.push_back(arg);
    }
  }

  if (positional.empty()) return fail("no command given");
  const std::optional<Command> command = ParseCommand(positional[0]);
  if (!command) return fail("unknown command " + Quoted(positional[0]));
  invocation.command = *command;
  if (invocation.addedFilesFolder && invocation.command != Command::kAttach &&
      invocation.command != Command::kDetach) {
    return fail("--added-files belongs to attach and detach, not " + std::string(positional[0]));
  }
  if (invocation.journal && invocation.command != Command::kAttach && invocation.command != Command::kDetach) {
    return fail("--journal belongs to attach and detach, not " + std::string(positional[0]));
  }

  if (invocation.command == Command::kList) {
    if (positional.size() > 1) return fail("unexpected argument " + Quoted(positional[1]));
    if (language) {
      const std::optional<std::int32_t> lcid = ParseLanguage(*language);
      if (!lcid) return fail("unknown language " + Quoted(*language));
      invocation.lcid = *lcid;
    }
    return parsed;
  }

  const std::string_view commandWord = positional[0];
  if (language) return fail("--lang belongs to list, not " + std::string(commandWord));
  if (invocation.json && !invocation.journal) {
    return fail("--json belongs to list and to --journal, not " + std::string(commandWord));
  }
  if (positional.size() < 4) return fail(std::string(commandWord) + " needs SUFFIX TOOL LANG");
  if (positional.size() > 4) return fail("unexpected argument " + Quoted(positional[4]));

  const std::optional<std::string_view> suffix = FindHostSuffix(positional[1]);
  if (!suffix) return fail("unknown host suffix " + Quoted(positional[1]));
  const std::optional<std::int32_t> kind = ParseToolKind(positional[2]);
  if (!kind) return fail("unknown tool " + Quoted(positional[2]));
  const std::optional<std::int32_t> lcid = ParseLanguage(positional[3]);
  if (!lcid) return fail("unknown language " + Quoted(positional[3]));
  invocation.suffix = *suffix;
  invocation.kind = *kind;
  invocation.lcid = *lcid;
  return parsed;
}

}  // namespace kvilhosts
