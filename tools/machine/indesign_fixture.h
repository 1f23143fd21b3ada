// InDesign and InCopy as their setups leave them on a machine, and the product's
// plug-in files that attaching copies into them. Registry under the current (in
// tests redirected) HKLM; files under the folders given.
#pragma once

#include <windows.h>

#include <string>

namespace kvil::machine {

enum class AdobeApplication { kInDesign, kInCopy };

// HKLM "SOFTWARE\Microsoft\Windows\CurrentVersion\App Paths\InDesign.exe"
// (InCopy: "...\InCopy.exe").
std::string AdobeAppPathsKey(AdobeApplication application);
// "INDESIGN.exe" or "INCOPY.exe".
std::string AdobeProgramName(AdobeApplication application);

// The application of version major.minor in folder: the App Paths "Path" =
// folder (no trailing backslash), the program in it with that file version
// ("Adobe Systems Incorporated"), and the empty folders "Plug-ins" and "Scripts".
void InstallAdobeApplication(AdobeApplication application, const std::string& folder, WORD major, WORD minor);

// The product's plug-in files in productFolder: "KVILSpeller.pln" and
// "KVILCC.pln", their folders "(KVILSpeller Resources)" and "(KVILCC Resources)"
// (two files each, the second with one in a subfolder), and the start-up
// script "TervaneSpeller.jsx".
void WriteProductPlugins(const std::string& productFolder);

}  // namespace kvil::machine
