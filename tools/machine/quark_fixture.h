// QuarkXPress as its setup leaves it on a machine, and the product's XTensions
// for it. Registry under the current (in tests redirected) hives; files under
// the folders given.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace kvil::machine {

inline constexpr const char kQuarkOpenCommand[] = "SOFTWARE\\Classes\\QuarkXPress.XTension\\shell\\open\\command";
inline constexpr const char kQuarkPreferences[] = "Software\\Quark\\QuarkXPress\\Preferences";
inline constexpr const char kQuarkXTensionPreference[] = "Enabled XTSearchPath";

// The Installer components (packed component, packed product value) whose value
// is the folder of QuarkXPress 6 and later, in the order the library tries them.
struct QuarkFolderComponent {
  const char* component;
  const char* productValue;
};
inline constexpr QuarkFolderComponent kQuarkFolderComponents[] = {
    {"2AEF9CEAC8D35D110BE00001B493D877", "9625FB7A47E35D110BF00001B493D877"},
    {"54505B17F5785D110B130001B493D877", "9625FB7A47E35D110BF00001B493D877"},
    {"6DC6127D2FAE8F246A881A514DDF6288", "7925FB7A47E35D110BF00001B493D877"},
    {"E8D4BE928E91E394C8597396EEB2FCFB", "7925FB7A47E35D110BF00001B493D877"},
};

struct QuarkOptions {
  std::string folder;  // without a trailing backslash
  WORD major = 4;
  WORD minor = 0;
  // The open command names the program in double quotes.
  bool quotedCommand = true;
  // QuarkXPress 6 and later: the index into kQuarkFolderComponents under which
  // the Installer registers folder + "\"; none: not registered.
  std::optional<int> installerComponent = 0;
};

// HKLM "<kQuarkOpenCommand>" default value = the program's path,
// folder\QuarkXPress.exe a program of version major.minor, folder\XTension, and
// for version 6 and later the Installer's component naming folder.
void InstallQuarkXPress(const QuarkOptions& options);
// HKLM "...\Installer\UserData\S-1-5-18\Components\<component>" value = path,
// as a per-machine installation leaves it.
void RegisterQuarkFolderComponent(int componentIndex, const std::string& path);
// "xspell.xnt", "xhyph.xnt" and "xhotkeys.xnt" in the product's start-up folder,
// each with its own bytes.
void InstallProductXTensions(const std::string& startupFolder);

}  // namespace kvil::machine
