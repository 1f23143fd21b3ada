#include "replacement_fixture.h"

#include "registry_probe.h"

namespace kvil::machine {

std::string WordProSpellKey(const std::string& componentVersion) {
  return "SOFTWARE\\Lotus\\Components\\Spell\\" + componentVersion;
}

VersionStamp ReplacementModuleStamp() { return VersionStamp{{9, 0, 0, 0}, {9, 0, 0, 0}, "Tervane", "9.0"}; }

void WriteReplacementModules(const std::string& startupFolder) {
  CreateFolder(startupFolder);
  for (const char* module : {"cdrtpr60.dll", "ltspln03.dll", "ltspln04.dll", "ltspln41.dll", "prxlng1.dll"}) {
    WriteVersionedModule(startupFolder + "\\" + module, ReplacementModuleStamp());
  }
}

VersionStamp HostModuleStamp(const std::string& maker) {
  return VersionStamp{{6, 0, 0, 0}, {6, 0, 0, 0}, maker, "6.0"};
}

void InstallCorelDraw6(const std::string& configFolder, const std::string& programsDir,
                       const std::string& programsFolder) {
  WriteText(HKEY_LOCAL_MACHINE, kCorelDraw6Key, "ConfigDir", configFolder);
  CreateFolder(configFolder);
  const std::string settings = configFolder + "\\corelapp.ini";
  WriteFile(settings, "[Config]\r\nProgramsDir=" + programsDir + "\r\n\r\n[Spelling]\r\nEnabled=1\r\n");
  WritePrivateProfileStringA(nullptr, nullptr, nullptr, settings.c_str());
  CreateFolder(programsFolder);
  WriteVersionedModule(programsFolder + "\\cdrtpr60.dll", HostModuleStamp("Corel Corporation"));
}

void InstallWordProSpeller(const std::string& componentVersion, const std::string& module,
                           const std::string& dataPath, const std::string& spellFolder) {
  WriteText(HKEY_LOCAL_MACHINE, WordProSpellKey(componentVersion), "Data Path", dataPath);
  CreateFolder(spellFolder);
  WriteVersionedModule(spellFolder + "\\" + module, HostModuleStamp("Lotus Development Corporation"));
}

void InstallPageMaker(const std::string& key, const std::string& program, WORD major, WORD minor,
                      const std::string& folder, const std::string& moduleSubfolder) {
  WriteText(HKEY_LOCAL_MACHINE, key, "AdobeDirectory", folder);
  CreateFolder(folder + "\\" + moduleSubfolder);
  constexpr char kAdobe[] = "Adobe Systems Incorporated";
  VersionStamp stamp = HostProgram(major, minor);
  stamp.companyName = kAdobe;
  WriteVersionedModule(folder + "\\" + program, stamp);
  WriteVersionedModule(folder + "\\" + moduleSubfolder + "\\prxlng1.dll", HostModuleStamp(kAdobe));
}

}  // namespace kvil::machine
