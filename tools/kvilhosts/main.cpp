// kvilhosts: drives kvilintg.dll through its host exports the way the setup tool
// does, to survey a machine's hosts or to attach, detach and check one tool by hand.

#include <windows.h>
#include <objbase.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command_line.h"
#include "host_contract.h"
#include "host_library.h"
#include "survey.h"

namespace kvilhosts {
namespace {

constexpr int kExitSuccess = 0;
constexpr int kExitRefused = 1;  // the library could not be used, or the host said no
constexpr int kExitUsage = 2;

void PrintError(const std::string& message) {
  std::fputs(("kvilhosts: " + message + "\n").c_str(), stderr);
}

struct OperationOutcome {
  const char* meaning;
  bool success;
};

// Attach and Detach report success as any non-zero word except the all-bits
// "not applicable"; Check answers exactly 1 for an attached tool.
OperationOutcome Interpret(Command command, kvil::HostResult result) {
  if (result == kvil::kNotApplicable) return {"not applicable", false};
  if (command == Command::kCheck) {
    if (result == kvil::kHostYes) return {"attached", true};
    if (result == kvil::kHostNo) return {"not attached", false};
    return {"unexpected answer", false};
  }
  if (result == kvil::kHostNo) return {"failed", false};
  return {"done", true};
}

int RunOperation(const Invocation& invocation, const HostExports& host) {
  const char* word = "Check";
  kvil::CheckExport operation = host.check;
  if (invocation.command == Command::kAttach) {
    word = "Attach";
    operation = host.attach;
  } else if (invocation.command == Command::kDetach) {
    word = "Detach";
    operation = host.detach;
  }
  const kvil::HostResult result = operation(invocation.kind, invocation.lcid, 0, 0);
  const OperationOutcome outcome = Interpret(invocation.command, result);
  const std::string name = word + std::string(invocation.suffix);
  std::printf("%s(%d, %d) = 0x%08X (%d): %s\n", name.c_str(), static_cast<int>(invocation.kind),
              static_cast<int>(invocation.lcid), static_cast<unsigned>(result), static_cast<int>(result),
              outcome.meaning);
  return outcome.success ? kExitSuccess : kExitRefused;
}

// The setup program's last step: the library's list of files it placed outside
// the product's folder, merged into <folder>\addfiles.xml. The library leaves
// COM to its caller.
bool SaveAddedFiles(HMODULE library, const std::string& folder) {
  using SaveExport = void (*)(const char*);
  const auto save = reinterpret_cast<SaveExport>(GetProcAddress(library, "extSaveToXml"));
  if (save == nullptr) {
    PrintError("the library has no added-files list");
    return false;
  }
  const HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  save(folder.c_str());
  if (SUCCEEDED(com)) CoUninitialize();
  std::printf("added files saved to %s\\addfiles.xml\n", folder.c_str());
  return true;
}

int Run(const Invocation& invocation) {
  const std::string path = invocation.libraryPath.value_or(DefaultLibraryPath());
  const LoadResult library = LoadHostLibrary(path);
  if (!library.module) {
    PrintError("cannot load " + path + ": error " + DescribeWindowsError(library.error));
    return kExitRefused;
  }

  if (invocation.command == Command::kList) {
    const std::vector<HostRow> rows = SurveyHosts(library.module.get(), invocation.lcid);
    const std::string text = invocation.json ? FormatJson(rows) : FormatTable(rows);
    std::fputs(text.c_str(), stdout);
    return kExitSuccess;
  }

  const std::optional<HostExports> host = BindHost(library.module.get(), invocation.suffix);
  if (!host) {
    PrintError(std::string(invocation.suffix) + " is not built into " + path);
    return kExitRefused;
  }
  const int status = RunOperation(invocation, *host);
  if (invocation.addedFilesFolder && !SaveAddedFiles(library.module.get(), *invocation.addedFilesFolder)) {
    return kExitRefused;
  }
  return status;
}

int Main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs(kUsage, stderr);
    return kExitUsage;
  }
  const std::vector<std::string_view> args(argv + 1, argv + argc);
  const ParsedCommandLine parsed = ParseCommandLine(args);
  if (!parsed.usageError.empty()) {
    PrintError(parsed.usageError);
    return kExitUsage;
  }
  if (parsed.invocation.command == Command::kHelp) {
    std::fputs(kUsage, stdout);
    return kExitSuccess;
  }
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
