// The Office 95 and 97 hosts as their own setups leave them on a machine: the keys
// the library looks for, the language values the hosts keep, the install roots and
// the programs with their version resources. Registry under the current (in tests
// redirected) hives; files under the folders given.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "registry_probe.h"

namespace kvil::machine {

// Office 97's install root ("SOFTWARE\Microsoft\Office\8.0\<App>\InstallRoot"
// "Path") for one application, and the shared program folder
// ("...\8.0\Common\InstallRoot" "OfficeBin", stored with a trailing backslash).
void SetOffice97InstallRoot(const std::string& application, const std::string& folder);
void SetOffice97ProgramFolder(const std::string& folderWithTrailingBackslash);

// Word 95: HKCU "Software\Microsoft\Word\7.0\Proofing Tools".
void InstallWord95();
// Word 97: HKCU "Software\Microsoft\Office\8.0\Word\Options" and the install root
// of "Word" = officeFolder.
void InstallWord97(const std::string& officeFolder);

// Excel 95: "Speller" = "<lcid>\Normal" in HKCU "Software\Microsoft\Excel\7.0\Spell
// Checker" and HKLM "SOFTWARE\Microsoft\New User Settings\Excel\7.0\Spell Checker".
void InstallExcel95(int spellerLcid);
// Excel 97: "Speller" = "<lcid>\Normal" in HKCU
// "Software\Microsoft\Office\8.0\Excel\Spell Checker" and HKLM
// "Software\Microsoft\Office\8.0\New User Settings\Excel\Spell Checker";
// install root of "Excel" = officeFolder.
void InstallExcel97(const std::string& officeFolder, int spellerLcid);

// PowerPoint 95: "Speller" = "<lcid>\Normal" in HKCU
// "Software\Microsoft\Office\PowerPoint\7.0\Spelling\Speller" (no NUS key).
void InstallPowerPoint95(int spellerLcid);
// PowerPoint 97: HKLM "Software\Microsoft\Office\8.0\PowerPoint" and the install
// root of "PowerPoint" = officeFolder.
void InstallPowerPoint97(const std::string& officeFolder);

// Access 95: "Language ID" (REG_DWORD) = lcid in HKLM "SOFTWARE\Microsoft\Access\7.0\Speller".
void InstallAccess95(DWORD languageLcid);
// Access 97: "Language ID" = lcid in HKLM "SOFTWARE\Microsoft\Office\8.0\Access\Speller",
// "OfficeBin" = officeFolder + "\" and officeFolder\MSACCESS.EXE (a versioned program, 8.0).
void InstallAccess97(const std::string& officeFolder, DWORD languageLcid);

// Outlook 97/98: "Speller" = "<lcid>\Normal" in HKCU
// "Software\Microsoft\Office\8.0\Outlook\Options\Spelling" and HKLM
// "SOFTWARE\Microsoft\Office\8.0\New User Settings\Outlook\Options\Spelling";
// HKLM "SOFTWARE\Microsoft\Windows\CurrentVersion\App Paths\OUTLOOK.EXE" "Path" =
// folder + "\" and folder\outlook.exe with file version major.minor.
void InstallOutlook97(const std::string& folder, int spellerLcid, WORD major, WORD minor);

// Publisher 98: HKCU "Software\Microsoft\Office\8.0\Publisher\5.0".
void InstallPublisher98();

// An Office 2000, XP or 2003 application (officeVersion 9, 10, 11) as its setup
// leaves it: the key the hosts look for (HKLM
// "SOFTWARE\Microsoft\Office\<v>.0\<application>", "...\Access\Speller" for
// Access, HKCU "Software\...\Publisher" for Publisher, HKLM
// "...\11.0\Infopath\Speller" for InfoPath) and, except for InfoPath, the
// install root "Path" = officeFolder + "\".
void InstallOfficeApplication(int officeVersion, const std::string& application, const std::string& officeFolder);
// "Path" of HKLM "SOFTWARE\Microsoft\Office\<v>.0\<application>\InstallRoot".
void SetOfficeInstallRoot(int officeVersion, const std::string& application, const std::string& path);

// The Installer's registrations of Office 2000's Russian proofing tools: the
// product {00000419-78E1-11D2-B60F-006097C998E7} in the Uninstall list, and the
// local system's paths of its components.
inline constexpr const char kOffice2000RussianProductCode[] = "{00000419-78E1-11D2-B60F-006097C998E7}";
inline constexpr const char kOffice2000RussianPacked[] = "914000001E872D116BF00006799C897E";
inline constexpr const char kRussianSpellerEngineComponent[] = "CEF3839E23492D1109A00008F5B92110";
inline constexpr const char kRussianSpellerLexiconComponent[] = "7DF3839E23492D1109A00008F5B92110";
inline constexpr const char kLocalSystemComponents[] =
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Components";
void RegisterUninstallEntry(const std::string& productCode);
// "<components>\<packed component>" value <packed product> = path (REG_SZ).
void RegisterComponentPath(const std::string& components, const std::string& packedComponent,
                           const std::string& packedProduct, const std::string& path);
// Office 2000's Russian speller as its Installer registered it: the product in
// the Uninstall list and its engine and lexicon components at
// proofFolder\MSSP3RU.DLL and proofFolder\MSSP3RU.LEX (the files themselves are not written).
void RegisterOffice2000RussianSpeller(const std::string& proofFolder);

// Another maker's registration in the shared proofing-tools tree:
// HKLM "SOFTWARE\Microsoft\Shared Tools\Proofing Tools\<toolKey>\<lcid>\Normal"
// with "Engine" and "Dictionary" (REG_SZ); the engine is written as a module of
// that maker (8.0, "Microsoft Corporation") and the lexicon as a small file.
void RegisterForeignProofingTool(const std::string& toolKey, int lcid, const std::string& enginePath,
                                 const std::string& dictionaryPath);

// The "Tahoma,0" entry of win.ini's [FontSubstitutes] as it was when constructed
// is put back on destruction (removed when it was absent). Wine keeps this
// section in the prefix's win.ini, not in the redirected registry.
class FontSubstituteGuard {
 public:
  FontSubstituteGuard();
  FontSubstituteGuard(const FontSubstituteGuard&) = delete;
  FontSubstituteGuard& operator=(const FontSubstituteGuard&) = delete;
  ~FontSubstituteGuard();

