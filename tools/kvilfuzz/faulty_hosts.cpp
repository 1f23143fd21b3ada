// A library whose catch-all host has the faults the fuzzer must report, one at
// a time as KVILFUZZ_FAULT names it: the fuzzer's own proof that each kind of
// failure is caught and reported with the seed of its run. Without a fault it
// behaves: Info cuts its list to the caller's capacity, nothing is changed.
#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

bool Faulty(const char* fault) {
  const char* chosen = std::getenv("KVILFUZZ_FAULT");
  return chosen != nullptr && std::strcmp(chosen, fault) == 0;
}

// Opera's spell-check settings, which the seeded machine has beside the program
// its "Last CommandLine" names: a host file nothing here has a backup of.
void DeleteOperaSettings() {
  char program[MAX_PATH] = {};
  DWORD size = sizeof program - 1;
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Opera Software", 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) return;
  const LONG status =
      RegQueryValueExA(key, "Last CommandLine", nullptr, nullptr, reinterpret_cast<BYTE*>(program), &size);
  RegCloseKey(key);
  if (status != ERROR_SUCCESS) return;
  std::string settings = program;
  settings.resize(settings.rfind('\\') + 1);
  DeleteFileA((settings + "spellcheck.ini").c_str());
}

}  // namespace

extern "C" {

__declspec(dllexport) std::uint32_t ExistUnknown(std::int32_t, std::int32_t, std::intptr_t, std::intptr_t) {
  return 1;
}

__declspec(dllexport) std::uint32_t InfoUnknown(std::int32_t, std::int32_t, char* buffer, std::int32_t* length) {
  static const char kList[] = "Unknown\0" "0.0\0";
  constexpr std::int32_t kListLength = sizeof kList;
  std::int32_t written = *length < kListLength ? *length : kListLength;
  // One byte past whatever capacity the run hands over, short or long.
  if (Faulty("overrun")) written = *length + 1;
  for (std::int32_t i = 0; i < written; ++i) buffer[i] = i < kListLength ? kList[i] : 'X';
  if (Faulty("underrun")) buffer[-1] = 'X';
  *length = kListLength;
  return 1;
}

__declspec(dllexport) std::uint32_t AvailUnknown(std::int32_t, std::int32_t, std::intptr_t, std::intptr_t) {
  return 1;
}

__declspec(dllexport) std::uint32_t AttachUnknown(std::int32_t, std::int32_t, std::intptr_t, std::intptr_t) {
  if (Faulty("crash")) *static_cast<volatile int*>(nullptr) = 1;
  return 1;
}

__declspec(dllexport) std::uint32_t DetachUnknown(std::int32_t, std::int32_t, std::intptr_t, std::intptr_t) {
  if (Faulty("exception")) throw std::string("escaping");
  if (Faulty("lost")) DeleteOperaSettings();
  return 1;
}

__declspec(dllexport) std::uint32_t CheckUnknown(std::int32_t, std::int32_t, std::intptr_t, std::intptr_t) {
  if (Faulty("hang")) Sleep(INFINITE);
  return 0;
}

}  // extern "C"
