#include "open_office_fixture.h"

#include "registry_probe.h"
#include "version_fixture.h"

namespace kvil::machine {

std::string SuiteRegistryKey(SuiteFamily family, const std::string& version) {
  if (family == SuiteFamily::kLibreOffice) return "SOFTWARE\\LibreOffice\\LibreOffice";
  return version.starts_with('4') ? "SOFTWARE\\OpenOffice\\OpenOffice" : "SOFTWARE\\OpenOffice.org\\OpenOffice.org";
}

std::string InstallOfficeSuite(SuiteFamily family, const std::string& version, const std::string& folder) {
  const std::string program = folder + "\\program\\soffice.exe";
  CreateFolder(folder + "\\program");
  WriteFile(program, "MZ the suite's start program");
  const std::string dictionary = folder + "\\share\\extensions\\dict-ru";
  CreateFolder(dictionary + "\\META-INF");
  WriteFile(dictionary + "\\META-INF\\manifest.xml", "<manifest:manifest/>\n");
  WriteFile(dictionary + "\\ru_RU.dic", "2\n\xEF\xE5\xF0\xE2\xFB\xE9\n\xE2\xF2\xEE\xF0\xEE\xE9\n");
  WriteText(HKEY_LOCAL_MACHINE, SuiteRegistryKey(family, version) + "\\" + version, "Path", program);
  return program;
}

void WriteProductExtension(const std::string& productFolder) {
  const std::string extension = productFolder + "\\kvillo";
  CreateFolder(extension + "\\META-INF");
  CreateFolder(extension + "\\Windows");
  WriteFile(extension + "\\description.xml", "<description><identifier value=\"com.tervane.kvil\"/></description>\n");
  WriteFile(extension + "\\META-INF\\manifest.xml",
            "<manifest:manifest>\r\n<manifest:file-entry manifest:full-path=\"Windows/kvil4ooo-kvil.uno.dll\"/>\r\n"
            "</manifest:manifest>\r\n");
  // A module's bytes, NULs included, copied as they are.
  constexpr char kUnoModule[] = "MZ\x90\0\x03\0the product's UNO speller";
  WriteFile(extension + "\\Windows\\kvil4ooo-kvil.uno.dll", std::string(kUnoModule, sizeof kUnoModule - 1));
}

}  // namespace kvil::machine
