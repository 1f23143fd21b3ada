#include "registry.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bounded_text.h"
#include "export_scope.h"
#include "registry_view.h"

namespace kvil {

namespace {

constexpr DWORD kExpandScratchCapacity = 260;

constexpr std::size_t kMostSharedKeys = 32;

bool IsTextType(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ; }

// Only the predefined roots name the same key for the whole export; a handle a
// caller opened may be closed and its value reused for another key.
bool IsPredefinedRoot(HKEY root) {
  return root == HKEY_LOCAL_MACHINE || root == HKEY_CURRENT_USER || root == HKEY_CLASSES_ROOT || root == HKEY_USERS;
}

// Key names ignore the case of letters; other characters must match exactly.
bool SameKeyPath(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (AsciiLower(a[i]) != AsciiLower(b[i])) return false;
  }
  return true;
}

LONG OpenInView(HKEY root, const char* path, REGSAM access, REGSAM view, UniqueHKey& key) {
  const KeyInView placed = PlaceInView(root, path != nullptr ? path : "", view);
  return RegOpenKeyExA(root, placed.path.c_str(), 0, access | placed.flag, key.put());
}

LONG CreateInView(HKEY root, const char* path, REGSAM access, REGSAM view, SECURITY_ATTRIBUTES* security,
                  UniqueHKey& key) {
  const KeyInView placed = PlaceInView(root, path != nullptr ? path : "", view);
  return RegCreateKeyExA(root, placed.path.c_str(), 0, nullptr, 0, access | placed.flag, security, key.put(), nullptr);
}

LONG DeleteInView(HKEY root, const char* path, REGSAM view) {
  const KeyInView placed = PlaceInView(root, path != nullptr ? path : "", view);
  return RegDeleteKeyExA(root, placed.path.c_str(), placed.flag, 0);
}

// The key one primitive works on: a handle of the export's, which stays open
// for the export's next use of the same key, or one of its own, closed when it
// is done. Outside an export nothing is shared.
class PrimitiveKey {
 public:
  HKEY get() const { return shared_ != nullptr ? shared_ : owned_.get(); }

  // The export's handle of the key when it allows access, else a new one.
  LONG Open(HKEY root, const char* path, REGSAM access, REGSAM view) {
    if (TakeShared(root, path, access, view)) return ERROR_SUCCESS;
    const LONG status = OpenInView(root, path, access, view, owned_);
    if (status == ERROR_SUCCESS) Share(root, path, access, view);
    return status;
  }
  // Creates or opens the key for writing; a new key gets security.
  LONG Create(HKEY root, const char* path, REGSAM view, SECURITY_ATTRIBUTES* security) {
    const LONG status = CreateInView(root, path, KEY_WRITE, view, security, owned_);
    if (status == ERROR_SUCCESS) Share(root, path, KEY_WRITE, view);
    return status;
  }
  // true when the export holds the key open with at least access.
  bool TakeShared(HKEY root, const char* path, REGSAM access, REGSAM view) {
    ExportLookups* lookups = CurrentExportLookups();
    if (lookups == nullptr || path == nullptr || !IsPredefinedRoot(root)) return false;
    for (const SharedKey& shared : lookups->keys) {
      if (shared.root == root && shared.view == view && (shared.access & access) == access &&
          SameKeyPath(shared.path, path)) {
        shared_ = shared.key.get();
        return true;
      }
    }
    return false;
  }

 private:
  void Share(HKEY root, const char* path, REGSAM access, REGSAM view) {
    ExportLookups* lookups = CurrentExportLookups();
    if (lookups == nullptr || path == nullptr || !IsPredefinedRoot(root) || lookups->keys.size() >= kMostSharedKeys) {
      return;
    }
    shared_ = owned_.get();
    lookups->keys.push_back(SharedKey{root, path, access, view, std::move(owned_)});
  }

