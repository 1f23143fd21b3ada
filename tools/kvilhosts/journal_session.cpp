#include "journal_session.h"

#include <vector>

#include "hook_support.h"

namespace kvilhosts {
namespace {

JournalSession* gActiveSession = nullptr;

std::vector<ImportHook> AllHooks() {
  std::vector<ImportHook> hooks;
  for (const auto area : {RegistryHooks(), FileHooks(), ShellAndComHooks()}) {
    hooks.insert(hooks.end(), area.begin(), area.end());
  }
  return hooks;
}

}  // namespace

std::string Text(std::wstring_view text) {
  if (text.empty()) return {};
  const int units = static_cast<int>(text.size());
  const int size = WideCharToMultiByte(CP_ACP, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
  if (size <= 0) return {};
  std::string narrow(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, 0, text.data(), units, narrow.data(), size, nullptr, nullptr);
  return narrow;
}

std::string Text(const wchar_t* text) { return text != nullptr ? Text(std::wstring_view(text)) : std::string(); }

MethodSlotPatch::MethodSlotPatch(void** slot, void* replacement, void** original) : slot_(slot) {
  // The method table belongs to the module that made the object; COM may unload
  // that module once its objects are gone, so it is held until the slot is back.
  if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<const char*>(slot),
                          tableModule_.put())) {
    return;
  }
  original_ = *slot;
  if (!WriteCodePointer(slot, replacement)) return;
  if (*original == nullptr) *original = original_;
  applied_ = true;
}

MethodSlotPatch::~MethodSlotPatch() {
  if (applied_) WriteCodePointer(slot_, original_);
}

JournalSession::JournalSession(HMODULE library, Journal& journal) : journal_(journal) {
  const std::vector<ImportHook> hooks = AllHooks();
  imports_.emplace(library, hooks);
}

std::unique_ptr<JournalSession> JournalSession::Start(HMODULE library, Journal& journal) {
  if (gActiveSession != nullptr) return nullptr;
  std::unique_ptr<JournalSession> session(new JournalSession(library, journal));
  if (!session->imports_->complete()) return nullptr;
  gActiveSession = session.get();
  return session;
}

JournalSession::~JournalSession() {
  if (gActiveSession == this) gActiveSession = nullptr;
}

JournalSession* JournalSession::Active() { return gActiveSession; }

KeyPlace JournalSession::PlaceOf(HKEY key) const {
  if (!PredefinedRootName(key).empty()) return KeyPlace{key, "", 0};
  const auto known = keys_.find(key);
  if (known != keys_.end()) return known->second;
  // A handle the library came by some other way is named by the registry alone.
  return Located(key, KeyPlace{});
}

void JournalSession::PatchMethod(void** slot, void* replacement, void** original) {
  if (*slot == replacement) return;
  auto patch = std::make_unique<MethodSlotPatch>(slot, replacement, original);
  if (!patch->applied()) {
    journal_.complete = false;
    return;
  }
  methodPatches_.push_back(std::move(patch));
}

}  // namespace kvilhosts
