#include "survey.h"

#include <algorithm>

#include "host_suffixes.h"
#include "tool_kinds.h"

namespace kvilhosts {
namespace {

constexpr std::string_view kNotBuilt = "not built";
constexpr std::size_t kColumnCount = 3 + KVIL_TOOL_KIND_COUNT;

void AppendHex4(std::string& out, unsigned value) {
  constexpr char kDigits[] = "0123456789abcdef";
  for (int shift = 12; shift >= 0; shift -= 4) out += kDigits[(value >> shift) & 0xF];
}

std::wstring WidenAnsi(std::string_view ansi) {
  if (ansi.empty()) return {};
  const int size = static_cast<int>(ansi.size());
  const int units = MultiByteToWideChar(CP_ACP, 0, ansi.data(), size, nullptr, 0);
  if (units <= 0) return {};
  std::wstring wide(static_cast<std::size_t>(units), L'\0');
  MultiByteToWideChar(CP_ACP, 0, ansi.data(), size, wide.data(), units);
  return wide;
}

// A table cell for a host's answer: a dash for an empty one, and control
// characters, which would break the columns, as '?' (the JSON keeps them).
std::string Printable(std::string_view text) {
  if (text.empty()) return "-";
  std::string printable(text);
  std::replace_if(printable.begin(), printable.end(), [](char c) { return c >= 0 && c < 0x20; }, '?');
  return printable;
}

std::string_view ViewWord(const Survey& survey) { return survey.productFor64BitHosts ? "64-bit" : "32-bit"; }

}  // namespace

std::string_view ToolStateWord(ToolState state) {
  switch (state) {
    case ToolState::kAttached: return "attached";
    case ToolState::kAvailable: return "available";
    case ToolState::kInstalled: return "installed";
    case ToolState::kAbsent: return "absent";
    case ToolState::kNotApplicable: return "n/a";
  }
  return "?";
}

ToolState SurveyTool(const HostExports& host, std::int32_t kind, std::int32_t lcid) {
  const KvilResult exist = host.exist(kind, lcid, 0, 0);
  if (exist == KVIL_NOT_APPLICABLE) return ToolState::kNotApplicable;
  if (exist == KVIL_NO) return ToolState::kAbsent;
  if (host.check(kind, lcid, 0, 0) == KVIL_YES) return ToolState::kAttached;
  if (host.avail(kind, lcid, 0, 0) == KVIL_YES) return ToolState::kAvailable;
  return ToolState::kInstalled;
}

std::vector<HostRow> SurveyHosts(HMODULE module, std::int32_t lcid) {
  std::vector<HostRow> rows;
  rows.reserve(kHostSuffixes.size());
  for (std::string_view suffix : kHostSuffixes) {
    HostRow& row = rows.emplace_back();
    row.suffix = suffix;
    const std::optional<HostExports> host = BindHost(module, suffix);
    if (!host) continue;
    row.built = true;
    // The reference hosts ignore Info's kind and language; the speller is the
    // one kind every host takes.
    row.info = ReadHostInfo(*host, KVIL_SPELLER, lcid);
    for (std::int32_t kind = 0; kind < KVIL_TOOL_KIND_COUNT; ++kind) {
      row.tools[static_cast<std::size_t>(kind)] = SurveyTool(*host, kind, lcid);
    }
  }
  return rows;
}

std::string FormatTable(const Survey& survey) {
  const std::span<const HostRow> rows = survey.hosts;
  using Cells = std::array<std::string, kColumnCount>;
  std::vector<Cells> lines;
  lines.reserve(rows.size() + 1);
  Cells& header = lines.emplace_back();
  header[0] = "suffix";
  header[1] = "application";
  header[2] = "version";
  for (std::size_t kind = 0; kind < kToolKindNames.size(); ++kind) header[3 + kind] = kToolKindNames[kind];
  for (const HostRow& row : rows) {
    Cells& cells = lines.emplace_back();
    cells[0] = std::string(row.suffix);
    if (!row.built) {
      cells[1] = kNotBuilt;
      continue;
    }
    cells[1] = Printable(row.info.application);
    cells[2] = Printable(row.info.version);
    for (std::size_t kind = 0; kind < row.tools.size(); ++kind) cells[3 + kind] = ToolStateWord(row.tools[kind]);
  }

  std::array<std::size_t, kColumnCount> widths{};
  for (const Cells& cells : lines) {
    for (std::size_t column = 0; column < kColumnCount; ++column) {
      widths[column] = std::max(widths[column], cells[column].size());
    }
  }

  std::string text = "library: " + FileVersionLine(survey.libraryPath, survey.libraryVersion) + "\n";
  text += "registry view: " + std::string(ViewWord(survey)) + " (product installed for " +
          std::string(ViewWord(survey)) + " hosts)\n";
  for (const Cells& cells : lines) {
    std::string line;
    for (std::size_t column = 0; column < kColumnCount; ++column) {
      if (column > 0) line += "  ";
      line += cells[column];
      line.append(widths[column] - cells[column].size(), ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line;
    text += '\n';
  }
  return text;
}

std::string JsonString(std::string_view ansi) {
  std::string out = "\"";
  for (const wchar_t unit : WidenAnsi(ansi)) {
    const auto code = static_cast<unsigned>(unit);
    if (code == '"' || code == '\\') {
      out += '\\';
      out += static_cast<char>(code);
    } else if (code >= 0x20 && code < 0x7F) {
      out += static_cast<char>(code);
    } else {
      out += "\\u";
      AppendHex4(out, code);
    }
  }
  out += '"';
  return out;
}

std::string FormatJson(const Survey& survey) {
  const std::span<const HostRow> rows = survey.hosts;
  const std::optional<FileVersion>& version = survey.libraryVersion.version;
  std::string json = "{\"library\":{\"path\":" + JsonString(survey.libraryPath);
  json += ",\"file_version\":" + (version ? JsonString(version->fileVersion) : "null");
  json += ",\"product_version\":" + (version ? JsonString(version->productVersion) : "null");
  json += "},\"registry_view\":" + JsonString(ViewWord(survey)) + ",\"hosts\":[\n";
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const HostRow& row = rows[i];
    json += "  {\"suffix\":" + JsonString(row.suffix);
    if (row.built) {
      json += ",\"built\":true,\"application\":" + JsonString(row.info.application);
      json += ",\"version\":" + JsonString(row.info.version);
      json += ",\"tools\":{";
      for (std::size_t kind = 0; kind < row.tools.size(); ++kind) {
        if (kind > 0) json += ',';
        json += JsonString(kToolKindNames[kind]);
        json += ':';
        json += JsonString(ToolStateWord(row.tools[kind]));
      }
      json += '}';
    } else {
      json += ",\"built\":false,\"application\":null,\"version\":null,\"tools\":null";
    }
    json += i + 1 < rows.size() ? "},\n" : "}\n";
  }
  json += "]}\n";
  return json;
}

}  // namespace kvilhosts