  UniqueHKey owned_;
  HKEY shared_ = nullptr;
};

// A deleted key takes its handles with it, and a key made again under the same
// name is another key: every shared handle goes before anything is deleted.
void ForgetSharedKeys() {
  if (ExportLookups* lookups = CurrentExportLookups()) lookups->keys.clear();
}

bool KeyOpensForReading(HKEY root, const std::string& path, REGSAM view) {
  PrimitiveKey key;
  return key.Open(root, path.c_str(), KEY_READ, view) == ERROR_SUCCESS;
}

// Drops the last component (and trailing backslashes); false when nothing is left.
bool CutLastComponent(std::string& path) {
  while (!path.empty() && path.back() == '\\') path.pop_back();
  std::size_t slash = path.rfind('\\');
  if (slash == std::string::npos) {
    path.clear();
    return false;
  }
  path.resize(slash);
  while (!path.empty() && path.back() == '\\') path.pop_back();
  return !path.empty();
}

// A fresh ACL (revision 2, same size) holding copies of the key's DACL entries;
// null when the key has no DACL to copy.
ACL* CopyKeyDacl(HKEY root, const std::string& path, REGSAM view) {
  PrimitiveKey key;
  if (key.Open(root, path.c_str(), KEY_READ, view) != ERROR_SUCCESS) return nullptr;
  DWORD size = 0;
  if (RegGetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, nullptr, &size) != ERROR_INSUFFICIENT_BUFFER ||
      size == 0) {
    return nullptr;
  }
  UniqueLocalMemory descriptor(LocalAlloc(LPTR, size));
  if (!descriptor) return nullptr;
  auto* source = static_cast<PSECURITY_DESCRIPTOR>(descriptor.get());
  if (RegGetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, source, &size) != ERROR_SUCCESS) return nullptr;

  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  ACL* sourceDacl = nullptr;
  if (!GetSecurityDescriptorDacl(source, &present, &sourceDacl, &defaulted) || !present || sourceDacl == nullptr) {
    return nullptr;
  }
  ACL_SIZE_INFORMATION info{};
  if (!GetAclInformation(sourceDacl, &info, sizeof info, AclSizeInformation)) return nullptr;
  DWORD aclSize = info.AclBytesInUse + info.AclBytesFree;
  auto* copy = static_cast<ACL*>(LocalAlloc(LPTR, aclSize));
  if (copy == nullptr) return nullptr;
  if (!InitializeAcl(copy, aclSize, ACL_REVISION2)) {
    LocalFree(copy);
    return nullptr;
  }
  for (DWORD index = 0; index < info.AceCount; ++index) {
    void* ace = nullptr;
    if (!GetAce(sourceDacl, index, &ace)) continue;
    AddAce(copy, ACL_REVISION2, MAXDWORD, ace, static_cast<ACE_HEADER*>(ace)->AceSize);
  }
  return copy;
}

LONG SetValueWithView(HKEY root, const char* path, const char* name, DWORD type, const void* data, DWORD length,
                      REGSAM view) {
  PrimitiveKey key;
  // A key the export already writes to exists: creating it again would only
  // open it, with no access list to copy.
  if (!key.TakeShared(root, path, KEY_WRITE, view)) {
    InheritedKeySecurity security(root, path, view);
    if (key.Create(root, path, view, security.Attributes()) != ERROR_SUCCESS) {
      return ERROR_SUCCESS;  // only failures of the value write are reported
    }
  }
  return RegSetValueExA(key.get(), name, 0, type, static_cast<const BYTE*>(data), length);
}

LONG GetValueWithView(HKEY root, const char* path, const char* name, char* buffer, DWORD* length, DWORD* type,
                      REGSAM view) {
  if (buffer == nullptr || length == nullptr || *length == 0) return ERROR_INVALID_PARAMETER;
  const DWORD capacity = *length;
  PrimitiveKey key;
  LONG status = key.Open(root, path, KEY_QUERY_VALUE, view);
  if (status != ERROR_SUCCESS) return status;

  DWORD valueType = REG_NONE;
  DWORD size = capacity;
  status = RegQueryValueExA(key.get(), name, nullptr, &valueType, reinterpret_cast<BYTE*>(buffer), &size);
  if (type != nullptr) *type = valueType;
  *length = size;
  if (status == ERROR_MORE_DATA) buffer[0] = '\0';
  if (status != ERROR_SUCCESS) return status;

  if (IsTextType(valueType) && (size == 0 || buffer[size - 1] != '\0')) {
    // Stored without its terminator: terminate it if there is room, else it is too long.
    if (size >= capacity) {
      buffer[0] = '\0';
      return ERROR_MORE_DATA;
    }
    buffer[size] = '\0';
  }
  if (valueType == REG_EXPAND_SZ) {
    char expanded[kExpandScratchCapacity] = {};
    DWORD count = ExpandEnvironmentInView(view, buffer, expanded, kExpandScratchCapacity);
    std::size_t expandedSize = strnlen(expanded, kExpandScratchCapacity) + 1;
    if (count == 0 || count > kExpandScratchCapacity || expandedSize > capacity) {
      buffer[0] = '\0';
      return ERROR_MORE_DATA;
    }
    std::memcpy(buffer, expanded, expandedSize);
    *length = count;
  }
  return ERROR_SUCCESS;
}

