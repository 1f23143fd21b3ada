// The registry's writing functions as the library calls them, and the opens and
// closes that tell which key a handle stands for, so that every change is shown
// with its full path.

#include <array>
#include <vector>

#include "hook_support.h"

namespace kvilhosts {
namespace {

constexpr REGSAM kViewFlags = KEY_WOW64_64KEY | KEY_WOW64_32KEY;

KeyPlace PlaceBelow(const JournalSession& session, HKEY parent, const std::string& subkey, REGSAM access) {
  KeyPlace place = session.PlaceOf(parent).Child(subkey);
  if ((access & kViewFlags) != 0) place.view = access & kViewFlags;
  return place;
}

// The keys a create is about to add: every missing one from the parent down,
// shallowest first, as a create makes them all.
std::vector<KeyPlace> MissingKeys(const KeyPlace& parent, const KeyPlace& key) {
  std::vector<KeyPlace> missing;
  KeyPlace candidate = key;
  while (candidate.path.size() > parent.path.size() && !KeyExists(candidate)) {
    missing.insert(missing.begin(), candidate);
    const std::size_t slash = candidate.path.rfind('\\');
    candidate.path.resize(slash == std::string::npos ? 0 : slash);
  }
  return missing;
}

template <typename Char>
LONG WINAPI HookOpenKey(HKEY parent, const Char* subkey, DWORD options, REGSAM access, PHKEY result) {
  const LONG status = gOriginal<&HookOpenKey<Char>>(parent, subkey, options, access, result);
  if (status == ERROR_SUCCESS && result != nullptr) {
    Observe([&](JournalSession& session) {
      session.RememberKey(*result, PlaceBelow(session, parent, Text(subkey), access));
    });
  }
  return status;
}

template <typename Char>
LONG WINAPI HookCreateKey(HKEY parent, const Char* subkey, DWORD reserved, Char* keyClass, DWORD options,
                          REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition) {
  KeyPlace place;
  std::vector<KeyPlace> missing;
  Observe([&](JournalSession& session) {
    place = PlaceBelow(session, parent, Text(subkey), access);
    missing = MissingKeys(session.PlaceOf(parent), place);
  });
  // The disposition is asked for even when the library does not want it: it
  // tells a new key from an existing one.
  DWORD ownDisposition = 0;
  LPDWORD asked = disposition != nullptr ? disposition : &ownDisposition;
  const LONG status =
      gOriginal<&HookCreateKey<Char>>(parent, subkey, reserved, keyClass, options, access, security, result, asked);
  if (status == ERROR_SUCCESS && result != nullptr) {
    Observe([&](JournalSession& session) {
      session.RememberKey(*result, place);
      if (*asked != REG_CREATED_NEW_KEY) return;
      if (missing.empty()) missing.push_back(place);
      for (const KeyPlace& created : missing) session.Record(KeyChange{KeyAction::kCreate, created.Text()});
    });
  }
  return status;
}

LONG WINAPI HookCloseKey(HKEY key) {
  const LONG status = gOriginal<&HookCloseKey>(key);
  if (status == ERROR_SUCCESS) Observe([&](JournalSession& session) { session.ForgetKey(key); });
  return status;
}

template <typename Char>
LONG WINAPI HookSetValue(HKEY key, const Char* name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) {
  KeyPlace place;
  ValueChange change;
  Observe([&](JournalSession& session) {
    place = session.PlaceOf(key);
    change.key = place.Text();
    change.name = Text(name);
    session.journal().touched.Value(place, change.name);
    change.before = ReadValueState(place, change.name);
  });
  const LONG status = gOriginal<&HookSetValue<Char>>(key, name, reserved, type, data, size);
  if (status == ERROR_SUCCESS) {
    Observe([&](JournalSession& session) {
      // What the registry now holds, which is what the host will read.
      change.after = ReadValueState(place, change.name);
      session.Record(std::move(change));
    });
  }
  return status;
}

template <typename Char>
LONG WINAPI HookDeleteValue(HKEY key, const Char* name) {
  ValueChange change;
  change.deleted = true;
  Observe([&](JournalSession& session) {
    const KeyPlace place = session.PlaceOf(key);
    change.key = place.Text();
    change.name = Text(name);
    session.journal().touched.Value(place, change.name);
    change.before = ReadValueState(place, change.name);
  });
  const LONG status = gOriginal<&HookDeleteValue<Char>>(key, name);
  if (status == ERROR_SUCCESS) Observe([&](JournalSession& session) { session.Record(std::move(change)); });
  return status;
}

// Notes the values a key deletion takes with it, and returns the key's text.
std::string BeforeKeyDeletion(JournalSession& session, HKEY parent, const std::string& subkey, REGSAM access,
                              bool withSubkeys) {
  const KeyPlace place = PlaceBelow(session, parent, subkey, access);
  session.journal().touched.ValuesOfKey(place, withSubkeys);
  return place.Text();
}

template <typename Char>
LONG WINAPI HookDeleteKey(HKEY parent, const Char* subkey) {
  std::string key;
  Observe([&](JournalSession& session) { key = BeforeKeyDeletion(session, parent, Text(subkey), 0, false); });
  const LONG status = gOriginal<&HookDeleteKey<Char>>(parent, subkey);
  if (status == ERROR_SUCCESS) {
    Observe([&](JournalSession& session) { session.Record(KeyChange{KeyAction::kDelete, key}); });
  }
  return status;
}

template <typename Char>
LONG WINAPI HookDeleteKeyEx(HKEY parent, const Char* subkey, REGSAM access, DWORD reserved) {
  std::string key;
  Observe([&](JournalSession& session) { key = BeforeKeyDeletion(session, parent, Text(subkey), access, false); });
  const LONG status = gOriginal<&HookDeleteKeyEx<Char>>(parent, subkey, access, reserved);
  if (status == ERROR_SUCCESS) {
    Observe([&](JournalSession& session) { session.Record(KeyChange{KeyAction::kDelete, key}); });
  }
  return status;
}

template <typename Char>
LONG WINAPI HookDeleteTree(HKEY parent, const Char* subkey) {
  std::string key;
  Observe([&](JournalSession& session) { key = BeforeKeyDeletion(session, parent, Text(subkey), 0, true); });
  const LONG status = gOriginal<&HookDeleteTree<Char>>(parent, subkey);
  if (status == ERROR_SUCCESS) {
    Observe([&](JournalSession& session) { session.Record(KeyChange{KeyAction::kDeleteTree, key}); });
  }
  return status;
}

}  // namespace

std::span<const ImportHook> RegistryHooks() {
  static const std::array hooks = {
      KVIL_HOOK(RegOpenKeyExA, HookOpenKey<char>),
      KVIL_HOOK(RegOpenKeyExW, HookOpenKey<wchar_t>),
      KVIL_HOOK(RegCreateKeyExA, HookCreateKey<char>),
      KVIL_HOOK(RegCreateKeyExW, HookCreateKey<wchar_t>),
      KVIL_HOOK(RegCloseKey, HookCloseKey),
      KVIL_HOOK(RegSetValueExA, HookSetValue<char>),
      KVIL_HOOK(RegSetValueExW, HookSetValue<wchar_t>),
      KVIL_HOOK(RegDeleteValueA, HookDeleteValue<char>),
      KVIL_HOOK(RegDeleteValueW, HookDeleteValue<wchar_t>),
      KVIL_HOOK(RegDeleteKeyA, HookDeleteKey<char>),
      KVIL_HOOK(RegDeleteKeyW, HookDeleteKey<wchar_t>),
      KVIL_HOOK(RegDeleteKeyExA, HookDeleteKeyEx<char>),
      KVIL_HOOK(RegDeleteKeyExW, HookDeleteKeyEx<wchar_t>),
      KVIL_HOOK(RegDeleteTreeA, HookDeleteTree<char>),
      KVIL_HOOK(RegDeleteTreeW, HookDeleteTree<wchar_t>),
  };
  return hooks;
}

}  // namespace kvilhosts
