// The survey tool's command line, checked completely before the library is
// loaded, so a mistyped argument never reaches an export.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host_arguments.h"

namespace kvilhosts {

enum class Command { kList, kAttach, kDetach, kCheck, kRoundtrip };

struct Invocation {
  Command command = Command::kList;
  std::optional<std::string> libraryPath;  // --dll; the default library otherwise
  // list
  std::int32_t lcid = kRussian;
  // list, and the journal of attach and detach
  bool json = false;
  // attach, detach, check, roundtrip
  std::string_view suffix;  // the suffix table's spelling
  std::int32_t kind = 0;
  // attach, detach: the folder the library's added-files list is saved into
  // ("addfiles.xml") after the operation, as the setup program does at the end.
  std::optional<std::string> addedFilesFolder;
  // attach, detach: every change the library made, printed after the export.
  bool journal = false;
};

struct ParsedCommandLine {
  Invocation invocation;
  // Set when the tool is to stop at once: after the help or the version (0), or
  // after a usage error, reported on standard error (2).
  std::optional<int> exitStatus;
};

ParsedCommandLine ParseCommandLine(int argc, char** argv);

}  // namespace kvilhosts