// The view the table of registry_view.h gives the key; a null path is the root.
REGSAM KeyView(HKEY root, const char* path) { return RegistryViewOf(root, path != nullptr ? path : ""); }

int ParseLID(const char* text) {
  char* end = nullptr;
  errno = 0;
  long number = std::strtol(text, &end, 10);
  if (errno != 0 || number <= 0 || number > 0xFFFF) return 1033;
  return static_cast<int>(number);
}

}  // namespace

InheritedKeySecurity::InheritedKeySecurity(HKEY root, const char* path)
    : InheritedKeySecurity(root, path, KeyView(root, path)) {}

InheritedKeySecurity::InheritedKeySecurity(HKEY root, const char* path, REGSAM view) {
  bool ntFamily = (GetVersion() & 0x80000000u) == 0;
  std::string ancestor = path != nullptr ? path : "";
  if (ntFamily && !KeyOpensForReading(root, ancestor, view)) {
    while (CutLastComponent(ancestor)) {
      if (KeyOpensForReading(root, ancestor, view)) {
        dacl_ = CopyKeyDacl(root, ancestor, view);
        break;
      }
    }
  }
  InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION);
  // Without a copy the DACL is null, which grants everyone full access.
  SetSecurityDescriptorDacl(&descriptor_, TRUE, dacl_, FALSE);
  attributes_.nLength = sizeof attributes_;
  attributes_.lpSecurityDescriptor = &descriptor_;
  attributes_.bInheritHandle = FALSE;
}

InheritedKeySecurity::~InheritedKeySecurity() {
  if (dacl_ != nullptr) LocalFree(dacl_);
}

LONG RegSetValueOpen(HKEY root, const char* path, const char* name, DWORD type, const void* data, DWORD length) {
  return SetValueWithView(root, path, name, type, data, length, KeyView(root, path));
}

LONG RegSetValueOpenPlain(HKEY root, const char* path, const char* name, DWORD type, const void* data,
                          DWORD length) {
  return RegSetValueOpen(root, path, name, type, data, length);
}

LONG RegGetValueExpand(HKEY root, const char* path, const char* name, char* buffer, DWORD* length, DWORD* type) {
  return GetValueWithView(root, path, name, buffer, length, type, KeyView(root, path));
}

LONG RegGetValueExpandPlain(HKEY root, const char* path, const char* name, char* buffer, DWORD* length,
                            DWORD* type) {
  return RegGetValueExpand(root, path, name, buffer, length, type);
}

bool RegReadString(HKEY root, const char* path, const char* name, char* buffer, DWORD capacity) {
  DWORD length = capacity;
  DWORD type = REG_NONE;
  if (RegGetValueExpand(root, path, name, buffer, &length, &type) != ERROR_SUCCESS) return false;
  if (type != REG_SZ && type != REG_EXPAND_SZ) {
    buffer[0] = '\0';
    return false;
  }
  return true;
}

bool RegReadDword(HKEY root, const char* path, const char* name, DWORD* value) {
  DWORD data = 0;
  DWORD length = sizeof data;
  DWORD type = REG_NONE;
  if (RegGetValueExpand(root, path, name, reinterpret_cast<char*>(&data), &length, &type) != ERROR_SUCCESS ||
      type != REG_DWORD || length != sizeof data) {
    return false;
  }
  *value = data;
  return true;
}

LONG RegSetDword(HKEY root, const char* path, const char* name, DWORD value) {
  return RegSetValueOpen(root, path, name, REG_DWORD, &value, sizeof value);
}

