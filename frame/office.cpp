#include "office.h"

#include "bounded_text.h"
#include "registry.h"

namespace kvil {

int GetOfficeInstallRoot(int officeVersion, const char* application, char* buffer, DWORD capacity,
                         bool commonFallback) {
  PathText key;
  key.Format("SOFTWARE\\Microsoft\\Office\\%d.0\\%s\\InstallRoot", officeVersion, application);
  if (RegReadString(HKEY_LOCAL_MACHINE, key.c_str(), "Path", buffer, capacity)) return 1;
  if (!commonFallback) return 0;
  key.Format("SOFTWARE\\Microsoft\\Office\\%d.0\\Common\\InstallRoot", officeVersion);
  return RegReadString(HKEY_LOCAL_MACHINE, key.c_str(), "Path", buffer, capacity) ? 1 : 0;
}

}  // namespace kvil
