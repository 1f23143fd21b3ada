// A private machine for one test: HKLM, HKCU and HKCR of this process redirected
// to fresh scratch keys, and a temporary folder. Both vanish when the test ends.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace kvil::machine {

// Redirects HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER and HKEY_CLASSES_ROOT of this
// process to three new keys under the real HKCU ("Software\KvilTestScratch\<id>")
// with RegOverridePredefKey; the destructor restores the real hives and deletes
// the scratch tree. Only one may be alive at a time.
class ScratchRegistry {
 public:
  ScratchRegistry();
  ScratchRegistry(const ScratchRegistry&) = delete;
  ScratchRegistry& operator=(const ScratchRegistry&) = delete;
  ~ScratchRegistry();

  // The scratch tree's path under the real HKCU (for checking it is gone).
  const std::string& ScratchPath() const { return scratchPath_; }

 private:
  std::string scratchPath_;
  HKEY machine_ = nullptr;
  HKEY user_ = nullptr;
  HKEY classes_ = nullptr;
};

// A new empty folder under %TEMP%, removed with everything in it on destruction.
class ScratchFolder {
 public:
  ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();

  // Windows path without a trailing backslash.
  const std::string& path() const { return path_; }
  // path() + "\" + relative; creates nothing.
  std::string Join(std::string_view relative) const;

 private:
  std::string path_;
};

}  // namespace kvil::machine
