#include "journal.h"

#include <cstring>
#include <type_traits>

#include "survey.h"

namespace kvilhosts {
namespace {

std::string_view KeyActionWords(KeyAction action) {
  switch (action) {
    case KeyAction::kCreate: return "create key";
    case KeyAction::kDelete: return "delete key";
    case KeyAction::kDeleteTree: return "delete key tree";
  }
  return "?";
}

std::string_view FileActionWords(FileAction action) {
  switch (action) {
    case FileAction::kCopy: return "copy file";
    case FileAction::kMove: return "move file";
    case FileAction::kDelete: return "delete file";
    case FileAction::kCreateFolder: return "create folder";
    case FileAction::kRemoveFolder: return "remove folder";
    case FileAction::kCreate: return "create file";
    case FileAction::kOverwrite: return "overwrite file";
    case FileAction::kOpenForWriting: return "open file for writing";
    case FileAction::kSaveXml: return "save xml";
    case FileAction::kSaveFile: return "save file";
  }
  return "?";
}

std::string_view ShellActionWords(ShellAction action) {
  switch (action) {
    case ShellAction::kCopy: return "shell copy";
    case ShellAction::kMove: return "shell move";
    case ShellAction::kDelete: return "shell delete";
    case ShellAction::kRename: return "shell rename";
  }
  return "?";
}

bool HasTarget(FileAction action) { return action == FileAction::kCopy || action == FileAction::kMove; }

std::string JoinPaths(const std::vector<std::string>& paths) {
  std::string joined;
  for (const std::string& path : paths) {
    if (!joined.empty()) joined += "; ";
    joined += path;
  }
  return joined;
}

// The type is named once when the value keeps it, and on each side otherwise.
std::string ValueLine(const ValueChange& change) {
  const ValueState& shown = change.deleted ? change.before : change.after;
  std::string line = change.deleted ? "delete value " : "set ";
  line += change.key + " " + QuotedValueName(change.name);
  if (!shown) return line + ": " + DescribeValue(change.before) + " -> " + DescribeValue(change.after);
  line += ' ';
  line += RegistryTypeName(shown->type);
  line += ": ";
  const bool sameType = !change.before || !change.after || change.before->type == change.after->type;
  const auto side = [sameType](const ValueState& state) {
    if (!state) return std::string("(none)");
    return sameType ? DescribeData(*state) : DescribeValue(state);
  };
  return line + side(change.before) + " -> " + side(change.after);
}

std::string TextLine(const Change& change) {
  return std::visit(
      [](const auto& item) -> std::string {
        using Item = std::decay_t<decltype(item)>;
        if constexpr (std::is_same_v<Item, KeyChange>) {
          return std::string(KeyActionWords(item.action)) + " " + item.key;
        } else if constexpr (std::is_same_v<Item, ValueChange>) {
          return ValueLine(item);
        } else if constexpr (std::is_same_v<Item, FileChange>) {
          std::string line = std::string(FileActionWords(item.action)) + " " + item.path;
          if (HasTarget(item.action)) line += " -> " + item.target + (item.replaced ? " (replacing)" : "");
          return line;
        } else if constexpr (std::is_same_v<Item, IniChange>) {
          std::string line = (item.wholeSection ? "delete ini section " : "write ini ") + item.place.FileText() +
                             " [" + item.place.section + "]";
          if (item.wholeSection) return line;
          return line + " " + QuotedValueName(item.place.entry) + ": " + DescribeIni(item.before) + " -> " +
                 DescribeIni(item.after);
        } else {
          std::string line = std::string(ShellActionWords(item.action)) + " " + JoinPaths(item.from);
          if (!item.to.empty()) line += " -> " + JoinPaths(item.to);
          return line;
        }
      },
      change);
}

std::string JsonData(const RegistryData& data) {
  if (data.type == REG_SZ || data.type == REG_EXPAND_SZ) return JsonString(StringText(data));
  if (data.type == REG_DWORD && data.bytes.size() == sizeof(DWORD)) return DescribeData(data);
  if (data.type == REG_QWORD && data.bytes.size() == sizeof(std::uint64_t)) return DescribeData(data);
  if (data.type == REG_MULTI_SZ) {
    std::string list = "[";
    for (const std::string& entry : MultiStringEntries(data)) {
      if (list.size() > 1) list += ',';
      list += JsonString(entry);
    }
    return list + "]";
  }
  return JsonString(DescribeData(data));
}

std::string JsonValue(const ValueState& state) {
  if (!state) return "null";
  return "{\"type\":" + JsonString(RegistryTypeName(state->type)) + ",\"data\":" + JsonData(*state) + "}";
}

std::string JsonIni(const IniState& state) { return state ? JsonString(*state) : "null"; }

std::string JsonPaths(const std::vector<std::string>& paths) {
  std::string list = "[";
  for (const std::string& path : paths) {
    if (list.size() > 1) list += ',';
    list += JsonString(path);
  }
  return list + "]";
}

std::string JsonObject(const Change& change) {
  return std::visit(
      [](const auto& item) -> std::string {
        using Item = std::decay_t<decltype(item)>;
        if constexpr (std::is_same_v<Item, KeyChange>) {
          return "{\"change\":" + JsonString(KeyActionWords(item.action)) + ",\"key\":" + JsonString(item.key) + "}";
        } else if constexpr (std::is_same_v<Item, ValueChange>) {
          return std::string("{\"change\":") + (item.deleted ? "\"delete value\"" : "\"set value\"") +
                 ",\"key\":" + JsonString(item.key) + ",\"value\":" + JsonString(item.name) +
                 ",\"old\":" + JsonValue(item.before) + ",\"new\":" + JsonValue(item.after) + "}";
        } else if constexpr (std::is_same_v<Item, FileChange>) {
          std::string object = "{\"change\":" + JsonString(FileActionWords(item.action));
          if (!HasTarget(item.action)) return object + ",\"path\":" + JsonString(item.path) + "}";
          return object + ",\"from\":" + JsonString(item.path) + ",\"to\":" + JsonString(item.target) +
                 ",\"replaced\":" + (item.replaced ? "true" : "false") + "}";
        } else if constexpr (std::is_same_v<Item, IniChange>) {
          std::string object = std::string("{\"change\":") +
                               (item.wholeSection ? "\"delete ini section\"" : "\"write ini\"") +
                               ",\"file\":" + JsonString(item.place.FileText()) +
                               ",\"section\":" + JsonString(item.place.section);
          if (item.wholeSection) return object + "}";
          return object + ",\"entry\":" + JsonString(item.place.entry) + ",\"old\":" + JsonIni(item.before) +
                 ",\"new\":" + JsonIni(item.after) + "}";
        } else {
          return "{\"change\":" + JsonString(ShellActionWords(item.action)) + ",\"from\":" + JsonPaths(item.from) +
                 ",\"to\":" + JsonPaths(item.to) + "}";
        }
      },
      change);
}

}  // namespace

std::string FormatJournalText(std::span<const Change> changes) {
  std::string text;
  for (const Change& change : changes) text += TextLine(change) + "\n";
  return text;
}

std::string FormatJournalJson(std::span<const Change> changes) {
  std::string json = "[\n";
  for (std::size_t i = 0; i < changes.size(); ++i) {
    json += "  " + JsonObject(changes[i]);
    json += i + 1 < changes.size() ? ",\n" : "\n";
  }
  return json + "]\n";
}

}  // namespace kvilhosts
