#include "proofing.h"

#include <cstring>

#include "bounded_text.h"
#include "files.h"
#include "handles.h"
#include "product.h"
#include "registry.h"

namespace kvil {

namespace {

constexpr const char* kProofingLeaves[] = {"Normal",      "Biological", "Business", "Chemistry", "Computers",
                                           "Humanitarian", "Legal",      "Medical",  "Religion",  "Science",
                                           "Technical",    "Concise",    "Complete"};
constexpr const char* kRegistrationValues[] = {"Engine", "Dictionary"};

bool NamesProduct(const char* path, const char* productFolder) {
  return productFolder != nullptr && *productFolder != '\0' && FindNoCase(path, productFolder) != nullptr;
}

bool BackupValueName(PathText& name, const char* valueName) {
  PathText marker;
  marker.Format("Saved by Kvil %d", GetKvilVersion());
  return name.Format("%s:%s", marker.c_str(), valueName);
}

bool KeyIsEmpty(HKEY root, const char* path) {
  UniqueHKey key;
  if (RegOpenKeyView(root, path, KEY_READ, key) != ERROR_SUCCESS) return false;
  DWORD subkeys = 0;
  DWORD values = 0;
  return RegQueryInfoKeyA(key.get(), nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values, nullptr,
                          nullptr, nullptr, nullptr) == ERROR_SUCCESS &&
         subkeys == 0 && values == 0;
}

// Finds file in folder alone and leaves the full path in found.
bool SearchFolder(const char* folder, const char* file, char* found, DWORD capacity, char** filePart) {
  DWORD length = SearchPathA(folder, file, nullptr, capacity, found, filePart);
  return length != 0 && length < capacity;
}

}  // namespace

const char* ProofingLeafName(int leafIndex) {
  if (leafIndex < 0 || leafIndex >= static_cast<int>(std::size(kProofingLeaves))) return nullptr;
  return kProofingLeaves[leafIndex];
}

LONG WriteProofingValues(HKEY root, const char* keyPrefix, const char* enginePath, const char* dictionaryPath,
                         int leafIndex, int lcid) {
  const char* leaf = ProofingLeafName(leafIndex);
  if (leaf == nullptr) return ERROR_INVALID_PARAMETER;
  PathText key;
  if (!key.Format("%s\\%d\\%s", keyPrefix, lcid, leaf)) return ERROR_INSUFFICIENT_BUFFER;
  // A half-written key never has an "Engine" without a "Dictionary".
  LONG status = RegSetText(root, key.c_str(), "Dictionary", dictionaryPath);
  if (status != ERROR_SUCCESS) return status;
  return RegSetText(root, key.c_str(), "Engine", enginePath);
}

LONG RegisterProofingTool(HKEY root, const char* tree, const char* folder, const char* toolKey,
                          const char* engineName, const char* dictionaryName, int lcid) {
  PathText engine;
  PathText dictionary;
  PathText prefix;
  if (!engine.Format("%s\\%s", folder, engineName) || !dictionary.Format("%s\\%s", folder, dictionaryName) ||
      !prefix.Format("%s\\%s", tree, toolKey)) {
    return ERROR_INSUFFICIENT_BUFFER;
  }
  return WriteProofingValues(root, prefix.c_str(), engine.c_str(), dictionary.c_str(), 0, lcid);
}

int SaveForeignConnection(const char* folder, const char* toolKey, const char* engineName,
                          const char* dictionaryName, int lcid) {
  WorkBuffer productDictionary;
  WorkBuffer productEngine;
  WorkBuffer sharedKey;
  WorkBuffer registeredEngine;
  WorkBuffer registeredDictionary;
  WorkBuffer backupKey;
  for (WorkBuffer* buffer :
       {&productDictionary, &productEngine, &sharedKey, &registeredEngine, &registeredDictionary, &backupKey}) {
    if (!buffer->Allocate(kPathCapacity)) return 0;
  }
  // The product's own paths are only compared: when they do not fit a path, no
  // registration can be the product's, and what is registered is kept.
  const bool productPathsFit =
      FormatBounded(productDictionary.data(), kPathCapacity, "%s\\%s", folder, dictionaryName) &&
      FormatBounded(productEngine.data(), kPathCapacity, "%s\\%s", folder, engineName);
  if (!FormatBounded(sharedKey.data(), kPathCapacity, "%s\\%s\\%d\\%s", kSharedProofingTree, toolKey, lcid,
                     "Normal") ||
      !FormatBounded(backupKey.data(), kPathCapacity, "%s\\%s\\%s\\%s", kMakerRoot, GetKvilVersionKey(),
                     "Saved connections", toolKey)) {
    return 0;
  }
  bool registered =
      RegReadString(HKEY_LOCAL_MACHINE, sharedKey.data(), "Engine", registeredEngine.data(), kPathCapacity) &&
      RegReadString(HKEY_LOCAL_MACHINE, sharedKey.data(), "Dictionary", registeredDictionary.data(), kPathCapacity);
  LONG status;
  if (!registered) {
    status = WriteProofingValues(HKEY_LOCAL_MACHINE, backupKey.data(), "", "", 0, lcid);
  } else if (productPathsFit && _stricmp(registeredEngine.data(), productEngine.data()) == 0 &&
             _stricmp(registeredDictionary.data(), productDictionary.data()) == 0) {
    return 1;  // already the product's: the first foreign backup stays as it is
  } else {
    status = WriteProofingValues(HKEY_LOCAL_MACHINE, backupKey.data(), registeredEngine.data(),
                                 registeredDictionary.data(), 0, lcid);
  }
  return status == ERROR_SUCCESS ? 1 : 0;
}

int RegisterProofingToolShared(const char* toolKey, const char* folder, const char* engineName,
                               const char* dictionaryName, int lcid) {
  if (toolKey == nullptr) return 0;
  // A backup that could not be made is not reported as a failed registration.
  if (!SaveForeignConnection(folder, toolKey, engineName, dictionaryName, lcid)) return 1;
  return RegisterProofingTool(HKEY_LOCAL_MACHINE, kSharedProofingTree, folder, toolKey, engineName,
                              dictionaryName, lcid) == ERROR_SUCCESS
             ? 1
             : 0;
}

int AvailFiles(char* folder, const char* engineName, const char* dictionaryName, const char* toolKey, int lcid,
               int requireRegistered) {
  WorkBuffer found;
  if (folder == nullptr || !found.Allocate(kPathCapacity)) return 0;
  char* filePart = nullptr;
  int result = 0;
  if (SearchFolder(folder, engineName, found.data(), kPathCapacity, &filePart)) {
    std::size_t folderLength = filePart != nullptr ? static_cast<std::size_t>(filePart - found.data())
                                                   : std::strlen(found.data());
    CopyBounded(folder, kPathCapacity, std::string_view(found.data(), folderLength));
    if (SearchFolder(folder, dictionaryName, found.data(), kPathCapacity, &filePart)) {
      CopyBounded(folder, kPathCapacity, found.data());
      result = 1;
    }
  }
  if (result == 1 && requireRegistered) {
    result = 0;
    PathText engine;
    PathText dictionary;
    DWORD engineLength = PathText::kCapacity;
    DWORD dictionaryLength = PathText::kCapacity;
    if (GetRegisteredProofingValue(HKEY_LOCAL_MACHINE, kSharedProofingTree, toolKey, lcid, "Normal", "Engine",
                                   engine.data(), &engineLength) &&
        GetRegisteredProofingValue(HKEY_LOCAL_MACHINE, kSharedProofingTree, toolKey, lcid, "Normal",
                                   "Dictionary", dictionary.data(), &dictionaryLength) &&
        FileExists(engine.c_str()) && FileExists(dictionary.c_str())) {
      result = 1;
    }
  }
  return result;
}

bool GetRegisteredProofingValue(HKEY root, const char* tree, const char* toolKey, int lcid, const char* leaf,
                                const char* valueName, char* buffer, DWORD* length) {
  if (toolKey == nullptr || buffer == nullptr || length == nullptr || *length == 0) return false;
  PathText key;
  if (!key.Format("%s\\%s\\%d\\%s", tree, toolKey, lcid, leaf)) return false;
  DWORD type = REG_NONE;
  if (RegGetValueExpand(root, key.c_str(), valueName, buffer, length, &type) != ERROR_SUCCESS) return false;
  return type == REG_SZ && buffer[0] != '\0';
}

int WriteOwnRegistration(HKEY root, const char* base, const char* toolKey, int lcid, const char* folder,
                         const char* engineName, const char* dictionaryName) {
  if (toolKey == nullptr) return 0;
  PathText key;
  if (!key.Format("%s\\%s\\%d\\Normal", base, toolKey, lcid)) return 0;
  for (const char* valueName : kRegistrationValues) {
    PathText current;
    PathText backupName;
    PathText existingBackup;
    if (!BackupValueName(backupName, valueName)) return 0;
    // The host's own value is kept once; a second attach finds the product's
    // value there, or a backup already made, and keeps the first backup.
    if (!RegReadString(root, key.c_str(), valueName, current.data(), PathText::kCapacity) || current.empty() ||
        NamesProduct(current.c_str(), folder) ||
        RegReadString(root, key.c_str(), backupName.c_str(), existingBackup.data(), PathText::kCapacity)) {
      continue;
    }
    if (RegSetText(root, key.c_str(), backupName.c_str(), current.c_str()) != ERROR_SUCCESS) return 0;
  }
  return RegisterProofingTool(root, base, folder, toolKey, engineName, dictionaryName, lcid) == ERROR_SUCCESS ? 1 : 0;
}

int RestoreOwnRegistration(HKEY root, const char* base, const char* toolKey, int lcid, const char* productFolder) {
  if (toolKey == nullptr) return 0;
  PathText languageKey;
  PathText key;
  if (!languageKey.Format("%s\\%s\\%d", base, toolKey, lcid) || !key.Format("%s\\Normal", languageKey.c_str())) {
    return 0;
  }
  bool restored = true;
  int deleted = 0;
  for (const char* valueName : kRegistrationValues) {
    PathText backupName;
    PathText saved;
    PathText current;
    if (!BackupValueName(backupName, valueName)) return 0;
    if (RegReadString(root, key.c_str(), backupName.c_str(), saved.data(), PathText::kCapacity)) {
      restored = RegSetText(root, key.c_str(), valueName, saved.c_str()) == ERROR_SUCCESS &&
                 RegDeleteValueAt(root, key.c_str(), backupName.c_str()) == ERROR_SUCCESS && restored;
    } else if (RegReadString(root, key.c_str(), valueName, current.data(), PathText::kCapacity) &&
               NamesProduct(current.c_str(), productFolder)) {
      bool gone = RegDeleteValueAt(root, key.c_str(), valueName) == ERROR_SUCCESS;
      restored = gone && restored;
      if (gone) ++deleted;
    }
  }
  // Both values were the product's alone: the language's key goes with them,
  // unless the host keeps something else there.
  if (deleted == 2 && KeyIsEmpty(root, key.c_str())) {
    RegDeleteKeyTree(root, key.c_str(), 0);
    if (KeyIsEmpty(root, languageKey.c_str())) RegDeleteKeyTree(root, languageKey.c_str(), 0);
  }
  return restored ? 1 : 0;
}

}  // namespace kvil
