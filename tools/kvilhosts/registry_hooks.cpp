// The registry's writing functions as the library calls them, and the opens and
// closes that tell which key a handle stands for, so that every change is shown
// with the key it really landed in: the library names a key in its view, and the
// registry may keep it below the view's node (HKLM\SOFTWARE\WOW6432Node\...),
// which is where an administrator finds it.

#include <algorithm>
#include <array>

#include "hook_support.h"

namespace kvilhosts {
namespace {

constexpr REGSAM kViewFlags = KEY_WOW64_64KEY | KEY_WOW64_32KEY;

KeyPlace PlaceBelow(const JournalSession& session, HKEY parent, const std::string& subkey, REGSAM access) {
  KeyPlace place = session.PlaceOf(parent).Child(subkey);
  if ((access & kViewFlags) != 0) place.view = access & kViewFlags;
  return place;
}

std::string WithoutTrailingSeparators(std::string path) {
  while (!path.empty() && path.back() == '\\') path.pop_back();
  return path;
}

// A key about to be deleted, opened below the library's handle exactly as the
// library names it, view and all, to learn where it is.
KeyPlace LocateBelow(const JournalSession& session, HKEY parent, const std::string& subkey, REGSAM access) {
  const KeyPlace named = PlaceBelow(session, parent, subkey, access);
  // No path is the parent itself, already located when it was opened.
  if (WithoutTrailingSeparators(subkey).empty()) return session.PlaceOf(parent);
  kvil::UniqueHKey opened;
  if (RegOpenKeyExA(parent, subkey.c_str(), 0, KEY_READ | (access & kViewFlags), opened.put()) != ERROR_SUCCESS) {
    return named;
  }
  return Located(opened.get(), named);
}

// How many keys a create is about to add: every missing one from the parent
// down, as a create makes them all. Each is looked for below the library's
// handle in the library's view.
int MissingKeyCount(HKEY parent, const std::string& subkey, REGSAM access) {
  int missing = 0;
  std::string candidate = WithoutTrailingSeparators(subkey);
  while (!candidate.empty()) {
    kvil::UniqueHKey opened;
    if (RegOpenKeyExA(parent, candidate.c_str(), 0, KEY_READ | (access & kViewFlags), opened.put()) ==
        ERROR_SUCCESS) {
      break;
    }
    ++missing;
    const std::size_t slash = candidate.rfind('\\');
    candidate = WithoutTrailingSeparators(candidate.substr(0, slash == std::string::npos ? 0 : slash));
  }
  return missing;
}

template <typename Char>
LONG WINAPI HookOpenKey(HKEY parent, const Char* subkey, DWORD options, REGSAM access, PHKEY result) {
  const LONG status = gOriginal<&HookOpenKey<Char>>(parent, subkey, options, access, result);
  if (status == ERROR_SUCCESS && result != nullptr) {
    Observe([&](JournalSession& session) {
      session.RememberKey(*result, Located(*result, PlaceBelow(session, parent, Text(subkey), access)));
    });
  }
  return status;
}

template <typename Char>
LONG WINAPI HookCreateKey(HKEY parent, const Char* subkey, DWORD reserved, Char* keyClass, DWORD options,
                          REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition) {
  KeyPlace named;
  int missing = 0;
  Observe([&](JournalSession& session) {
    named = PlaceBelow(session, parent, Text(subkey), access);
    missing = MissingKeyCount(parent, Text(subkey), access);
  });
  // The disposition is asked for even when the library does not want it: it
  // tells a new key from an existing one.
  DWORD ownDisposition = 0;
  LPDWORD asked = disposition != nullptr ? disposition : &ownDisposition;
  const LONG status =
      gOriginal<&HookCreateKey<Char>>(parent, subkey, reserved, keyClass, options, access, security, result, asked);
  if (status == ERROR_SUCCESS && result != nullptr) {
    Observe([&](JournalSession& session) {
      const KeyPlace created = Located(*result, named);
      session.RememberKey(*result, created);
      if (*asked != REG_CREATED_NEW_KEY) return;
      // The missing keys are the new key and the ones above it, shallowest first.
      for (int above = std::max(missing, 1) - 1; above >= 0; --above) {
        session.Record(KeyChange{KeyAction::kCreate, created.Ancestor(above).Text()});
      }
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
  const KeyPlace place = LocateBelow(session, parent, subkey, access);
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
