// Lookups in Office's own registry keys shared by the Office host families.
#pragma once

#include <windows.h>

#include <cstdint>

namespace kvil {

// "Path" of SOFTWARE\Microsoft\Office\<version>.0\<application>\InstallRoot, or,
// when allowed and that is missing, of ...\Common\InstallRoot. 1 or 0.
int GetOfficeInstallRoot(int officeVersion, const char* application, char* buffer, DWORD capacity,
                         bool commonFallback);

// The path of Office's own engine (which 0) or dictionary (which 1) for a tool
// and language, from the newest Office that has one; the LCID when found
// (path in buffer, its length in *length), else 0. Paths holding excluded are
// passed over in Office 2000 to 2003's Installer data.
std::uint32_t GetOriginalDictOrEngineModule(int kind, int lcid, char* buffer, DWORD* length, int which,
                                            int generation, const char* excluded);
// The English lexicon (which 1) or proofing data file Office 2010 publishes;
// success shows as a non-zero *length.
void GetEngNLSModules(int lcid, char* buffer, DWORD* length, int which);

}  // namespace kvil
