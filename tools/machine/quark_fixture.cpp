#include "quark_fixture.h"

#include "registry_probe.h"
#include "version_fixture.h"

namespace kvil::machine {

void InstallQuarkXPress(const QuarkOptions& options) {
  const std::string program = options.folder + "\\QuarkXPress.exe";
  CreateFolder(options.folder + "\\XTension");
  VersionStamp stamp = HostProgram(options.major, options.minor);
  stamp.companyName = "Quark, Inc.";
  WriteVersionedModule(program, stamp);
  WriteText(HKEY_LOCAL_MACHINE, kQuarkOpenCommand, "", options.quotedCommand ? "\"" + program + "\"" : program);
  if (options.major >= 6 && options.installerComponent) {
    RegisterQuarkFolderComponent(*options.installerComponent, options.folder + "\\");
  }
}

void RegisterQuarkFolderComponent(int componentIndex, const std::string& path) {
  const QuarkFolderComponent& entry = kQuarkFolderComponents[componentIndex];
  WriteText(HKEY_LOCAL_MACHINE,
            std::string("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Components\\") +
                entry.component,
            entry.productValue, path);
}

void InstallProductXTensions(const std::string& startupFolder) {
  for (const char* name : {"xspell.xnt", "xhyph.xnt", "xhotkeys.xnt"}) {
    WriteFile(startupFolder + "\\" + name, std::string("Kvil XTension ") + name + "\r\n");
  }
}

}  // namespace kvil::machine
