// The bare DLL that the version fixture copies and stamps with a version
// resource: it must carry none of its own.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }
