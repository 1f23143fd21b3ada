#include "child_run.h"

#include <windows.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "damage.h"
#include "guarded_buffer.h"
#include "host_library.h"
#include "host_suffixes.h"
#include "kvilintg.h"
#include "machine_image.h"
#include "protocol.h"
#include "version_fixture.h"
#include "win32_support.h"

namespace kvilfuzz {
namespace {

constexpr std::int32_t kRussian = 1049;
// Info's usual buffer: two items of at most 259 characters with their NULs.
constexpr std::size_t kInfoUsualCapacity = 520;
// The code GCC's runtime raises a C++ exception with.
constexpr DWORD kGccThrowCode = 0x20474343;

// One export call as a report names it.
struct CallSite {
  const char* operation = nullptr;  // null between exports
  std::string_view suffix;
  std::int32_t kind = 0;
  std::int32_t lcid = 0;
  // The calls that take a buffer: its capacity in bytes.
  bool takesBuffer = false;
  std::size_t capacity = 0;
};

// The run and the export running now, for the reports written from the
// exception handlers.
std::uint64_t g_seed = 0;
CallSite g_call;
// Whether a C++ exception was thrown since the current export was called.
bool g_thrownInCall = false;
// The caller's buffer and Info's 32-bit length, each before a guard page.
const GuardedBuffer* g_guardedBuffers[2] = {};

// Formats into a fixed buffer without touching the heap: the handlers below may
// run while the faulting code holds the heap's lock.
void DescribeCall(const CallSite& call, char* text, std::size_t capacity) {
  if (call.operation == nullptr) {
    std::snprintf(text, capacity, "outside any export");
  } else if (call.suffix.empty()) {
    std::snprintf(text, capacity, "%s(buffer of %zu bytes)", call.operation, call.capacity);
  } else if (call.takesBuffer) {
    std::snprintf(text, capacity, "%s%.*s(%d, %d, buffer of %zu bytes)", call.operation,
                  static_cast<int>(call.suffix.size()), call.suffix.data(), static_cast<int>(call.kind),
                  static_cast<int>(call.lcid), call.capacity);
  } else {
    std::snprintf(text, capacity, "%s%.*s(%d, %d)", call.operation, static_cast<int>(call.suffix.size()),
                  call.suffix.data(), static_cast<int>(call.kind), static_cast<int>(call.lcid));
  }
}

[[noreturn]] void ReportAndEnd(FailureKind kind, const char* what) {
  char call[160];
  DescribeCall(g_call, call, sizeof call);
  char line[MAX_PATH + 320];
  std::snprintf(line, sizeof line, "fail 0x%016llx %s %s: %s\n", static_cast<unsigned long long>(g_seed),
                FailureKindWord(kind), call, what);
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line, static_cast<DWORD>(std::strlen(line)), &written, nullptr);
  TerminateProcess(GetCurrentProcess(), kExitCrashReported);
  for (;;) Sleep(INFINITE);
}

// Sees every fault first: one in a guard page is a write (or read) past the
// caller's buffer, whoever would have handled it later.
LONG CALLBACK ReportGuardFault(EXCEPTION_POINTERS* info) {
  const EXCEPTION_RECORD* record = info->ExceptionRecord;
  if (record->ExceptionCode == kGccThrowCode) g_thrownInCall = true;
  if (record->ExceptionCode != EXCEPTION_ACCESS_VIOLATION || record->NumberParameters < 2) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  const void* address = reinterpret_cast<const void*>(record->ExceptionInformation[1]);
  const bool write = record->ExceptionInformation[0] == 1;
  if (g_guardedBuffers[0] != nullptr && g_guardedBuffers[0]->InGuard(address)) {
    ReportAndEnd(FailureKind::kOverrun, write ? "wrote past its capacity" : "read past its capacity");
  }
  if (g_guardedBuffers[1] != nullptr && g_guardedBuffers[1]->InGuard(address)) {
    ReportAndEnd(FailureKind::kOverrun, write ? "wrote past its 32-bit length" : "read past its 32-bit length");
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

// Only what nobody handled reaches here.
LONG WINAPI ReportCrash(EXCEPTION_POINTERS* info) {
  const EXCEPTION_RECORD* record = info->ExceptionRecord;
  if (record->ExceptionCode == kGccThrowCode) ReportAndEnd(FailureKind::kException, "a C++ exception escaped");
  // The faulting address as module + offset, which a map file of the build
  // turns into a routine.
  char module[MAX_PATH] = "?";
  HMODULE owner = nullptr;
  const auto address = static_cast<const char*>(record->ExceptionAddress);
  if (GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         address, &owner) &&
      GetModuleFileNameA(owner, module, sizeof module) == 0) {
    std::snprintf(module, sizeof module, "?");
  }
  const char* name = std::strrchr(module, '\\');
  name = name != nullptr ? name + 1 : module;
  char what[MAX_PATH + 96];
  std::snprintf(what, sizeof what, "exception 0x%08lX at %s+0x%llx",
                static_cast<unsigned long>(record->ExceptionCode), name,
                static_cast<unsigned long long>(address - reinterpret_cast<const char*>(owner)));
  ReportAndEnd(FailureKind::kCrash, what);
}

// The library carries its own C++ runtime: an exception leaving one of its
// exports finds no handler of that runtime and ends in its terminate handler,
// which aborts through the C library both share.
void ReportAbort(int) {
  if (g_thrownInCall) ReportAndEnd(FailureKind::kException, "a C++ exception escaped, and the process was aborted");
  ReportAndEnd(FailureKind::kCrash, "the process was aborted");
}

void ReportFailure(FailureKind kind, const std::string& what) {
  EmitEvent("fail", g_seed, std::string(FailureKindWord(kind)) + " " + what);
}

std::string Describe(const CallSite& site) {
  char call[160];
  DescribeCall(site, call, sizeof call);
  return call;
}

// One library's hosts driven through one run.
class HostDriver {
 public:
  HostDriver(HMODULE library, std::mt19937_64& rng, GuardedBuffer& buffer, GuardedBuffer& lengthSlot)
      : library_(library), rng_(rng), buffer_(buffer), lengthSlot_(lengthSlot) {
    for (const std::string_view suffix : kvilhosts::kHostSuffixes) {
      if (const auto host = kvilhosts::BindHost(library, suffix)) hosts_.push_back({suffix, *host});
    }
  }

  void Survey() {
    for (const BoundHost& host : hosts_) {
      for (std::int32_t kind = 0; kind < KVIL_TOOL_KIND_COUNT; ++kind) {
        Call("Exist", host, kind, host.exports.exist);
        Info(host, kind);
        Call("Avail", host, kind, host.exports.avail);
        Call("Check", host, kind, host.exports.check);
      }
    }
  }

  // The two exports that hand the caller a program's path.
  void ProgramPaths() {
    for (const char* name : {"GetIEFullExePath", "GetTheBatFullExePath"}) {
      const auto path = reinterpret_cast<KvilGetIEFullExePathProc>(GetProcAddress(library_, name));
      if (path == nullptr) continue;
      const std::size_t capacity = DrawCapacity();
      char* buffer = buffer_.Prepare(capacity);
      const CallSite site{.operation = name, .suffix = {}, .takesBuffer = true, .capacity = capacity};
      Guard(site, [&] { path(buffer, static_cast<std::int32_t>(capacity)); });
      CheckFront(site, buffer_, "its buffer");
    }
  }

  void AttachAndDetachEvery() {
    for (const BoundHost& host : hosts_) {
      for (std::int32_t kind = 0; kind < KVIL_TOOL_KIND_COUNT; ++kind) {
        Call("Attach", host, kind, host.exports.attach);
      }
    }
    for (const BoundHost& host : hosts_) {
      for (std::int32_t kind = 0; kind < KVIL_TOOL_KIND_COUNT; ++kind) {
        Call("Detach", host, kind, host.exports.detach);
      }
    }
  }

 private:
  struct BoundHost {
    std::string_view suffix;
    kvilhosts::HostExports exports;
  };

  template <typename Body>
  void Guard(const CallSite& site, Body&& body) {
    g_call = site;
    g_thrownInCall = false;
    try {
      body();
    } catch (...) {
      ReportFailure(FailureKind::kException, Describe(site) + ": a C++ exception escaped");
    }
    g_call = {};
  }

  void Call(const char* operation, const BoundHost& host, std::int32_t kind, KvilExistProc exported) {
    Guard({.operation = operation, .suffix = host.suffix, .kind = kind, .lcid = kRussian},
          [&] { exported(kind, kRussian, 0, 0); });
  }

  // Mostly short buffers, which Info must cut to their capacity, and now and
  // then the usual one.
  std::size_t DrawCapacity() { return rng_() % 4 == 0 ? kInfoUsualCapacity : rng_() % 48; }

  void Info(const BoundHost& host, std::int32_t kind) {
    const std::size_t capacity = DrawCapacity();
    char* buffer = buffer_.Prepare(capacity);
    auto* length = reinterpret_cast<std::int32_t*>(lengthSlot_.Prepare(sizeof(std::int32_t)));
    *length = static_cast<std::int32_t>(capacity);
    const CallSite site{.operation = "Info", .suffix = host.suffix, .kind = kind, .lcid = kRussian,
                        .takesBuffer = true, .capacity = capacity};
    Guard(site, [&] { host.exports.info(kind, kRussian, buffer, length); });
    CheckFront(site, buffer_, "its buffer");
    CheckFront(site, lengthSlot_, "its 32-bit length");
  }

  static void CheckFront(const CallSite& site, const GuardedBuffer& buffer, const char* what) {
    if (!buffer.FrontIntact()) {
      ReportFailure(FailureKind::kOverrun, Describe(site) + ": wrote before " + what);
    }
  }

  HMODULE library_;
  std::mt19937_64& rng_;
  GuardedBuffer& buffer_;
  GuardedBuffer& lengthSlot_;
  std::vector<BoundHost> hosts_;
};

// The product's own folders in the seeded machine (every_host.cpp): its files
// are no host's, and Detach may move some of them (the Editor's shortcut).
constexpr std::string_view kProductFolders[] = {"Kvil\\", "Kvil9\\", "Start Menu\\"};

std::vector<std::string> HostFiles(const DamageTargets& targets, const ImageLocation& image) {
  const std::string machine = image.MachineFolder() + "\\";
  std::vector<std::string> files;
  for (const std::string& file : targets.files) {
    const std::string_view path = file;
    bool product = false;
    for (const std::string_view folder : kProductFolders) {
      product = product || (path.starts_with(machine) && path.substr(machine.size()).starts_with(folder));
    }
    if (!product) files.push_back(file);
  }
  return files;
}

// Where the library keeps a host's own file while the product's stands in its
// place: "<name>.org" (the publishing hosts' spellers), "<file>.orig" (Firefox's
// module, and Office 2013's files as ".ORIG"), "<name>.orig<extension>" (Office's
// proofing-tool module, Opera's settings).
std::vector<std::string> BackupNames(const std::string& path) {
  const std::size_t slash = path.rfind('\\');
  const std::size_t dot = path.rfind('.');
  const bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  const std::string stem = hasExtension ? path.substr(0, dot) : path;
  const std::string extension = hasExtension ? path.substr(dot) : "";
  return {stem + ".org", path + ".orig", stem + ".orig" + extension};
}

void CheckHostFiles(const std::vector<std::string>& presentBefore) {
  for (const std::string& file : presentBefore) {
    if (kvil::machine::FileExists(file)) continue;
    bool backedUp = false;
    for (const std::string& backup : BackupNames(file)) backedUp = backedUp || kvil::machine::FileExists(backup);
    if (!backedUp) ReportFailure(FailureKind::kLostModule, file + ": gone, and no backup of it");
  }
}

// What every run of a batch shares: the machine, what can be damaged on it, the
// host files it must keep, the caller's buffers and the library's path.
class RunMaker {
 public:
  explicit RunMaker(const ChildOptions& batch)
      : image_{batch.imageRegistryPath, batch.imageFolder},
        machine_(image_),
        targets_(FindDamageTargets(machine_)),
        hostFiles_(HostFiles(targets_, image_)),
        libraryPath_(batch.libraryPath) {
    g_guardedBuffers[0] = &buffer_;
    g_guardedBuffers[1] = &lengthSlot_;
  }
  RunMaker(const RunMaker&) = delete;
  RunMaker& operator=(const RunMaker&) = delete;
  ~RunMaker() {
    g_guardedBuffers[0] = nullptr;
    g_guardedBuffers[1] = nullptr;
  }

  void Make(std::uint64_t seed) {
    machine_.Reset();
    std::mt19937_64 rng(seed);
    Damage damage = Damage::Inflict(targets_, rng);
    for (const std::string& what : damage.descriptions()) EmitEvent("damage", seed, what);

    std::vector<std::string> present;
    for (const std::string& file : hostFiles_) {
      if (kvil::machine::FileExists(file)) present.push_back(file);
    }
    {
      const kvilhosts::UniqueModule library(LoadLibraryA(libraryPath_.c_str()));
      if (!library) kvil::machine::ThrowLastError("cannot load " + libraryPath_);
      HostDriver driver(library.get(), rng, buffer_, lengthSlot_);
      driver.Survey();
      driver.ProgramPaths();
      driver.AttachAndDetachEvery();
    }
    damage.Release();
    CheckHostFiles(present);
  }

 private:
  ImageLocation image_;
  RunMachine machine_;
  DamageTargets targets_;
  std::vector<std::string> hostFiles_;
  std::string libraryPath_;
  GuardedBuffer buffer_;
  GuardedBuffer lengthSlot_;
};

}  // namespace

void RunBatch(const ChildOptions& batch) {
  AddVectoredExceptionHandler(1, ReportGuardFault);
  SetUnhandledExceptionFilter(ReportCrash);
  std::signal(SIGABRT, ReportAbort);
  // No error box may wait for a user who is not there.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);

  RunMaker runs(batch);
  for (const std::uint64_t seed : batch.seeds) {
    g_seed = seed;
    EmitEvent("begin", seed);
    try {
      runs.Make(seed);
    } catch (const std::exception& error) {
      EmitEvent("error", seed, error.what());
      throw;
    }
    EmitEvent("end", seed);
  }
}

}  // namespace kvilfuzz
