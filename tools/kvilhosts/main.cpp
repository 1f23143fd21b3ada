// kvilhosts: drives kvilintg.dll through its host exports the way the setup tool
// does, to survey a machine's hosts or to attach, detach and check one tool by hand.

#include <windows.h>
#include <objbase.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command_line.h"
#include "host_library.h"
#include "journal.h"
#include "journal_session.h"
#include "kvilintg.h"
#include "registry_view.h"
#include "roundtrip.h"
#include "survey.h"

namespace kvilhosts {
namespace {

constexpr int kExitSuccess = 0;
constexpr int kExitRefused = 1;  // the library could not be used, or the host said no

void PrintError(const std::string& message) {
  std::fputs(("kvilhosts: " + message + "\n").c_str(), stderr);
}

struct OperationOutcome {
  const char* meaning;
  bool success;
};

// Attach and Detach report success as any non-zero word except the all-bits
// "not applicable"; Check answers exactly 1 for an attached tool.
OperationOutcome Interpret(Command command, KvilResult result) {
  if (result == KVIL_NOT_APPLICABLE) return {"not applicable", false};
  if (command == Command::kCheck) {
    if (result == KVIL_YES) return {"attached", true};
    if (result == KVIL_NO) return {"not attached", false};
    return {"unexpected answer", false};
  }
  if (result == KVIL_NO) return {"failed", false};
  return {"done", true};
}

struct ExportCall {
  std::string line;  // "AttachWW80(0, 1049) = 0x00000001 (1): done"
  bool success = false;
};

ExportCall CallExport(Command command, const HostExports& host, const Invocation& invocation) {
  const char* word = "Check";
  KvilCheckProc operation = host.check;
  if (command == Command::kAttach) {
    word = "Attach";
    operation = host.attach;
  } else if (command == Command::kDetach) {
    word = "Detach";
    operation = host.detach;
  }
  const KvilResult result = operation(invocation.kind, invocation.lcid, 0, 0);
  const OperationOutcome outcome = Interpret(command, result);
  std::array<char, 160> line{};
  std::snprintf(line.data(), line.size(), "%s%.*s(%d, %d) = 0x%08X (%d): %s\n", word,
                static_cast<int>(invocation.suffix.size()), invocation.suffix.data(),
                static_cast<int>(invocation.kind), static_cast<int>(invocation.lcid), static_cast<unsigned>(result),
                static_cast<int>(result), outcome.meaning);
  return {line.data(), outcome.success};
}

// The setup program's last step: the library's list of files it placed outside
// the product's folder, merged into <folder>\addfiles.xml. The library leaves
// COM to its caller. Empty when the library has no such list.
std::optional<std::string> SaveAddedFiles(HMODULE library, const std::string& folder) {
  using SaveExport = void (*)(const char*);
  const auto save = reinterpret_cast<SaveExport>(GetProcAddress(library, "extSaveToXml"));
  if (save == nullptr) return std::nullopt;
  const HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  save(folder.c_str());
  if (SUCCEEDED(com)) CoUninitialize();
  return "added files saved to " + folder + "\\addfiles.xml\n";
}

// What the tool says on standard output goes out only once the library has
// finished, so a reader that has gone away cannot change what the library did.
bool WriteOutput(const std::string& text) {
  const bool written = std::fputs(text.c_str(), stdout) >= 0;
  return std::fflush(stdout) == 0 && written && !std::ferror(stdout);
}

std::unique_ptr<JournalSession> StartJournal(HMODULE library, Journal& journal) {
  std::unique_ptr<JournalSession> session = JournalSession::Start(library, journal);
  if (!session) PrintError("cannot watch the library's calls into Windows");
  return session;
}

int RunOperation(const Invocation& invocation, HMODULE library, const HostExports& host) {
  Journal journal;
  std::unique_ptr<JournalSession> session;
  if (invocation.journal) {
    session = StartJournal(library, journal);
    if (!session) return kExitRefused;
  }
  const ExportCall call = CallExport(invocation.command, host, invocation);
  std::optional<std::string> saved;
  if (invocation.addedFilesFolder) saved = SaveAddedFiles(library, *invocation.addedFilesFolder);
  session.reset();

  std::string output = call.line + saved.value_or("");
  if (invocation.journal && invocation.json) {
    // Standard output is the JSON array alone; what the tool says goes beside it.
    std::fputs(output.c_str(), stderr);
    output = FormatJournalJson(journal.changes);
  } else if (invocation.journal) {
    output += FormatJournalText(journal.changes);
  }
  if (!WriteOutput(output) && invocation.journal) PrintError("cannot write the journal to standard output");
  if (!journal.complete) PrintError("the journal is incomplete: a change could not be recorded");
  if (invocation.addedFilesFolder && !saved) {
    PrintError("the library has no added-files list");
    return kExitRefused;
  }
  return call.success ? kExitSuccess : kExitRefused;
}

// The export's answers come first; the exit status says only whether a change
// remained that the host is not documented to keep.
int RunRoundtrip(const Invocation& invocation, HMODULE library, const HostExports& host) {
  Journal journal;
  std::unique_ptr<JournalSession> session = StartJournal(library, journal);
  if (!session) return kExitRefused;
  const ExportCall attach = CallExport(Command::kAttach, host, invocation);
  const ExportCall detach = CallExport(Command::kDetach, host, invocation);
  session.reset();

  const std::vector<const Leftover*> leftovers = LeftoversOf(invocation.suffix);
  const std::vector<ClassifiedDifference> differences = Classify(journal.touched.DifferencesNow(), leftovers);
  if (!WriteOutput(attach.line + detach.line + FormatRoundtripReport(differences))) {
    PrintError("cannot write the report to standard output");
  }
  if (!journal.complete) {
    PrintError("the journal is incomplete: a change could not be recorded");
    return kExitRefused;
  }
  const bool allDocumented = std::all_of(differences.begin(), differences.end(),
                                         [](const ClassifiedDifference& item) { return item.leftover != nullptr; });
  return allDocumented ? kExitSuccess : kExitRefused;
}

int Run(const Invocation& invocation) {
  const std::string path = invocation.libraryPath.value_or(DefaultLibraryPath());
  const LoadResult library = LoadHostLibrary(path);
  if (!library.module) {
    PrintError("cannot load " + path + ": error " + DescribeWindowsError(library.error));
    return kExitRefused;
  }

  if (invocation.command == Command::kList) {
    const std::string loadedPath = ModuleFileName(library.module.get());
    const Survey survey{loadedPath, ReadFileVersion(loadedPath), kvil::ProductInstalledFor64BitHosts(),
                        SurveyHosts(library.module.get(), invocation.lcid)};
    const std::string text = invocation.json ? FormatJson(survey) : FormatTable(survey);
    std::fputs(text.c_str(), stdout);
    return kExitSuccess;
  }

  const std::optional<HostExports> host = BindHost(library.module.get(), invocation.suffix);
  if (!host) {
    PrintError(std::string(invocation.suffix) + " is not built into " + path);
    return kExitRefused;
  }
  if (invocation.command == Command::kRoundtrip) return RunRoundtrip(invocation, library.module.get(), *host);
  return RunOperation(invocation, library.module.get(), *host);
}

int Main(int argc, char** argv) {
  const ParsedCommandLine parsed = ParseCommandLine(argc, argv);
  if (parsed.exitStatus) return *parsed.exitStatus;
  // A library that fails to load must come back as an error code, never as a
  // system dialog waiting for a click.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  return Run(parsed.invocation);
}

}  // namespace
}  // namespace kvilhosts

int main(int argc, char** argv) {
  try {
    return kvilhosts::Main(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kvilhosts: %s\n", error.what());
  } catch (...) {
    std::fputs("kvilhosts: unexpected failure\n", stderr);
  }
  return kvilhosts::kExitRefused;
}
