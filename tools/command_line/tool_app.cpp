#include "tool_app.h"

#include <cstdio>
#include <vector>

#include "kvil_version.h"

namespace kvil::tools {

std::string ToolVersionLine(std::string_view tool) { return std::string(tool) + " " + KVIL_VERSION_TEXT; }

void SetUpToolApp(CLI::App& app, std::string footer) {
  app.set_help_flag("-h,-?,--help", "Print this help and exit");
  app.set_version_flag("--version", ToolVersionLine(app.get_name()), "Print the tool's version and exit");
  app.footer(std::move(footer));
}

std::optional<int> ParseOrExit(CLI::App& app, int argc, char** argv) {
  std::string message;
  try {
    app.parse(argc, argv);
    return std::nullopt;
  } catch (const CLI::Success& request) {
    return app.exit(request);
  } catch (const CLI::ExtrasError& error) {
    // The first word no option or command took, where CLI11 lists them all.
    const std::vector<std::string> words = app.remaining(true);
    message = words.empty() ? error.what() : "unexpected argument '" + words.front() + "'";
  } catch (const CLI::ParseError& error) {
    message = error.what();
  }
  // One line, where CLI11 adds a second that points at --help, and one status
  // for every usage error, where CLI11 has one for each kind.
  std::fprintf(stderr, "%s: %s\n", app.get_name().c_str(), message.c_str());
  return kExitUsage;
}

}  // namespace kvil::tools