 private:
  bool present_ = false;
  std::string value_;
  // A section the guard finds without entries is removed again once it is empty.
  bool sectionPresent_ = false;
};
// Reads the entry; "" when absent.
std::string ReadTahomaSubstitute();
// Writes the entry (nullptr removes it).
void WriteTahomaSubstitute(const char* value);

std::vector<std::string> ModernOfficeApplications();

// Office 2007, 2010 or 2013 (officeVersion 12, 14, 15) as its setup leaves it:
// the install root "Path" = officeFolder + "\" of each application given (by
// default all: Word, Excel, PowerPoint, Access, Outlook, Publisher, Frontpg,
// Infopath, OneNote), Word's
// proofing-tool module ("msproof6.dll" for 2007, "msproof7.dll" after, a module
// of Microsoft's), and Microsoft's Russian tools: for 2007 and 2010 the
// qualified-component lists under HKCR holding Microsoft's entry and then the
// product's (double-NUL ended); for 2013 the files of "PROOF".
void InstallModernOffice(int officeVersion, const std::string& officeFolder,
                         const std::vector<std::string>& applications = ModernOfficeApplications());

// One of the Russian qualified-component lists of Office 2007 or 2010.
struct QualifiedComponentList {
  int kind;
  std::string key;  // under HKEY_CLASSES_ROOT
  std::string valueName;
  std::string productEntry;  // the entry holding the tool's marker word
};
std::vector<QualifiedComponentList> ModernOfficeLists(int officeVersion);
// The list as InstallModernOffice writes it: Microsoft's entry, the product's, an empty one.
RegValue InstalledList(const QualifiedComponentList& list);
std::string MicrosoftListEntry();

// Microsoft's Office 2013 files in "PROOF" (relative to it), in the order they are switched.
std::vector<std::string> Office2013ProofFiles();

}  // namespace kvil::machine
