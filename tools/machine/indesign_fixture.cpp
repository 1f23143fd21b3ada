#include "indesign_fixture.h"

#include "registry_probe.h"
#include "version_fixture.h"

namespace kvil::machine {

std::string AdobeAppPathsKey(AdobeApplication application) {
  return std::string("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\") +
         (application == AdobeApplication::kInDesign ? "InDesign.exe" : "InCopy.exe");
}

std::string AdobeProgramName(AdobeApplication application) {
  return application == AdobeApplication::kInDesign ? "INDESIGN.exe" : "INCOPY.exe";
}

void InstallAdobeApplication(AdobeApplication application, const std::string& folder, WORD major, WORD minor) {
  WriteText(HKEY_LOCAL_MACHINE, AdobeAppPathsKey(application), "Path", folder);
  CreateFolder(folder + "\\Plug-ins");
  CreateFolder(folder + "\\Scripts");
  VersionStamp program = HostProgram(major, minor);
  program.companyName = "Adobe Systems Incorporated";
  WriteVersionedModule(folder + "\\" + AdobeProgramName(application), program);
}

void WriteProductPlugins(const std::string& productFolder) {
  WriteFile(productFolder + "\\KVILSpeller.pln", "the product's speller plug-in for InDesign CS4 to CS6");
  WriteFile(productFolder + "\\KVILCC.pln", "the product's speller plug-in for InDesign CC 2014");
  const std::string speller = productFolder + "\\(KVILSpeller Resources)";
  CreateFolder(speller);
  WriteFile(speller + "\\KVILSpeller.idrc", "CS dialogs");
  WriteFile(speller + "\\KVILSpeller_ru_RU.idrc", "CS dialogs in Russian");
  const std::string cc = productFolder + "\\(KVILCC Resources)";
  CreateFolder(cc + "\\ru_RU");
  WriteFile(cc + "\\KVILCC.idrc", "CC dialogs");
  WriteFile(cc + "\\ru_RU\\KVILCC.idrc", "CC dialogs in Russian");
  WriteFile(productFolder + "\\TervaneSpeller.jsx", "app.spellPreferences.checkMisspelledWords = true;\r\n");
}

}  // namespace kvil::machine
