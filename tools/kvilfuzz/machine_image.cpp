#include "machine_image.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "every_host.h"
#include "product_fixture.h"
#include "version_fixture.h"
#include "win32_support.h"

namespace kvilfuzz {
namespace {

using kvil::machine::ThrowWin32Error;

constexpr char kImageParent[] = "Software\\KvilFuzz";

HKEY CreateKeyUnderRealUser(const std::string& path) {
  HKEY key = nullptr;
  const LONG status = RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                      KEY_ALL_ACCESS, nullptr, &key, nullptr);
  if (status != ERROR_SUCCESS) ThrowWin32Error("cannot create HKCU\\" + path, status);
  return key;
}

std::string HivePath(const std::string& parent, Hive hive) { return parent + "\\" + HiveName(hive); }

// Points this process's predefined keys at the given hives until the object
// goes; the real hives are back before anything else happens.
class HiveRedirection {
 public:
  explicit HiveRedirection(const kvil::UniqueHKey (&hives)[3]) {
    for (const Hive hive : kHives) {
      const LONG status = RegOverridePredefKey(PredefinedKey(hive), hives[static_cast<int>(hive)].get());
      if (status != ERROR_SUCCESS) {
        Undo();
        ThrowWin32Error(std::string("cannot redirect ") + HiveName(hive), status);
      }
    }
  }
  HiveRedirection(const HiveRedirection&) = delete;
  HiveRedirection& operator=(const HiveRedirection&) = delete;
  ~HiveRedirection() { Undo(); }

 private:
  static void Undo() {
    for (const Hive hive : kHives) RegOverridePredefKey(PredefinedKey(hive), nullptr);
  }
};

// A file the runs left read-only stops the removal on Wine; the attribute is
// cleared everywhere and the removal tried once more. A file is removed too.
void RemoveTree(const std::filesystem::path& folder) {
  std::error_code error;
  std::filesystem::remove_all(folder, error);
  if (!error) return;
  SetFileAttributesW(folder.c_str(), FILE_ATTRIBUTE_NORMAL);
  for (auto entry = std::filesystem::recursive_directory_iterator(folder, error);
       !error && entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
    SetFileAttributesW(entry->path().c_str(), FILE_ATTRIBUTE_NORMAL);
  }
  std::filesystem::remove_all(folder, error);
  if (error) throw std::runtime_error("cannot remove " + folder.string() + ": " + error.message());
}

void CopyTree(const std::string& from, const std::string& to) {
  std::error_code error;
  std::filesystem::copy(kvil::machine::Widen(from), kvil::machine::Widen(to),
                        std::filesystem::copy_options::recursive, error);
  if (error) throw std::runtime_error("cannot copy " + from + " to " + to + ": " + error.message());
}

std::optional<std::string> ReadSaved(const std::string& path) {
  if (!kvil::machine::FileExists(path)) return std::nullopt;
  return kvil::machine::ReadFileBytes(path);
}

void FlushFrontPageIniCache() {
  WritePrivateProfileStringA(nullptr, nullptr, nullptr, kvil::machine::FrontPageIniPath().c_str());
}

}  // namespace

HKEY PredefinedKey(Hive hive) {
  switch (hive) {
    case Hive::kMachine:
      return HKEY_LOCAL_MACHINE;
    case Hive::kUser:
      return HKEY_CURRENT_USER;
    case Hive::kClasses:
      return HKEY_CLASSES_ROOT;
  }
  return nullptr;
}

const char* HiveName(Hive hive) {
  switch (hive) {
    case Hive::kMachine:
      return "HKLM";
    case Hive::kUser:
      return "HKCU";
    case Hive::kClasses:
      return "HKCR";
  }
  return "";
}

