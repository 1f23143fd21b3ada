// kvilcatalog: the host catalogue (docs/hosts.md). It seeds the machine it runs
// on with the product and every host the library knows, then, for each host
// suffix of the module-definition file in its order, asks the host what it is
// and which tools it takes, attaches one tool with the change journal on, and
// detaches it again before the next host. What each attach changed is written
// as Markdown on standard output, with the machine's folder as a placeholder so
// that two runs give the same bytes.
//
// The machine is the real one the program runs on: run it only in a Wine
// prefix of its own (tools/catalog/hosts_doc.cmake makes one), where the
// registry's two views exist and the journal names each key as regedit would.

#include <windows.h>
#include <fcntl.h>
#include <io.h>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <exception>
#include <fstream>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "every_host.h"
#include "frontpage_fixture.h"
#include "host_arguments.h"
#include "host_library.h"
#include "host_suffixes.h"
#include "journal.h"
#include "journal_session.h"
#include "kvilintg.h"
#include "office_fixture.h"
#include "product_fixture.h"
#include "scratch_machine.h"
#include "survey.h"
#include "tool_app.h"
#include "tool_kinds.h"

namespace {

using kvilhosts::AsciiLowered;
using kvilhosts::ToolState;

constexpr char kMachinePlaceholder[] = "<machine>";

// The host suffixes in the order the module-definition file exports them: every
// "Exist<suffix>" line names one.
std::vector<std::string> SuffixesOf(const char* defFile) {
  std::ifstream def(defFile);
  if (!def) throw std::runtime_error(std::string("cannot read ") + defFile);
  static const std::regex exist(R"(^\s*Exist(\w+)\s*$)");
  std::vector<std::string> suffixes;
  std::smatch match;
  for (std::string line; std::getline(def, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (std::regex_match(line, match, exist)) suffixes.push_back(match[1]);
  }
  return suffixes;
}

// Every occurrence of folder, in any case (the library and the hosts' keys spell
// paths as they like), as the placeholder.
std::string WithPlaceholder(std::string text, const std::string& folder) {
  const std::string needle = AsciiLowered(folder);
  std::string haystack = AsciiLowered(text);
  for (std::size_t at = haystack.find(needle); at != std::string::npos; at = haystack.find(needle, at)) {
    text.replace(at, needle.size(), kMachinePlaceholder);
    haystack.replace(at, needle.size(), kMachinePlaceholder);
  }
  return text;
}

std::string Answer(KvilResult result) {
  if (result == KVIL_NOT_APPLICABLE) return "0xFFFFFFFF (not applicable)";
  return std::to_string(result) + (result == KVIL_NO ? " (no)" : " (done)");
}

struct HostEntry {
  std::string suffix;
  kvilhosts::HostInfo info;
  std::array<ToolState, KVIL_TOOL_KIND_COUNT> tools{};
  std::optional<std::int32_t> attachedKind;  // none when the host takes no tool
  std::string attach, detach, journal;
  bool complete = true;
};

// The speller if the host takes it, else its first tool; the library is loaded
// afresh, so that no list or cached reading of an earlier host carries over.
HostEntry Catalogue(const std::string& suffix, const std::string& machineFolder) {
  HostEntry entry;
  entry.suffix = suffix;
  const kvilhosts::LoadResult library = kvilhosts::LoadHostLibrary(kvilhosts::DefaultLibraryPath());
  if (!library.module) {
    throw std::runtime_error("cannot load kvilintg.dll: " + kvilhosts::DescribeWindowsError(library.error));
  }
  const std::optional<kvilhosts::HostExports> host = kvilhosts::BindHost(library.module.get(), suffix);
  if (!host) throw std::runtime_error(suffix + " is in the exports but not built");

  entry.info = kvilhosts::ReadHostInfo(*host, KVIL_SPELLER, kvilhosts::kRussian);
  for (std::int32_t kind = 0; kind < KVIL_TOOL_KIND_COUNT; ++kind) {
    entry.tools[kind] = kvilhosts::SurveyTool(*host, kind, kvilhosts::kRussian);
    if (!entry.attachedKind && entry.tools[kind] != ToolState::kNotApplicable) entry.attachedKind = kind;
  }
  if (!entry.attachedKind) return entry;

  const std::int32_t kind = *entry.attachedKind;
  kvilhosts::Journal journal;
  {
    const std::unique_ptr<kvilhosts::JournalSession> session =
        kvilhosts::JournalSession::Start(library.module.get(), journal);
    if (!session) throw std::runtime_error("cannot watch the library's calls into Windows");
    entry.attach = Answer(host->attach(kind, kvilhosts::kRussian, 0, 0));
  }
  entry.detach = Answer(host->detach(kind, kvilhosts::kRussian, 0, 0));
  entry.journal = WithPlaceholder(kvilhosts::FormatJournalText(journal.changes), machineFolder);
  entry.complete = journal.complete;
  return entry;
}

std::string Cell(std::string_view text) { return text.empty() ? "-" : std::string(text); }

constexpr char kPreamble[] = R"(# Host catalogue

Every host suffix the library exports, in the order of `exports/kvilintg.def`.
This page is generated by `kvilcatalog` from the change journal; do not edit it
by hand. Regenerate it with `cmake --build build --target hosts_doc`; the test
`hosts_catalogue` fails when it is out of date.

The machine is the one the fuzzer and the benchmark use (`InstallEveryHost`):
the product (Kvil 8.0, Russian and Ukrainian) and one installation of every
host, each as its 32-bit setup leaves a 64-bit Windows, seeded into a Wine
prefix of its own. `<machine>` stands for the folder the machine was seeded
into. The application and version are what `Info` reports; the tool columns
are what `Exist`, `Avail` and `Check` answer for Russian (1049) before anything
is attached: `available` (the host is there and the product's files for the
tool are too), `installed` (the host is there, the files are not), `absent`
(the host is not found), `n/a` (the host does not take the tool).

Then each host's Russian speller is attached, or its first tool when it takes
no speller, with the journal on (`kvilhosts attach SUFFIX TOOL ru --journal`
shows the same), and detached again before the next host. Hosts are attached
on the machine the previous hosts' detaches left: what a detach keeps (the
shared proofing registration, saved copies, records; see `kvilhosts
roundtrip`) is already there for a later host, whose journal then shows it as
the old value or does not repeat it.

)";

