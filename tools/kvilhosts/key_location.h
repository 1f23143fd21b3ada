// Where a registry key really is. A program names a key by a root and a path
// and asks for a registry view; the registry may put it below the view's own
// node ("SOFTWARE\WOW6432Node\..." for a 32-bit program's machine keys), link it
// to a key both views share, or (with a redirected root) put it somewhere else
// entirely. An administrator looking for the key with regedit needs the place
// the registry chose, named as closely to the program's own name as possible.
// The survey tool's journal names every changed key this way; the demo machine
// names the keys it seeds the same way.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace kvilhosts {

// The name of a predefined root ("HKLM", "HKCU", ...), or empty for any other handle.
std::string_view PredefinedRootName(HKEY key);

// A key as regedit shows it: a predefined root and the path below it.
struct RegeditKey {
  HKEY root = nullptr;
  std::string path;
  std::string Text() const;  // "HKLM\SOFTWARE\WOW6432Node\..."
};

// The view node the registry puts a 32-bit program's keys under, spelled as
// regedit on Windows shows it.
inline constexpr std::string_view kThirtyTwoBitNode = "WOW6432Node";

// Where the key a handle stands for is, for a key the program named as path
// below the predefined root: the program's spelling of each component, with the
// view node inserted where the registry put the key below one the path does
// not name. A key outside the root's own key (a root that the process had
// redirected elsewhere and a view flag sent back), or whose components differ
// otherwise (a link to another key), is named as the registry names it, under
// HKLM or HKU. Empty when the handle's name cannot be read (a predefined root's
// pseudo handle has none).
std::optional<RegeditKey> LocateKey(HKEY handle, HKEY root, std::string_view path);

}  // namespace kvilhosts
