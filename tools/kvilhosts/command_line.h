// The survey tool's command line, checked completely before the library is
// loaded, so a mistyped argument never reaches an export.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "host_arguments.h"

namespace kvilhosts {

enum class Command { kHelp, kList, kAttach, kDetach, kCheck, kRoundtrip };

struct Invocation {
  Command command = Command::kHelp;
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
  std::string usageError;  // one line, without the program name; empty when valid
};

// args excludes the program name.
ParsedCommandLine ParseCommandLine(std::span<const std::string_view> args);

extern const char kUsage[];

}  // namespace kvilhosts
