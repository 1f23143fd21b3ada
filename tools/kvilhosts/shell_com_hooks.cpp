// The shell's file operations, which copy and delete whole folders, and the
// files COM objects save for the library: the added-files list through the XML
// document's save, shortcuts through IPersistFile. A COM object is reached
// through its method table, so the creation call is hooked and the save method
// of each class the library creates is pointed at the journal.

// The method tables are read as the C structures the headers define for them.
#define CINTERFACE

#include <windows.h>
#include <msxml2.h>
#include <objidl.h>
#include <shellapi.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "hook_support.h"

namespace kvilhosts {
namespace {

// Paths of a shell file operation end with an empty one; a list longer than
// any the library builds is cut there.
constexpr std::size_t kLongestPathList = 32768;

template <typename Char>
std::vector<std::string> PathList(const Char* list) {
  std::vector<std::string> paths;
  if (list == nullptr) return paths;
  std::size_t offset = 0;
  while (offset < kLongestPathList && list[offset] != 0) {
    std::size_t length = 0;
    while (offset + length < kLongestPathList && list[offset + length] != 0) ++length;
    paths.push_back(Text(std::basic_string<Char>(list + offset, length).c_str()));
    offset += length + 1;
  }
  return paths;
}

// A pattern such as "folder\*" stands for the folder it looks into.
std::string ItemOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('\\');
  const std::size_t wildcard = path.find_first_of("*?", slash == std::string::npos ? 0 : slash);
  if (wildcard == std::string::npos) return path;
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

ShellAction ShellActionOf(UINT operation) {
  switch (operation) {
    case FO_MOVE: return ShellAction::kMove;
    case FO_DELETE: return ShellAction::kDelete;
    case FO_RENAME: return ShellAction::kRename;
    default: return ShellAction::kCopy;
  }
}

template <typename Operation>
int WINAPI HookShellOperation(Operation* operation) {
  ShellChange change;
  if (operation != nullptr) {
    Observe([&](JournalSession& session) {
      change.action = ShellActionOf(operation->wFunc);
      change.from = PathList(operation->pFrom);
      change.to = PathList(operation->pTo);
      // A copy only reads its sources.
      if (change.action != ShellAction::kCopy) {
        for (const std::string& path : change.from) session.journal().touched.File(ItemOf(path));
      }
      for (const std::string& path : change.to) session.journal().touched.File(ItemOf(path));
    });
  }
  const int status = gOriginal<&HookShellOperation<Operation>>(operation);
  if (status == 0 && operation != nullptr && !operation->fAnyOperationsAborted) {
    Observe([&](JournalSession& session) { session.Record(std::move(change)); });
  }
  return status;
}

// Both save the file they are given, or, with none, the object's own.
HRESULT STDMETHODCALLTYPE HookDocumentSave(IXMLDOMDocument* document, VARIANT destination) {
  FileChange change;
  change.action = FileAction::kSaveXml;
  const bool toFile = V_VT(&destination) == VT_BSTR;
  if (toFile) {
    Observe([&](JournalSession& session) {
      change.path = Text(V_BSTR(&destination));
      session.journal().touched.File(change.path);
    });
  }
  const HRESULT status = gOriginal<&HookDocumentSave>(document, destination);
  if (SUCCEEDED(status) && toFile) Observe([&](JournalSession& session) { session.Record(std::move(change)); });
  return status;
}

std::string CurrentFileOf(IPersistFile* object) {
  LPOLESTR name = nullptr;
  if (FAILED(object->lpVtbl->GetCurFile(object, &name)) || name == nullptr) return {};
  std::string path = Text(name);
  CoTaskMemFree(name);
  return path;
}

HRESULT STDMETHODCALLTYPE HookPersistSave(IPersistFile* object, LPCOLESTR file, BOOL remember) {
  FileChange change;
  change.action = FileAction::kSaveFile;
  Observe([&](JournalSession& session) {
    change.path = file != nullptr ? Text(file) : CurrentFileOf(object);
    session.journal().touched.File(change.path);
  });
  const HRESULT status = gOriginal<&HookPersistSave>(object, file, remember);
  if (SUCCEEDED(status)) Observe([&](JournalSession& session) { session.Record(std::move(change)); });
  return status;
}

static_assert(std::is_same_v<decltype(&HookDocumentSave), decltype(IXMLDOMDocumentVtbl::save)>);
static_assert(std::is_same_v<decltype(&HookPersistSave), decltype(IPersistFileVtbl::Save)>);

// IXMLDOMDocument and the documents derived from it keep save in the same place.
constexpr IID kDocumentInterfaces[] = {
    {0x2933bf81, 0x7b36, 0x11d2, {0xb2, 0x0e, 0x00, 0xc0, 0x4f, 0x98, 0x3e, 0x60}},
    {0x2933bf95, 0x7b36, 0x11d2, {0xb2, 0x0e, 0x00, 0xc0, 0x4f, 0x98, 0x3e, 0x60}},
    {0x2933bf96, 0x7b36, 0x11d2, {0xb2, 0x0e, 0x00, 0xc0, 0x4f, 0x98, 0x3e, 0x60}},
};
constexpr IID kPersistFile = {0x0000010b, 0x0000, 0x0000, {0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

// An interface pointer the journal asked an object for, released when done.
template <typename Interface>
class AskedInterface {
 public:
  AskedInterface(IUnknown* object, const IID& wanted) {
    if (FAILED(object->lpVtbl->QueryInterface(object, wanted, reinterpret_cast<void**>(&pointer_)))) {
      pointer_ = nullptr;
    }
  }
  AskedInterface(const AskedInterface&) = delete;
  AskedInterface& operator=(const AskedInterface&) = delete;
  ~AskedInterface() {
    if (pointer_ != nullptr) pointer_->lpVtbl->Release(pointer_);
  }
  Interface* get() const { return pointer_; }

 private:
  Interface* pointer_ = nullptr;
};

template <typename Table>
void** SlotOf(const Table* table, std::size_t offset) {
  return reinterpret_cast<void**>(reinterpret_cast<std::byte*>(const_cast<Table*>(table)) + offset);
}

// Points the save method of each interface the object answers for at the journal.
void PatchSaveMethods(JournalSession& session, IUnknown* object) {
  for (const IID& documentInterface : kDocumentInterfaces) {
    const AskedInterface<IXMLDOMDocument> document(object, documentInterface);
    if (document.get() == nullptr) continue;
    session.PatchMethod(SlotOf(document.get()->lpVtbl, offsetof(IXMLDOMDocumentVtbl, save)),
                        reinterpret_cast<void*>(&HookDocumentSave),
                        reinterpret_cast<void**>(&gOriginal<&HookDocumentSave>));
  }
  const AskedInterface<IPersistFile> persist(object, kPersistFile);
  if (persist.get() != nullptr) {
    session.PatchMethod(SlotOf(persist.get()->lpVtbl, offsetof(IPersistFileVtbl, Save)),
                        reinterpret_cast<void*>(&HookPersistSave),
                        reinterpret_cast<void**>(&gOriginal<&HookPersistSave>));
  }
}

HRESULT WINAPI HookCreateInstance(REFCLSID type, LPUNKNOWN outer, DWORD context, REFIID wanted, LPVOID* object) {
  const HRESULT status = gOriginal<&HookCreateInstance>(type, outer, context, wanted, object);
  if (SUCCEEDED(status) && object != nullptr && *object != nullptr) {
    Observe([&](JournalSession& session) { PatchSaveMethods(session, static_cast<IUnknown*>(*object)); });
  }
  return status;
}

}  // namespace

std::span<const ImportHook> ShellAndComHooks() {
  static const std::array hooks = {
      KVIL_HOOK(SHFileOperationA, HookShellOperation<SHFILEOPSTRUCTA>),
      KVIL_HOOK(SHFileOperationW, HookShellOperation<SHFILEOPSTRUCTW>),
      KVIL_HOOK(CoCreateInstance, HookCreateInstance),
  };
  return hooks;
}

}  // namespace kvilhosts
