// LibreOffice and OpenOffice as their setups leave them on a machine, and the
// product's extension folder that attaching copies into them. Registry under the
// current (in tests redirected) HKLM; files under the folders given.
#pragma once

#include <string>

namespace kvil::machine {

enum class SuiteFamily { kLibreOffice, kOpenOffice };

// The key whose subkey names the installed version: LibreOffice's, for
// OpenOffice before 4 "SOFTWARE\OpenOffice.org\OpenOffice.org", from 4 on
// "SOFTWARE\OpenOffice\OpenOffice".
std::string SuiteRegistryKey(SuiteFamily family, const std::string& version);

// The suite of that version (the subkey's name, "4.1.0") in folder: "Path" =
// folder + "\program\soffice.exe" under SuiteRegistryKey + "\" + version, the
// program itself, and the suite's extension tree "share\extensions" holding its
// own Russian dictionary "dict-ru" (two files). Returns the program's path.
std::string InstallOfficeSuite(SuiteFamily family, const std::string& version, const std::string& folder);

// The product's extension folder "kvillo" in productFolder: "description.xml",
// "META-INF\manifest.xml" and the UNO module "Windows\kvil4ooo-kvil.uno.dll".
void WriteProductExtension(const std::string& productFolder);

}  // namespace kvil::machine
