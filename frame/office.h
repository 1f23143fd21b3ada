// Lookups in Office's own registry keys shared by the Office host families.
#pragma once

#include <windows.h>

namespace kvil {

// "Path" of SOFTWARE\Microsoft\Office\<version>.0\<application>\InstallRoot, or,
// when allowed and that is missing, of ...\Common\InstallRoot. 1 or 0.
int GetOfficeInstallRoot(int officeVersion, const char* application, char* buffer, DWORD capacity,
                         bool commonFallback);

}  // namespace kvil
