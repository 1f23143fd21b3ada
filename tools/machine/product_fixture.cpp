#include "product_fixture.h"

#include <windows.h>
#include <objbase.h>
#include <objidl.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <optional>
#include <stdexcept>
#include <utility>

#include "com.h"
#include "registry_probe.h"
#include "version_fixture.h"
#include "win32_support.h"

namespace kvil::machine {
namespace {

constexpr char kUninstallRoot[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kvil\\";
constexpr char kProductRoot[] = "SOFTWARE\\Tervane\\Kvil\\";
constexpr char kMakerKey[] = "Software\\Tervane";
constexpr DWORD kInstalledFor64BitView = 64;

// The two-letter code the product puts in lexicon names; a language it does not
// know gets none, so its speller lexicon is plain "SPNORM.LEX".
const char* LexiconLanguageCode(int lcid) {
  struct LanguageCode {
    int lcid;
    const char* code;
  };
  static constexpr LanguageCode kCodes[] = {
      {1049, "RU"}, {1058, "UR"}, {1033, "EN"}, {2057, "EN"}, {3081, "EN"}, {1031, "DE"},
      {1034, "SP"}, {1036, "FR"}, {1040, "IT"}, {1046, "BR"}, {2070, "PT"},
  };
  for (const LanguageCode& entry : kCodes) {
    if (entry.lcid == lcid) return entry.code;
  }
  return "";
}

void CheckCom(HRESULT status, const std::string& what) {
  if (FAILED(status)) ThrowComError(what, status);
}

// Every start-up folder carries the engines with the product's current version
// resources, and the interface modules and hyphenators with the older 6.0 ones
// the product still ships.
void WriteStartupFolder(const std::string& folder, int lcid) {
  CreateFolder(folder);
  const VersionStamp engine = ProductEngine();
  const VersionStamp olderModule = ProductHyphenator6();
  const std::pair<const char*, const VersionStamp*> modules[] = {
      {"kvilsp3.dll", &engine},       {"KVILGR32.DLL", &engine},      {"KVILTH32.DLL", &engine},
      {"gram_mod.dll", &olderModule}, {"thes_mod.dll", &olderModule}, {"inhy32ru.dll", &olderModule},
      {"inhy32ur.dll", &olderModule}, {"kvileditor.exe", &engine},   {"kvilproof.dll", &engine},
  };
  for (const auto& [name, stamp] : modules) WriteVersionedModule(folder + "\\" + name, *stamp);

  const std::string lexicons[] = {
      std::string("SP") + LexiconLanguageCode(lcid) + "NORM.LEX",
      "grrunorm.lex",
      "thrunorm.lex",
      "hyRUnorm.lex",
      "HYURNORM.LEX",
  };
  for (const std::string& name : lexicons) WriteFile(folder + "\\" + name, "Kvil lexicon " + name + "\r\n");
}

}  // namespace

std::string InstalledProduct::StartupDir(int lcid) const {
  const auto own = options.startupDirs.find(lcid);
  return own != options.startupDirs.end() ? own->second : options.productDir;
}

std::string InstalledProduct::OptionsKey(int lcid) const { return productKey + "\\Options\\" + std::to_string(lcid); }

std::string InstalledProduct::RecordKey(const std::string& app, const std::string& version, const std::string& toolKey,
                                        int lcid) const {
  return productKey + "\\Products\\" + app + "\\" + version + "\\" + toolKey + "\\" + std::to_string(lcid);
}

InstalledProduct InstallProduct(const ProductOptions& options) {
  if (options.majorVersion <= 0) throw std::invalid_argument("InstallProduct: majorVersion must be positive");
  if (options.productDir.empty()) throw std::invalid_argument("InstallProduct: productDir is empty");
  if (options.menuDir.empty()) throw std::invalid_argument("InstallProduct: menuDir is empty");

  // A product installed for 64-bit hosts came with a 64-bit setup, which keeps
  // all of its keys in the 64-bit view.
  std::optional<ProgramsView> setupView;
  if (options.registry64) setupView.emplace(KEY_WOW64_64KEY);

  InstalledProduct product;
  product.options = options;
  const std::string versionWord = std::to_string(options.majorVersion) + ".0";
  product.uninstallKey = kUninstallRoot + versionWord;
  product.productKey = kProductRoot + versionWord;

  // The product folder first: when a language's start-up folder is the product
  // folder, its "kvileditor.exe" then lands on "KvilEditor.exe" and keeps that name.
  CreateFolder(options.productDir);
  WriteVersionedModule(options.productDir + "\\uninst.exe", ProductEngine());
  WriteVersionedModule(options.productDir + "\\KvilEditor.exe", ProductEngine());

  WriteText(HKEY_LOCAL_MACHINE, product.uninstallKey, "UninstallString", options.productDir + "\\uninst.exe");
  WriteText(HKEY_LOCAL_MACHINE, product.uninstallKey, "MenuLink", options.menuDir);
  WriteText(HKEY_LOCAL_MACHINE, product.uninstallKey, "DisplayName", "Kvil " + versionWord);
  if (options.registry64) WriteDword(HKEY_LOCAL_MACHINE, kMakerKey, "Installing", kInstalledFor64BitView);

  for (const int lcid : options.languages) {
    const std::string startupDir = product.StartupDir(lcid);
    WriteStartupFolder(startupDir, lcid);
    if (options.startupDirExpandText.empty()) {
      WriteText(HKEY_LOCAL_MACHINE, product.OptionsKey(lcid), "Kvil startup dir", startupDir);
    } else {
      WriteText(HKEY_LOCAL_MACHINE, product.OptionsKey(lcid), "Kvil startup dir", options.startupDirExpandText,
                REG_EXPAND_SZ);
    }
  }

  CreateFolder(options.menuDir);
  CreateShortcut(options.menuDir + "\\Kvil Editor.lnk", options.productDir + "\\KvilEditor.exe");
  return product;
}

void CreateShortcut(const std::string& linkPath, const std::string& targetPath) {
  ComPtr<IShellLinkA> link;
  CheckCom(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkA, link.put_void()),
           "cannot create a shell link object for " + linkPath);
  CheckCom(link->SetPath(targetPath.c_str()), "cannot set the shell link target " + targetPath);
  const std::size_t separator = targetPath.find_last_of('\\');
  if (separator != std::string::npos) {
    CheckCom(link->SetWorkingDirectory(targetPath.substr(0, separator).c_str()),
             "cannot set the shell link working folder for " + linkPath);
  }
  // The link goes out through IPersistStream into a file stream rather than
  // IPersistFile::Save: the bytes are the same, but under Wine IPersistFile::Save
  // also starts winemenubuilder, which copies every shortcut in a Start-menu
  // folder into the desktop menu of the real user outside the prefix.
  ComPtr<IPersistStream> persist;
  CheckCom(link->QueryInterface(IID_IPersistStream, persist.put_void()),
           "the shell link object cannot be written to a stream");
  ComPtr<IStream> file;
  CheckCom(SHCreateStreamOnFileEx(Widen(linkPath).c_str(), STGM_WRITE | STGM_CREATE | STGM_SHARE_EXCLUSIVE,
                                  FILE_ATTRIBUTE_NORMAL, TRUE, nullptr, file.put()),
           "cannot create the shell link file " + linkPath);
  CheckCom(persist->Save(file.get(), TRUE), "cannot write the shell link " + linkPath);
}

ComApartment::ComApartment() {
  const HRESULT status = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (FAILED(status)) ThrowComError("cannot initialise COM on this thread", status);
}

ComApartment::~ComApartment() { CoUninitialize(); }

}  // namespace kvil::machine
