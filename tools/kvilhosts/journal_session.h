// Watching the library change the machine. While a session lives, the loaded
// library's calls into the writing functions of the registry, the file system,
// INI files, the shell and COM file saves pass through the journal's hooks, which
// note what each call is about to change, make the call exactly as the library
// asked, and record what it changed. Ending the session puts the library's
// imports back.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "import_patch.h"
#include "journal.h"
#include "machine_state.h"
#include "handles.h"

namespace kvilhosts {

// A COM method-table slot pointed at a hook, and the module that holds the
// table kept loaded until the slot is put back.
class MethodSlotPatch {
 public:
  MethodSlotPatch(void** slot, void* replacement, void** original);
  MethodSlotPatch(const MethodSlotPatch&) = delete;
  MethodSlotPatch& operator=(const MethodSlotPatch&) = delete;
  ~MethodSlotPatch();
  bool applied() const { return applied_; }

 private:
  kvil::UniqueModule tableModule_;
  void** slot_;
  void* original_ = nullptr;
  bool applied_ = false;
};

class JournalSession {
 public:
  // Null when the library's imports cannot be redirected (or a session is
  // already running): a journal that would miss changes is not started.
  static std::unique_ptr<JournalSession> Start(HMODULE library, Journal& journal);
  JournalSession(const JournalSession&) = delete;
  JournalSession& operator=(const JournalSession&) = delete;
  ~JournalSession();

  // For the hooks.
  static JournalSession* Active();
  Journal& journal() { return journal_; }
  void Record(Change change) { journal_.changes.push_back(std::move(change)); }
  // Where a key handle the library holds leads, located when it was opened;
  // predefined roots lead to themselves.
  KeyPlace PlaceOf(HKEY key) const;
  void RememberKey(HKEY key, KeyPlace place) { keys_[key] = std::move(place); }
  void ForgetKey(HKEY key) { keys_.erase(key); }
  // Patches a save method of a COM object's class once; the patch lasts as long
  // as the session.
  void PatchMethod(void** slot, void* replacement, void** original);

 private:
  JournalSession(HMODULE library, Journal& journal);

  Journal& journal_;
  std::unordered_map<HKEY, KeyPlace> keys_;
  std::vector<std::unique_ptr<MethodSlotPatch>> methodPatches_;
  // Last, so that the imports are put back before anything the hooks use goes.
  std::optional<ImportPatch> imports_;
};

// The hooks of each area, as import-table entries.
std::span<const ImportHook> RegistryHooks();
std::span<const ImportHook> FileHooks();
std::span<const ImportHook> ShellAndComHooks();

}  // namespace kvilhosts