SeededImage::SeededImage() {
  location_.registryPath = std::string(kImageParent) + "\\" + std::to_string(GetCurrentProcessId()) + "-" +
                           std::to_string(GetTickCount64());
  location_.folder = scratch_.path();
  try {
    kvil::UniqueHKey hives[3];
    for (const Hive hive : kHives) {
      hives[static_cast<int>(hive)].reset(CreateKeyUnderRealUser(HivePath(location_.registryPath, hive)));
    }
    {
      const HiveRedirection redirection(hives);
      const kvil::machine::ComApartment com;
      kvil::machine::InstallEveryHost(location_.MachineFolder());
    }
    CopyTree(location_.MachineFolder(), location_.PristineFolder());
    kvil::machine::CreateFolder(location_.folder + "\\windows");
    FlushFrontPageIniCache();
    if (const auto ini = ReadSaved(kvil::machine::FrontPageIniPath())) {
      kvil::machine::WriteFile(location_.SavedFrontPageIni(), *ini);
    }
    kvil::machine::WriteFile(location_.SavedTahomaSubstitute(), kvil::machine::ReadTahomaSubstitute());
  } catch (...) {
    RegDeleteTreeA(HKEY_CURRENT_USER, location_.registryPath.c_str());
    throw;
  }
}

SeededImage::~SeededImage() {
  // The last run may have left a folder or a read-only file in frontpg.ini's
  // place, where its guard puts the file back next.
  try {
    FlushFrontPageIniCache();
    RemoveTree(kvil::machine::Widen(kvil::machine::FrontPageIniPath()));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kvilfuzz: %s\n", error.what());
  }
  RegDeleteTreeA(HKEY_CURRENT_USER, location_.registryPath.c_str());
  // The parent goes only when no other image is left under it.
  RegDeleteKeyA(HKEY_CURRENT_USER, kImageParent);
}

RunMachine::RunMachine(const ImageLocation& image) : image_(image) {
  for (const Hive hive : kHives) {
    const int index = static_cast<int>(hive);
    const std::string pristinePath = HivePath(image_.registryPath, hive);
    const LONG status =
        RegOpenKeyExA(HKEY_CURRENT_USER, pristinePath.c_str(), 0, KEY_READ, pristine_[index].put());
    if (status != ERROR_SUCCESS) ThrowWin32Error("cannot open the image's hive HKCU\\" + pristinePath, status);
    run_[index].reset(CreateKeyUnderRealUser(HivePath(image_.registryPath + "\\run", hive)));
  }
  frontPageIni_ = ReadSaved(image_.SavedFrontPageIni());
  tahoma_ = ReadSaved(image_.SavedTahomaSubstitute());
  for (const Hive hive : kHives) {
    const LONG status = RegOverridePredefKey(PredefinedKey(hive), run_[static_cast<int>(hive)].get());
    if (status != ERROR_SUCCESS) ThrowWin32Error(std::string("cannot redirect ") + HiveName(hive), status);
  }
}

RunMachine::~RunMachine() {
  for (const Hive hive : kHives) RegOverridePredefKey(PredefinedKey(hive), nullptr);
  for (kvil::UniqueHKey& run : run_) run.reset();
  RegDeleteTreeA(HKEY_CURRENT_USER, (image_.registryPath + "\\run").c_str());
}

HKEY RunMachine::PristineHive(Hive hive) const { return pristine_[static_cast<int>(hive)].get(); }

void RunMachine::Reset() {
  for (const Hive hive : kHives) {
    const int index = static_cast<int>(hive);
    // The run hive's own key stays (the predefined key points at it); its
    // contents are replaced.
    LONG status = RegDeleteTreeA(run_[index].get(), nullptr);
    if (status != ERROR_SUCCESS) ThrowWin32Error(std::string("cannot empty the run's ") + HiveName(hive), status);
    status = RegCopyTreeA(pristine_[index].get(), nullptr, run_[index].get());
    if (status != ERROR_SUCCESS) ThrowWin32Error(std::string("cannot copy the image's ") + HiveName(hive), status);
  }

  RemoveTree(kvil::machine::Widen(image_.MachineFolder()));
  CopyTree(image_.PristineFolder(), image_.MachineFolder());

  // The profile routines keep a copy of each file they read; it is dropped on
  // both sides of the rewrite so the library reads the file as restored.
  const std::string ini = kvil::machine::FrontPageIniPath();
  FlushFrontPageIniCache();
  RemoveTree(kvil::machine::Widen(ini));
  if (frontPageIni_) kvil::machine::WriteFile(ini, *frontPageIni_);
  FlushFrontPageIniCache();
  kvil::machine::WriteTahomaSubstitute(tahoma_ && !tahoma_->empty() ? tahoma_->c_str() : nullptr);
}

}  // namespace kvilfuzz
