// What the command lines of all the tools share: --help and --version on
// standard output with exit status 0, and every usage error as one line,
// "<tool>: <what is wrong>", on standard error with exit status 2, found before
// the tool loads the library or seeds anything.
#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace kvil::tools {

inline constexpr int kExitUsage = 2;

// "<tool> <the build's version>"
std::string ToolVersionLine(std::string_view tool);

// -h, -? (/? as Windows spells it) and --help, --version saying the tool's
// version line, and the footer under the help.
void SetUpToolApp(CLI::App& app, std::string footer);

// Parses the command line; the status to exit with when the tool is to stop
// here: after the help or the version, or after a usage error, reported.
std::optional<int> ParseOrExit(CLI::App& app, int argc, char** argv);

// An option or positional whose words the tool reads itself, one a time: read
// gives nothing for a word the tool does not take, which is the usage error
// "<refusal> 'word'"; store keeps what read gives.
template <typename Read, typename Store>
CLI::Option* AddReadOption(CLI::App& app, const std::string& name, const std::string& description, Read read,
                           const std::string& refusal, Store store) {
  const auto readEach = [read, refusal, store](const CLI::results_t& words) {
    for (const std::string& word : words) {
      const auto value = read(word);
      if (!value) throw CLI::ValidationError(refusal + " '" + word + "'");
      store(*value);
    }
    return true;
  };
  return app.add_option(name, readEach, description)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

// The store of an option read into one place; a later word replaces an earlier.
template <typename Value>
auto Into(Value& target) {
  return [&target](const auto& value) { target = value; };
}

}  // namespace kvil::tools
