// The journal: every change the library made to the machine, in the order it
// made them, kept in memory while the library runs and written out afterwards as
// text (one change a line) or as a JSON array.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "machine_state.h"

namespace kvilhosts {

enum class KeyAction { kCreate, kDelete, kDeleteTree };
struct KeyChange {
  KeyAction action = KeyAction::kCreate;
  std::string key;
};

// A value set (after holds what the registry now has) or deleted.
struct ValueChange {
  bool deleted = false;
  std::string key;
  std::string name;
  ValueState before;
  ValueState after;
};

enum class FileAction {
  kCopy,
  kMove,
  kDelete,
  kCreateFolder,
  kRemoveFolder,
  kCreate,          // a new file opened for writing
  kOverwrite,       // an existing file emptied for writing
  kOpenForWriting,  // an existing file opened to be written in place
  kSaveXml,         // an XML document saved by the DOM
  kSaveFile,        // an object saved through IPersistFile, such as a shortcut
};
struct FileChange {
  FileAction action = FileAction::kCopy;
  std::string path;
  std::string target;     // copy and move
  bool replaced = false;  // copy and move: the target was there before
};

// An entry written or deleted; with no entry, the whole section was deleted.
struct IniChange {
  IniPlace place;
  bool wholeSection = false;
  IniState before;
  IniState after;
};

// The shell's file operations name several paths at once and may work on whole
// folders.
enum class ShellAction { kCopy, kMove, kDelete, kRename };
struct ShellChange {
  ShellAction action = ShellAction::kCopy;
  std::vector<std::string> from;
  std::vector<std::string> to;
};

using Change = std::variant<KeyChange, ValueChange, FileChange, IniChange, ShellChange>;

struct Journal {
  std::vector<Change> changes;
  // Before each item's first change, what it held.
  TouchedItems touched;
  // False when a change could not be written down (memory ran out); the library's
  // call was made all the same.
  bool complete = true;
};

// One line per change:
//   create key HKLM\SOFTWARE\...
//   set HKLM\...\Normal "Engine" REG_SZ: (none) -> "C:\..."
//   copy file C:\a -> C:\b (replacing)
std::string FormatJournalText(std::span<const Change> changes);
// An array of objects, one per change and one per line, each with a "change" member.
std::string FormatJournalJson(std::span<const Change> changes);

}  // namespace kvilhosts
