// A machine holding the product and one installation of every host the library
// knows, each as its own setup leaves it: the machine the survey benchmark times
// and the hostile-machine fuzzer mutates.
#pragma once

#include <string>

#include "product_fixture.h"

namespace kvil::machine {

// Installs Kvil 8.0 (Russian and Ukrainian) under root\Kvil, with its Start menu
// under root\Start Menu\Kvil, and every host under folders of root. Hosts whose
// releases share one registration (InDesign's and InCopy's App Paths, the
// suites' keys) get one release each. The registry goes wherever this process's
// HKLM, HKCU and HKCR point: a scratch registry keeps a real machine untouched.
// Two pieces of state live outside the registry: FrontPage 97's and 98's
// frontpg.ini and win.ini's Tahoma substitute, both in the Windows folder.
InstalledProduct InstallEveryHost(const std::string& root);

}  // namespace kvil::machine
