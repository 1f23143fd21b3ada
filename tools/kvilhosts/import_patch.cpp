#include "import_patch.h"

#include <algorithm>

namespace kvilhosts {
namespace {

template <typename T>
const T* At(const BYTE* base, DWORD offset) {
  return reinterpret_cast<const T*>(base + offset);
}

const ImportHook* FindHook(std::span<const ImportHook> hooks, std::string_view function) {
  const auto hook = std::find_if(hooks.begin(), hooks.end(),
                                 [function](const ImportHook& candidate) { return candidate.function == function; });
  return hook == hooks.end() ? nullptr : &*hook;
}

}  // namespace

bool WriteCodePointer(void** slot, void* value) {
  DWORD protection = 0;
  if (!VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection)) return false;
  *slot = value;
  DWORD unused = 0;
  VirtualProtect(slot, sizeof *slot, protection, &unused);
  return true;
}

ImportPatch::ImportPatch(HMODULE module, std::span<const ImportHook> hooks) {
  const auto* base = reinterpret_cast<const BYTE*>(module);
  const auto* dos = At<IMAGE_DOS_HEADER>(base, 0);
  if (dos->e_magic != IMAGE_DOS_SIGNATURE) return;
  const auto* headers = At<IMAGE_NT_HEADERS>(base, static_cast<DWORD>(dos->e_lfanew));
  if (headers->Signature != IMAGE_NT_SIGNATURE) return;
  const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (imports.VirtualAddress == 0) return;

  for (const auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(base, imports.VirtualAddress); library->Name != 0;
       ++library) {
    // The names live in the lookup table; a module bound without one gives no
    // names to go by.
    if (library->OriginalFirstThunk == 0) continue;
    const auto* names = At<IMAGE_THUNK_DATA>(base, library->OriginalFirstThunk);
    auto* slots = const_cast<IMAGE_THUNK_DATA*>(At<IMAGE_THUNK_DATA>(base, library->FirstThunk));
    for (; names->u1.AddressOfData != 0; ++names, ++slots) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
      const auto* byName = At<IMAGE_IMPORT_BY_NAME>(base, static_cast<DWORD>(names->u1.AddressOfData));
      const ImportHook* hook = FindHook(hooks, reinterpret_cast<const char*>(byName->Name));
      if (hook == nullptr) continue;
      auto** slot = reinterpret_cast<void**>(&slots->u1.Function);
      void* original = *slot;
      if (!WriteCodePointer(slot, hook->replacement)) {
        complete_ = false;
        continue;
      }
      if (*hook->original == nullptr) *hook->original = original;
      slots_.push_back({slot, original});
    }
  }
}

ImportPatch::~ImportPatch() {
  for (auto slot = slots_.rbegin(); slot != slots_.rend(); ++slot) WriteCodePointer(slot->slot, slot->original);
}

}  // namespace kvilhosts
