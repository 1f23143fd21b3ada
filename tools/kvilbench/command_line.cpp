#include "command_line.h"

#include <algorithm>
#include <charconv>

#include "host_arguments.h"
#include "host_suffixes.h"

namespace kvilbench {
namespace {

using kvilhosts::Quoted;

std::optional<int> ParseRounds(std::string_view text) {
  int rounds = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, rounds);
  if (error != std::errc{} || stop != end || rounds < 1 || rounds > kMaxRounds) return std::nullopt;
  return rounds;
}

}  // namespace

const char kUsage[] =
    "usage: kvilbench [--dll PATH] [--suffix SUFFIX]... [--tool TOOL] [--lang LANG] [--rounds N]\n"
    "       kvilbench --help\n"
    "\n"
    "Seeds a scratch machine with the product and every host of the library's\n"
    "table installed, then times through the exports, in this one process:\n"
    "  the survey    Exist, Info, Avail and Check of every suffix and tool kind\n"
    "  attach        Attach then Detach of every suffix and tool kind, each call\n"
    "                timed alone\n"
    "  the reference one registry read: open a key, query one value, close it\n"
    "Each host's calls are counted in read-equivalents: their time divided by the\n"
    "median of reference reads taken just before them. Each figure is the median\n"
    "over the rounds; the full survey is the sum of the suffixes' medians.\n"
    "Targets: the full survey 2000, any one attach 50.\n"
    "\n"
    "  --suffix  only this host suffix (any case); may be given again\n"
    "  --tool    only this tool: speller, grammar, thesaurus, hyphenator, or 0 to 3\n"
    "  --lang    ru, uk, or an LCID: 1049 1058 1033 2057 3081 1031 1034 1036\n"
    "            1040 1046 2070 (default ru)\n"
    "  --rounds  1 to 99 (default 5)\n"
    "  --dll     the library to load; default: kvilintg.dll beside kvilbench.exe\n"
    "\n"
    "The Windows folder's frontpg.ini and win.ini are changed while it runs and put\n"
    "back after; run it in a Wine prefix that nothing else is using.\n"
    "\n"
    "Exit status: 0 success, 1 the machine could not be seeded or the library\n"
    "loaded, 2 usage error.\n";

ParsedCommandLine ParseCommandLine(std::span<const std::string_view> args) {
  ParsedCommandLine parsed;
  BenchOptions& options = parsed.options;
  const auto fail = [&parsed](std::string message) {
    parsed.usageError = std::move(message);
    return parsed;
  };

  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string_view arg = args[i];
    if (arg == "--help" || arg == "-h" || arg == "/?") {
      options.help = true;
      return parsed;
    }
    if (arg != "--dll" && arg != "--suffix" && arg != "--tool" && arg != "--lang" && arg != "--rounds") {
      if (arg.starts_with("-")) return fail("unknown option " + Quoted(arg));
      return fail("unexpected argument " + Quoted(arg));
    }
    if (i + 1 == args.size()) return fail(std::string(arg) + " needs a value");
    const std::string_view value = args[++i];
    if (arg == "--dll") {
      options.libraryPath = std::string(value);
    } else if (arg == "--suffix") {
      const std::optional<std::string_view> suffix = kvilhosts::FindHostSuffix(value);
      if (!suffix) return fail("unknown host suffix " + Quoted(value));
      if (std::find(options.suffixes.begin(), options.suffixes.end(), *suffix) == options.suffixes.end()) {
        options.suffixes.push_back(*suffix);
      }
    } else if (arg == "--tool") {
      options.kind = kvilhosts::ParseToolKind(value);
      if (!options.kind) return fail("unknown tool " + Quoted(value));
    } else if (arg == "--lang") {
      const std::optional<std::int32_t> lcid = kvilhosts::ParseLanguage(value);
      if (!lcid) return fail("unknown language " + Quoted(value));
      options.lcid = *lcid;
    } else {
      const std::optional<int> rounds = ParseRounds(value);
      if (!rounds) {
        return fail("--rounds takes a count from 1 to " + std::to_string(kMaxRounds) + ", not " + Quoted(value));
      }
      options.rounds = *rounds;
    }
  }
  return parsed;
}

}  // namespace kvilbench