std::string Markdown(const std::vector<HostEntry>& entries) {
  std::string out = kPreamble;
  out += "| suffix | application | version | speller | grammar | thesaurus | hyphenator |\n";
  out += "|---|---|---|---|---|---|---|\n";
  for (const HostEntry& entry : entries) {
    // The heading's anchor: suffixes are letters, digits and underscores, which
    // Markdown keeps, lower-cased.
    out += "| [" + entry.suffix + "](#" + AsciiLowered(entry.suffix) + ") | " + Cell(entry.info.application) + " | " +
           Cell(entry.info.version);
    for (const ToolState state : entry.tools) out += " | " + std::string(kvilhosts::ToolStateWord(state));
    out += " |\n";
  }
  for (const HostEntry& entry : entries) {
    out += "\n## " + entry.suffix + "\n\n";
    if (!entry.attachedKind) {
      out += "Takes no tool: nothing is attached.\n";
      continue;
    }
    const std::string call = "(" + std::to_string(*entry.attachedKind) + ", 1049)";
    out += std::string(kvilhosts::kToolKindNames[*entry.attachedKind]) + ": `Attach" + entry.suffix + call +
           "` answers " + entry.attach + ", `Detach" + entry.suffix + call + "` " + entry.detach + ".\n\n";
    if (entry.journal.empty()) {
      out += "The attach changes nothing.\n";
    } else {
      out += "```\n" + entry.journal + "```\n";
    }
    if (!entry.complete) out += "\nThe journal is incomplete: a change could not be recorded.\n";
  }
  return out;
}

int Run(const char* defFile) {
  const std::vector<std::string> suffixes = SuffixesOf(defFile);
  if (suffixes.empty()) throw std::runtime_error(std::string("no host suffix in ") + defFile);

  const kvil::machine::ComApartment apartment;
  const kvil::machine::FontSubstituteGuard fontSubstitute;
  const kvil::machine::FrontPageIniGuard frontPageIni;
  const kvil::machine::ScratchFolder folder;
  kvil::machine::InstallEveryHost(folder.path());

  std::vector<HostEntry> entries;
  for (const std::string& suffix : suffixes) entries.push_back(Catalogue(suffix, folder.path()));
  const std::string text = Markdown(entries);
  // Line ends as in the source tree, whatever the C runtime would make of them.
  _setmode(_fileno(stdout), _O_BINARY);
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0 ? 0 : 1;
}

// The machine is seeded into the registry and folders of the system this runs
// on; outside Wine that would be someone's real Windows.
bool RunningUnderWine() {
  const HMODULE ntdll = GetModuleHandleA("ntdll.dll");
  return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Seeds this machine with every host (run it only in a Wine prefix of its own) and\n"
               "writes what attaching each host's Russian speller, or its first tool, changes.",
               "kvilcatalog"};
  kvil::tools::SetUpToolApp(app, "Writes the page to standard output: kvilcatalog EXPORTS.def > hosts.md\n"
                                 "Exit status: 0 written, 1 failed, 2 usage error.");
  std::string exports;
  app.add_option("EXPORTS.def", exports, "The module-definition file naming the hosts")->required();
  if (const std::optional<int> exitStatus = kvil::tools::ParseOrExit(app, argc, argv)) return *exitStatus;
  if (!RunningUnderWine()) {
    std::fputs("kvilcatalog: refusing to seed hosts into a real Windows; run it under Wine\n", stderr);
    return 1;
  }
  try {
    return Run(exports.c_str());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kvilcatalog: %s\n", error.what());
  }
  return 1;
}
