// The list command: what each host module says about itself and about each tool
// kind, gathered through its exports and printed as a table or as JSON.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "file_version.h"
#include "host_library.h"
#include "kvilintg.h"

namespace kvilhosts {

enum class ToolState {
  kAttached,       // installed, and Check finds the product attached
  kAvailable,      // installed, and Avail finds the product's files for it
  kInstalled,      // installed, nothing more
  kAbsent,         // the host is not installed
  kNotApplicable,  // the host does not take this tool kind
};
std::string_view ToolStateWord(ToolState state);

// Exist first; only an installed host is asked Check, then Avail.
ToolState SurveyTool(const HostExports& host, std::int32_t kind, std::int32_t lcid);

struct HostRow {
  std::string_view suffix;
  bool built = false;
  HostInfo info;
  std::array<ToolState, KVIL_TOOL_KIND_COUNT> tools{};
};

// One row per suffix of the table, in its order; hosts that are not built are
// never called.
std::vector<HostRow> SurveyHosts(HMODULE module, std::int32_t lcid);

struct Survey {
  // The library the survey loaded, as Windows names it, and its version resource.
  std::string libraryPath;
  FileVersionRead libraryVersion;
  // The registry view the product's keys and its hosts' keys are reached in:
  // the 64-bit one when the product was installed for 64-bit hosts, which is
  // what the library finds out for each export.
  bool productFor64BitHosts = false;
  std::vector<HostRow> hosts;
};

// "library: <path> 1.0.0.0 (...)", "registry view: 32-bit (product installed
// for 32-bit hosts)", then the hosts' columns aligned with two spaces between
// them, a header first, no trailing blanks.
std::string FormatTable(const Survey& survey);
// An object: "library" (its "path", "file_version" and "product_version", null
// without a version resource), "registry_view" ("32-bit" or "64-bit") and
// "hosts", an array with one object per row, one row per line.
std::string FormatJson(const Survey& survey);

// A JSON string literal for ANSI text: the bytes are read in the system code page
// and everything outside printable ASCII is written as \u escapes.
std::string JsonString(std::string_view ansi);

}  // namespace kvilhosts
