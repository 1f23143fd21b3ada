#include "scratch_machine.h"

#include <array>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "handles.h"
#include "win32_support.h"

namespace kvil::machine {
namespace {

constexpr char kScratchParent[] = "Software\\KvilTestScratch";

bool scratch_registry_alive = false;

// pid, a per-process counter and the tick count keep scratch names apart across
// the test processes that ctest runs side by side and across tests in one process.
std::string UniqueScratchName() {
  static unsigned scratch_counter = 0;
  return std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++scratch_counter) + "-" +
         std::to_string(GetTickCount64());
}

// Another test process may delete the shared parent, empty at that moment, while
// this one creates its tree under it; the creation then meets a deleted key and
// is simply made again.
HKEY CreateScratchHive(const std::string& path) {
  HKEY key = nullptr;
  LONG status = ERROR_KEY_DELETED;
  for (int attempt = 0; attempt < 10 && status == ERROR_KEY_DELETED; ++attempt) {
    status = RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                             nullptr, &key, nullptr);
  }
  if (status != ERROR_SUCCESS) ThrowWin32Error("cannot create the scratch hive HKCU\\" + path, status);
  return key;
}

void RedirectRoot(HKEY root, HKEY scratch, const char* rootName) {
  const LONG status = RegOverridePredefKey(root, scratch);
  if (status != ERROR_SUCCESS) ThrowWin32Error(std::string("cannot redirect ") + rootName + " to the scratch hive", status);
}

void CloseScratchHive(HKEY& key) {
  if (key != nullptr) RegCloseKey(key);
  key = nullptr;
}

// Other test processes may still be using the parent; it goes only once the last
// scratch tree under it is gone (deleting a key that has subkeys fails anyway).
void DeleteScratchParentIfEmpty() {
  kvil::UniqueHKey parent;
  if (RegOpenKeyExA(HKEY_CURRENT_USER, kScratchParent, 0, KEY_QUERY_VALUE, parent.put()) != ERROR_SUCCESS) return;
  DWORD subkeys = 0;
  DWORD values = 0;
  if (RegQueryInfoKeyA(parent.get(), nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values, nullptr, nullptr,
                       nullptr, nullptr) != ERROR_SUCCESS) {
    return;
  }
  parent.reset();
  if (subkeys == 0 && values == 0) RegDeleteKeyA(HKEY_CURRENT_USER, kScratchParent);
}

// Undoes a scratch registry in the order that keeps the real hives safe: the
// predefined keys point at the real hives again before anything is deleted, so
// the delete below reaches the real HKCU and nothing else.
void DismantleScratchRegistry(const std::string& scratchPath, HKEY& machine, HKEY& user, HKEY& classes) {
  RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
  RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
  RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
  CloseScratchHive(machine);
  CloseScratchHive(user);
  CloseScratchHive(classes);
  RegDeleteTreeA(HKEY_CURRENT_USER, scratchPath.c_str());
  DeleteScratchParentIfEmpty();
}

// Files the library under test marked read-only would make the removal fail on
// Windows; clear the attribute everywhere and try once more.
void RemoveFolderTree(const std::string& path) {
  const std::filesystem::path folder(Widen(path));
  std::error_code error;
  std::filesystem::remove_all(folder, error);
  if (!error) return;
  for (auto entry = std::filesystem::recursive_directory_iterator(folder, error);
       !error && entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
    SetFileAttributesW(entry->path().c_str(), FILE_ATTRIBUTE_NORMAL);
  }
  std::filesystem::remove_all(folder, error);
}

}  // namespace

ScratchRegistry::ScratchRegistry() {
  if (scratch_registry_alive) throw std::logic_error("a scratch registry is already active in this process");
  scratchPath_ = std::string(kScratchParent) + "\\" + UniqueScratchName();
  try {
    // All three hives are created and opened through the real HKCU before any
    // override: once HKCU is redirected, a path under it would land in the scratch.
    machine_ = CreateScratchHive(scratchPath_ + "\\HKLM");
    user_ = CreateScratchHive(scratchPath_ + "\\HKCU");
    classes_ = CreateScratchHive(scratchPath_ + "\\HKCR");
    RedirectRoot(HKEY_LOCAL_MACHINE, machine_, "HKLM");
    RedirectRoot(HKEY_CURRENT_USER, user_, "HKCU");
    RedirectRoot(HKEY_CLASSES_ROOT, classes_, "HKCR");
  } catch (...) {
    DismantleScratchRegistry(scratchPath_, machine_, user_, classes_);
    throw;
  }
  scratch_registry_alive = true;
}

ScratchRegistry::~ScratchRegistry() {
  DismantleScratchRegistry(scratchPath_, machine_, user_, classes_);
  scratch_registry_alive = false;
}

ScratchFolder::ScratchFolder() {
  std::array<char, MAX_PATH + 1> temp{};
  const DWORD length = GetTempPathA(static_cast<DWORD>(temp.size()), temp.data());
  if (length == 0 || length >= temp.size()) ThrowLastError("cannot read the temporary folder's path");
  std::string base(temp.data(), length);
  while (!base.empty() && (base.back() == '\\' || base.back() == '/')) base.pop_back();
  path_ = base + "\\kviltest-" + UniqueScratchName();
  if (!CreateDirectoryA(path_.c_str(), nullptr)) ThrowLastError("cannot create the scratch folder " + path_);
}

ScratchFolder::~ScratchFolder() { RemoveFolderTree(path_); }

std::string ScratchFolder::Join(std::string_view relative) const {
  std::string joined = path_;
  joined += '\\';
  joined += relative;
  return joined;
}

}  // namespace kvil::machine
