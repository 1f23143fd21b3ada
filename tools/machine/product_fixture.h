// Installs the product on a machine (a scratch one in tests, the demo prefix for
// the demo): the uninstall entry, the options key per language, the start-up
// folder with engines and lexicons carrying proper version resources, and the
// Start-menu folder with the Editor's shortcut.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace kvil::machine {

struct ProductOptions {
  int majorVersion = 8;
  // Product folder: holds "uninst.exe" (named by "UninstallString") and
  // "KvilEditor.exe".
  std::string productDir;
  // The Start-menu folder recorded as "MenuLink"; receives "Kvil Editor.lnk".
  std::string menuDir;
  std::vector<int> languages{1049, 1058};
  // Start-up folder per language; a language not listed uses productDir.
  std::map<int, std::string> startupDirs;
  // Writes "Installing" = 64 under "Software\Tervane", and every key of the
  // product in the 64-bit view, as a 64-bit setup does.
  bool registry64 = false;
  // "Kvil startup dir" as REG_EXPAND_SZ with this unexpanded text, when set.
  std::string startupDirExpandText;
};

struct InstalledProduct {
  ProductOptions options;
  std::string uninstallKey;  // SOFTWARE\...\Uninstall\Kvil\<n>.0
  std::string productKey;    // SOFTWARE\Tervane\Kvil\<n>.0
  std::string StartupDir(int lcid) const;
  std::string OptionsKey(int lcid) const;  // <productKey>\Options\<lcid>
  std::string RecordKey(const std::string& app, const std::string& version, const std::string& toolKey,
                        int lcid) const;  // <productKey>\Products\<app>\<version>\<toolKey>\<lcid>
};

// Registry under the current HKLM (redirected in tests), files under the given
// folders. Each start-up folder gets: "kvilsp3.dll", "KVILGR32.DLL",
// "KVILTH32.DLL" (8.0, Tervane), "gram_mod.dll", "thes_mod.dll", "inhy32ru.dll",
// "inhy32ur.dll" (6.0, Tervane), "kvileditor.exe", Office's proofing-tool
// module "kvilproof.dll" (8.0, Tervane), and the lexicons
// "SP<LL>NORM.LEX", "grrunorm.lex", "thrunorm.lex", "hyRUnorm.lex", "HYURNORM.LEX".
InstalledProduct InstallProduct(const ProductOptions& options);

// A shell link (.lnk) whose target is targetPath, written with IShellLink (the
// caller has initialised COM).
void CreateShortcut(const std::string& linkPath, const std::string& targetPath);

// COM initialised apartment-threaded on the calling thread for the owner's
// lifetime, as the shell-link object needs. Throws when COM refuses.
class ComApartment {
 public:
  ComApartment();
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;
  ~ComApartment();
};

}  // namespace kvil::machine
