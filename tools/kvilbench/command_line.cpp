#include "command_line.h"

#include <algorithm>
#include <charconv>

#include "host_suffixes.h"
#include "tool_app.h"

namespace kvilbench {
namespace {

using kvil::tools::AddReadOption;
using kvil::tools::Into;

std::optional<int> ParseRounds(std::string_view text) {
  int rounds = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, rounds);
  if (error != std::errc{} || stop != end || rounds < 1 || rounds > kMaxRounds) return std::nullopt;
  return rounds;
}

constexpr char kDescription[] =
    "Seeds a scratch machine with the product and every host of the library's\n"
    "table installed, then times through the exports, in this one process:\n"
    "  the survey    Exist, Info, Avail and Check of every suffix and tool kind\n"
    "  attach        Attach then Detach of every suffix and tool kind, each call\n"
    "                timed alone\n"
    "  the reference one registry read: open a key, query one value, close it\n"
    "Each host's calls are counted in read-equivalents: their time divided by the\n"
    "median of reference reads taken just before them. Each figure is the median\n"
    "over the rounds; the full survey is the sum of the suffixes' medians.\n"
    "Targets: the full survey 2000, any one attach 50.";

constexpr char kFooter[] =
    "The Windows folder's frontpg.ini and win.ini are changed while it runs and put\n"
    "back after; run it in a Wine prefix that nothing else is using.\n"
    "\n"
    "Exit status: 0 success, 1 the machine could not be seeded or the library\n"
    "loaded, 2 usage error.";

}  // namespace

ParsedCommandLine ParseCommandLine(int argc, char** argv) {
  ParsedCommandLine parsed;
  BenchOptions& options = parsed.options;
  CLI::App app{kDescription, "kvilbench"};
  kvil::tools::SetUpToolApp(app, kFooter);
  app.add_option("--dll", options.libraryPath, "The library to load; default: kvilintg.dll beside\nkvilbench.exe")
      ->type_name("PATH");
  const auto addSuffix = [&options](std::string_view suffix) {
    if (std::find(options.suffixes.begin(), options.suffixes.end(), suffix) == options.suffixes.end()) {
      options.suffixes.push_back(suffix);
    }
  };
  AddReadOption(app, "--suffix", "Only this host suffix (any case); may be given again", kvilhosts::FindHostSuffix,
                "unknown host suffix", addSuffix)
      ->type_name("SUFFIX");
  AddReadOption(app, "--tool", "Only this tool: speller, grammar, thesaurus,\nhyphenator, or 0 to 3",
                kvilhosts::ParseToolKind, "unknown tool", Into(options.kind))
      ->type_name("TOOL");
  AddReadOption(app, "--lang",
                "ru, uk, or an LCID: 1049 1058 1033 2057 3081 1031\n1034 1036 1040 1046 2070 (default ru)",
                kvilhosts::ParseLanguage, "unknown language", Into(options.lcid))
      ->type_name("LANG");
  AddReadOption(app, "--rounds", "1 to 99 (default 5)", ParseRounds,
                "--rounds takes a count from 1 to " + std::to_string(kMaxRounds) + ", not", Into(options.rounds))
      ->type_name("N");
  parsed.exitStatus = kvil::tools::ParseOrExit(app, argc, argv);
  return parsed;
}

}  // namespace kvilbench
