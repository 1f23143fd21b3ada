#include "command_line.h"

#include <charconv>

#include "tool_app.h"

namespace kvilfuzz {
namespace {

using kvil::tools::AddReadOption;
using kvil::tools::Into;

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

// A number from 1 to most.
auto CountUpTo(std::uint64_t most) {
  return [most](std::string_view text) -> std::optional<int> {
    const std::optional<std::uint64_t> number = ParseNumber(text);
    if (!number || *number == 0 || *number > most) return std::nullopt;
    return static_cast<int>(*number);
  };
}

constexpr char kNumberRefusal[] = " takes a decimal or 0x hexadecimal number, not";

// --child IMAGE_KEY IMAGE_FOLDER LIBRARY SEED..., as the supervisor writes it.
bool ReadChildBatch(const CLI::results_t& words, ParsedCommandLine& parsed) {
  parsed.child = true;
  parsed.batch.imageRegistryPath = words[0];
  parsed.batch.imageFolder = words[1];
  parsed.batch.libraryPath = words[2];
  for (std::size_t i = 3; i < words.size(); ++i) {
    const std::optional<std::uint64_t> seed = ParseNumber(words[i]);
    if (!seed) throw CLI::ValidationError("bad seed '" + words[i] + "'");
    parsed.batch.seeds.push_back(*seed);
  }
  return true;
}

}  // namespace

ParsedCommandLine ParseCommandLine(int argc, char** argv) {
  ParsedCommandLine parsed;
  FuzzOptions& fuzz = parsed.fuzz;
  CLI::App app{
      "Seeds a machine with the product and every host the library knows, then for\n"
      "each run restores it, damages a few of the registry values, keys and host\n"
      "files the library reads, and drives every host through Exist, Info, Avail and\n"
      "Check for every tool, then Attach and Detach for Russian, in a child process.\n"
      "A run fails on a crash, a hang, an exception escaping an export, a host\n"
      "module gone with no backup, or a write past a caller's buffer.",
      "kvilfuzz"};
  kvil::tools::SetUpToolApp(app,
                            "Numbers are decimal or 0x hexadecimal. Exit status: 0 every run passed,\n"
                            "1 a run failed or the machine could not be seeded, 2 usage error.");
  CLI::Option* runs =
      AddReadOption(app, "--runs", "Runs to make (default 200)", CountUpTo(kMostRuns),
                    "--runs takes a count from 1 to " + std::to_string(kMostRuns) + ", not", Into(fuzz.runs));
  CLI::Option* seed = AddReadOption(app, "--seed", "The seed the runs' own seeds are derived from\n(default 1)",
                                    ParseNumber, std::string("--seed") + kNumberRefusal, Into(fuzz.seed));
  const auto replaySeed = [&fuzz](std::uint64_t number) {
    fuzz.replay = true;
    fuzz.replaySeed = number;
  };
  AddReadOption(app, "--replay", "Makes the one run a failure was reported with, again", ParseNumber,
                std::string("--replay") + kNumberRefusal, replaySeed)
      ->type_name("SEED")
      ->excludes(runs)
      ->excludes(seed);
  AddReadOption(app, "--time-limit", "A run taking longer is a hang (default 120)", CountUpTo(kLongestTimeLimit),
                "--time-limit takes seconds from 1 to " + std::to_string(kLongestTimeLimit) + ", not",
                Into(fuzz.timeLimitSeconds))
      ->type_name("SECONDS");
  app.add_option("--dll", fuzz.libraryPath, "The library to drive (default: kvilintg.dll beside\nkvilfuzz.exe)")
      ->type_name("PATH");
  runs->type_name("N");
  seed->type_name("S");
  // The supervisor's command line for a child; not for people.
  const auto readChild = [&parsed](const CLI::results_t& words) { return ReadChildBatch(words, parsed); };
  app.add_option(std::string(kChildFlag), readChild)
      ->expected(4, CLI::detail::expected_max_vector_size)
      ->allow_extra_args()
      ->group("");
  parsed.exitStatus = kvil::tools::ParseOrExit(app, argc, argv);
  return parsed;
}

}  // namespace kvilfuzz
