// CorelDRAW 6, Lotus Word Pro and PageMaker 6 to 7 as their setups leave them on
// a machine, each with the speller module the product replaces, and the
// product's replacement modules. Registry under the current (in tests
// redirected) HKLM; files under the folders given.
#pragma once

#include <windows.h>

#include <string>

#include "version_fixture.h"

namespace kvil::machine {

inline constexpr const char kCorelDraw6Key[] = "SOFTWARE\\Corel\\CorelDRAW\\6.0";
// Word Pro's spelling component of version "3.0", "4.0" or "4.1".
std::string WordProSpellKey(const std::string& componentVersion);

// The product's modules that take a host's place: "cdrtpr60.dll",
// "ltspln03.dll", "ltspln04.dll", "ltspln41.dll" and "prxlng1.dll", by
// "Tervane" with a "ProductVersion" of "9.0", written into a start-up folder.
VersionStamp ReplacementModuleStamp();
void WriteReplacementModules(const std::string& startupFolder);

// A host's own speller module: version 6.0 of maker, which tells the files of
// different hosts apart.
VersionStamp HostModuleStamp(const std::string& maker);

// CorelDRAW 6: "ConfigDir" (REG_SZ) = configFolder, configFolder\corelapp.ini
// holding [Config] "ProgramsDir=" programsDir, and Corel's "cdrtpr60.dll" in
// programsFolder. The profile reader's cached copy of the file is dropped.
void InstallCorelDraw6(const std::string& configFolder, const std::string& programsDir,
                       const std::string& programsFolder);

// Word Pro's spelling component: "Data Path" (REG_SZ) = dataPath as given, and
// Lotus's module (such as "ltspln03.dll") in spellFolder.
void InstallWordProSpeller(const std::string& componentVersion, const std::string& module,
                           const std::string& dataPath, const std::string& spellFolder);

// PageMaker under key ("SOFTWARE\Adobe\PageMaker", "...PageMaker65",
// "...PageMaker70"): "AdobeDirectory" (REG_SZ) = folder, folder\program of
// version major.minor, and Adobe's "prxlng1.dll" in folder\moduleSubfolder.
void InstallPageMaker(const std::string& key, const std::string& program, WORD major, WORD minor,
                      const std::string& folder, const std::string& moduleSubfolder);

}  // namespace kvil::machine
