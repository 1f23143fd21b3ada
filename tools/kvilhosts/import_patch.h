// Redirects a loaded module's calls into other DLLs by rewriting the slots of
// its import address table, and puts every slot back when the patch ends. Only
// that module's calls are redirected: every other caller of the same functions,
// this tool included, still reaches Windows directly.
#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace kvilhosts {

// Every slot through which the module imports `function` by name, from whichever
// DLL, is pointed at `replacement`; the address the slot held is stored in
// *original so that the replacement can pass the call on.
struct ImportHook {
  std::string_view function;
  void* replacement = nullptr;
  void** original = nullptr;
};

class ImportPatch {
 public:
  ImportPatch(HMODULE module, std::span<const ImportHook> hooks);
  ImportPatch(const ImportPatch&) = delete;
  ImportPatch& operator=(const ImportPatch&) = delete;
  ~ImportPatch();

  std::size_t patchedSlots() const { return slots_.size(); }
  // False when a slot that should have been redirected could not be written.
  bool complete() const { return complete_; }

 private:
  struct PatchedSlot {
    void** slot;
    void* original;
  };
  std::vector<PatchedSlot> slots_;
  bool complete_ = true;
};

// Points one slot (of an import table or a COM object's method table) at
// `value`, lifting the page's protection only for the write.
bool WriteCodePointer(void** slot, void* value);

}  // namespace kvilhosts