LONG RegSetText(HKEY root, const char* path, const char* name, const char* text) {
  return RegSetValueOpen(root, path, name, REG_SZ, text, static_cast<DWORD>(std::strlen(text) + 1));
}

int RegSetString(const char* path, const char* name, const char* text) {
  return RegSetValueOpen(HKEY_LOCAL_MACHINE, path, name, REG_SZ, text, static_cast<DWORD>(std::strlen(text))) ==
                 ERROR_SUCCESS
             ? 1
             : 0;
}

int RegKeyExists(HKEY root, const char* path) { return KeyOpensForReading(root, path, KeyView(root, path)) ? 1 : 0; }

LONG RegOpenKeyView(HKEY root, const char* path, REGSAM access, UniqueHKey& key) {
  return OpenInView(root, path, access, KeyView(root, path), key);
}

LONG RegDeleteKeyTree(HKEY root, const char* path, int recursive) {
  const REGSAM view = KeyView(root, path);
  ForgetSharedKeys();
  UniqueHKey key;
  LONG status = OpenInView(root, path, KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_ENUMERATE_SUB_KEYS, view, key);
  if (status != ERROR_SUCCESS) return status;
  DWORD subkeyCount = 0;
  status = RegQueryInfoKeyA(key.get(), nullptr, nullptr, nullptr, &subkeyCount, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr);
  if (status != ERROR_SUCCESS) return status;
  if (subkeyCount > 0) {
    // The platform's own answer for deleting a key that still has subkeys.
    if (!recursive) return ERROR_ACCESS_DENIED;
    for (DWORD index = subkeyCount; index-- > 0;) {
      char name[256];
      DWORD nameLength = sizeof name;
      status = RegEnumKeyExA(key.get(), index, name, &nameLength, nullptr, nullptr, nullptr, nullptr);
      if (status == ERROR_NO_MORE_ITEMS) continue;
      if (status != ERROR_SUCCESS) return status;
      std::string child = std::string(path) + "\\" + name;
      status = RegDeleteKeyTree(root, child.c_str(), recursive);
      if (status != ERROR_SUCCESS && status != ERROR_NO_MORE_ITEMS) return status;
    }
  }
  key.reset();
  return DeleteInView(root, path, view);
}

LONG RegDeleteValueAt(HKEY root, const char* path, const char* name) {
  PrimitiveKey key;
  LONG status = key.Open(root, path, KEY_SET_VALUE, KeyView(root, path));
  if (status != ERROR_SUCCESS) return status;
  return RegDeleteValueA(key.get(), name);
}

int RegDeleteEmptyLeaf(HKEY root, char* path) {
  const REGSAM view = KeyView(root, path);
  ForgetSharedKeys();
  {
    UniqueHKey key;
    if (OpenInView(root, path, KEY_READ, view, key) != ERROR_SUCCESS) return 0;
    char name[256];
    DWORD nameLength = sizeof name;
    if (RegEnumKeyExA(key.get(), 0, name, &nameLength, nullptr, nullptr, nullptr, nullptr) != ERROR_NO_MORE_ITEMS) {
      return 0;
    }
  }
  char* slash = std::strrchr(path, '\\');
  if (slash == nullptr) return DeleteInView(root, path, view) == ERROR_SUCCESS ? 1 : 0;
  *slash = '\0';
  const char* leaf = slash + 1;
  UniqueHKey parent;
  if (OpenInView(root, path, KEY_READ | KEY_WRITE, view, parent) != ERROR_SUCCESS) return 0;
  return RegDeleteKeyExA(parent.get(), leaf, view, 0) == ERROR_SUCCESS ? 1 : 0;
}

int ReadLIDValue(HKEY root, const char* path, const char* name) {
  return ReadLIDValueAfterPrefix(root, path, name, "");
}

int ReadLIDValueAfterPrefix(HKEY root, const char* path, const char* name, const char* prefix) {
  PathText text;
  if (!RegReadString(root, path, name, text.data(), PathText::kCapacity)) return 1033;
  std::size_t skip = std::strlen(prefix);
  if (text.size() < skip) return 1033;
  return ParseLID(text.c_str() + skip);
}

}  // namespace kvil
