#include "command_line.h"

#include <charconv>
#include <optional>

namespace kvilfuzz {
namespace {

// Bounds that keep the counts in an int and the limit in a Win32 wait; a longer
// invocation would not end in any useful time.
constexpr std::uint64_t kMostRuns = 10'000'000;
constexpr std::uint64_t kLongestTimeLimit = 24 * 60 * 60;

// Decimal, or hexadecimal after "0x": the form failures are reported in.
std::optional<std::uint64_t> ParseNumber(std::string_view text) {
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    base = 16;
    text.remove_prefix(2);
  }
  std::uint64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, base);
  if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
  return value;
}

std::string Quoted(std::string_view text) {
  std::string quoted = "'";
  quoted += text;
  quoted += '\'';
  return quoted;
}

ParsedCommandLine Refuse(std::string message) {
  ParsedCommandLine parsed;
  parsed.usageError = std::move(message);
  return parsed;
}

// --child IMAGE_KEY IMAGE_FOLDER LIBRARY SEED...
ParsedCommandLine ParseChild(std::span<const std::string_view> args) {
  if (args.size() < 5) return Refuse("--child needs IMAGE_KEY IMAGE_FOLDER LIBRARY SEED...");
  ParsedCommandLine parsed;
  parsed.child = true;
  parsed.batch.imageRegistryPath = args[1];
  parsed.batch.imageFolder = args[2];
  parsed.batch.libraryPath = args[3];
  for (const std::string_view word : args.subspan(4)) {
    const std::optional<std::uint64_t> seed = ParseNumber(word);
    if (!seed) return Refuse("bad seed " + Quoted(word));
    parsed.batch.seeds.push_back(*seed);
  }
  return parsed;
}

}  // namespace

const char kUsage[] =
    "usage: kvilfuzz [--runs N] [--seed S] [--time-limit SECONDS] [--dll PATH]\n"
    "       kvilfuzz --replay SEED [--time-limit SECONDS] [--dll PATH]\n"
    "       kvilfuzz --help\n"
    "\n"
    "Seeds a machine with the product and every host the library knows, then for\n"
    "each run restores it, damages a few of the registry values, keys and host\n"
    "files the library reads, and drives every host through Exist, Info, Avail and\n"
    "Check for every tool, then Attach and Detach for Russian, in a child process.\n"
    "A run fails on a crash, a hang, an exception escaping an export, a host\n"
    "module gone with no backup, or a write past a caller's buffer.\n"
    "\n"
    "  --runs N          runs to make (default 200)\n"
    "  --seed S          the seed the runs' own seeds are derived from (default 1)\n"
    "  --replay SEED     makes the one run a failure was reported with, again\n"
    "  --time-limit SEC  a run taking longer is a hang (default 120)\n"
    "  --dll PATH        the library to drive (default: kvilintg.dll beside\n"
    "                    kvilfuzz.exe)\n"
    "\n"
    "Numbers are decimal or 0x hexadecimal. Exit status: 0 every run passed,\n"
    "1 a run failed or the machine could not be seeded, 2 usage error.\n";

ParsedCommandLine ParseCommandLine(std::span<const std::string_view> args) {
  if (!args.empty() && args[0] == kChildFlag) return ParseChild(args);
  ParsedCommandLine parsed;
  bool runsGiven = false;
  bool seedGiven = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string_view option = args[i];
    if (option == "--help" || option == "-h") {
      parsed.help = true;
      return parsed;
    }
    if (option != "--runs" && option != "--seed" && option != "--replay" && option != "--time-limit" &&
        option != "--dll") {
      return Refuse("unknown argument " + Quoted(option));
    }
    if (i + 1 == args.size()) return Refuse(std::string(option) + " needs a value");
    const std::string_view word = args[++i];
    if (option == "--dll") {
      parsed.fuzz.libraryPath = word;
      continue;
    }
    const std::optional<std::uint64_t> number = ParseNumber(word);
    if (!number) return Refuse("bad number " + Quoted(word) + " for " + std::string(option));
    if (option == "--runs") {
      if (*number == 0 || *number > kMostRuns) return Refuse("--runs takes 1 to " + std::to_string(kMostRuns));
      parsed.fuzz.runs = static_cast<int>(*number);
      runsGiven = true;
    } else if (option == "--seed") {
      parsed.fuzz.seed = *number;
      seedGiven = true;
    } else if (option == "--replay") {
      parsed.fuzz.replay = true;
      parsed.fuzz.replaySeed = *number;
    } else {
      if (*number == 0 || *number > kLongestTimeLimit) {
        return Refuse("--time-limit takes 1 to " + std::to_string(kLongestTimeLimit) + " seconds");
      }
      parsed.fuzz.timeLimitSeconds = static_cast<int>(*number);
    }
  }
  if (parsed.fuzz.replay && (runsGiven || seedGiven)) return Refuse("--replay makes one run: no --runs or --seed");
  return parsed;
}

}  // namespace kvilfuzz
