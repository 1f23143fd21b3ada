// The Bat!: the mail client finds spellers through Microsoft's shared
// proofing-tools registration, as Office does. It names its own program in the
// current user's registry, and the product files the client under that
// program's name: a client installed as thebat64.exe is "THEBAT64" in every
// record. The module carries the name of The Bat! 5, yet takes only a client
// whose program says 6 and records "6.0"; the setup tool knows the client by
// that name and those records. A program path that cannot be used names no
// client, and then nothing is filed or registered.

#include <windows.h>

#include <cstdint>
#include <string_view>
#include <vector>

#include "bounded_text.h"
#include "code_pages.h"
#include "contract.h"
#include "office_host.h"
#include "product.h"
#include "proofing.h"
#include "records.h"
#include "registry.h"
#include "version_resource.h"

namespace kvil {
namespace {

using namespace office;

struct TheBatHost {
  // Where the client names its program, as UTF-16 text under HKCU.
  const char* clientKey;
  const wchar_t* programValue;
  WORD acceptedProductMajor;
  const char* recordVersion;
  const char* infoVersion;
  const char* displayName;
};

const TheBatHost kTheBat6{.clientKey = "Software\\RIT\\The Bat!",
                          .programValue = L"EXE path",
                          .acceptedProductMajor = 6,
                          .recordVersion = "6.0",
                          .infoVersion = "6.x",
                          .displayName = "The Bat!"};

// The product keeps paths in the Cyrillic code page and key names in the
// Western one.
constexpr UINT kProductPathCodePage = 1251;
constexpr UINT kKeyNameCodePage = 1252;
constexpr std::size_t kApplicationKeyCapacity = 64;

bool IsAbsolute(std::wstring_view path) {
  const bool drive = path.size() >= 3 && ((path[0] | 0x20) >= L'a' && (path[0] | 0x20) <= L'z') &&
                     path[1] == L':' && path[2] == L'\\';
  return drive || path.starts_with(L"\\\\");
}

bool IsFolder(std::wstring_view folder) {
  wchar_t text[kPathCapacity] = {};
  folder.copy(text, kPathCapacity - 1);
  const DWORD attributes = GetFileAttributesW(text);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// The client's program as the current user's registry names it. The path is
// taken only when it is an absolute path of at most 259 characters, in a folder
// that exists, that the product's code page can carry, and whose file name
// gives an application key.
class ClientProgram {
 public:
  bool Read(const TheBatHost& host) {
    UniqueHKey key;
    DWORD type = REG_NONE;
    DWORD size = sizeof wide_;
    if (RegOpenKeyView(HKEY_CURRENT_USER, host.clientKey, KEY_QUERY_VALUE, key) != ERROR_SUCCESS ||
        RegQueryValueExW(key.get(), host.programValue, nullptr, &type, reinterpret_cast<BYTE*>(wide_), &size) !=
            ERROR_SUCCESS ||
        type != REG_SZ) {
      return false;
    }
    std::wstring_view path(wide_, size / sizeof(wchar_t));
    path = path.substr(0, path.find(L'\0'));
    if (path.size() >= kPathCapacity) return false;  // no room left for the terminator
    wide_[path.size()] = L'\0';

    const std::size_t separator = path.rfind(L'\\');
    if (!IsAbsolute(path) || separator == std::wstring_view::npos || separator + 1 == path.size() ||
        !IsFolder(path.substr(0, separator == 2 ? 3 : separator))) {
      return false;
    }
    if (!Narrow(path, kProductPathCodePage, path_)) return false;
    return ReadApplicationKey(path.substr(separator + 1));
  }

  const wchar_t* widePath() const { return wide_; }
  const char* path() const { return path_.c_str(); }
  const char* applicationKey() const { return applicationKey_.c_str(); }

 private:
  // The file name upper-cased and cut at ".EXE".
  bool ReadApplicationKey(std::wstring_view fileName) {
    wchar_t name[kPathCapacity] = {};
    fileName.copy(name, kPathCapacity - 1);
    CharUpperBuffW(name, static_cast<DWORD>(fileName.size()));
    std::wstring_view upper(name, fileName.size());
    upper = upper.substr(0, upper.find(L".EXE"));
    upper = upper.substr(0, kApplicationKeyCapacity - 1);
    if (upper.empty()) return false;
    const int written =
        WideCharToMultiByte(kKeyNameCodePage, 0, upper.data(), static_cast<int>(upper.size()),
                            applicationKey_.data(), kApplicationKeyCapacity - 1, nullptr, nullptr);
    if (written <= 0) return false;
    applicationKey_.data()[written] = '\0';
    return true;
  }

  wchar_t wide_[kPathCapacity] = {};
  PathText path_;
  FixedText<kApplicationKeyCapacity> applicationKey_;
};

// The major version of the program's product, from its fixed version
// information; 0 when it has none.
WORD ProductMajorVersion(const wchar_t* path) {
  std::vector<BYTE> data;
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT length = 0;
  if (!ReadVersionBlock(path, data) ||
      !VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&fixed), &length) || fixed == nullptr ||
      length < sizeof *fixed) {
    return 0;
  }
  return HIWORD(fixed->dwProductVersionMS);
}

bool FindAcceptedClient(const TheBatHost& host, ClientProgram& client) {
  return client.Read(host) && ProductMajorVersion(client.widePath()) == host.acceptedProductMajor;
}

struct TheBatOps {
  static HostResult Exist(const TheBatHost& host, int kind, int, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(kSpellerOnly, kind, 0)) return *refusal;
    ClientProgram client;
    return FindAcceptedClient(host, client) ? 1 : 0;
  }

  static HostResult Info(const TheBatHost& host, int, int, char* buffer, std::int32_t* length) {
    ClientProgram client;
    return FormatInfoList(client.Read(host) ? client.applicationKey() : "", host.infoVersion, buffer, length);
  }

  static HostResult Avail(const TheBatHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    return Exist(host, kind, lcid, 0, 0);
  }

  // The version of the program is not looked at: a client The Bat! 6 does not
  // claim is still filed and registered when asked for.
  static HostResult Attach(const TheBatHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (kind != kSpeller) return kNotApplicable;
    ClientProgram client;
    AttachFiles files;
    if (!client.Read(host) || !files.Allocate()) return 0;
    const HostRecord record{client.applicationKey(), host.recordVersion, kSharedTree};
    RecordKeyText suiteKey;
    RecordKeyText toolKey;
    if (!files.BuildRecord(record, kind, lcid) ||
        !suiteKey.Format("%s\\%s\\Products\\%s\\%s", kMakerRoot, GetKvilVersionKey(), record.applicationKey,
                         record.version) ||
        !toolKey.Format("%s\\%s", suiteKey.c_str(), ToolKeyName(kind, kSharedTree))) {
      return 0;
    }

    RegSetString(suiteKey.c_str(), "Path", client.path());
    RegSetString(suiteKey.c_str(), "Name", host.displayName);
    SetAttachedFlag(kind, lcid, record.applicationKey, record.version, kWord7Tree, 1);
    // A Russian record holds "StrictYO" even when the options writer stops
    // before its own value.
    if (lcid == kRussian) RegSetDword(HKEY_LOCAL_MACHINE, files.recordKey(), "StrictYO", 0);
    const int options = WriteAttachRecord(files.recordKey(), kind, lcid, kWord7Tree, 2);

    // The client is pointed at the product even when the language has no
    // start-up folder: it then gets a registration without files, and the one it
    // replaces is kept under "Saved connections".
    if (!files.Find(kind, lcid)) files.folder()[0] = '\0';
    RegisterProofingToolShared(ToolKeyName(kind, kWord7Tree), files.folder(), files.engine(), files.lexicon(),
                               lcid);
    return AllLanguagesAttached(HKEY_LOCAL_MACHINE, toolKey.c_str()) ? options : 1;
  }

  // Only the record changes: the shared registration and the suite record stay.
  static HostResult Detach(const TheBatHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    ClientProgram client;
    if (!client.Read(host)) return 0;
    return SetAttachedFlag(kind, lcid, client.applicationKey(), host.recordVersion, kWord7Tree, 0);
  }

  // Avail's answer must be 1: the speller of an accepted client.
  static HostResult Check(const TheBatHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    ClientProgram client;
    if (!TakesKind(kSpellerOnly, kind) || !FindAcceptedClient(host, client)) return 0;
    return CheckAttachedFlag(kind, lcid, client.applicationKey(), host.recordVersion, kWord7Tree) != 0 ? 1 : 0;
  }

  static HostResult FullProgramPath(const TheBatHost& host, char* buffer, std::int32_t capacity) {
    ClientProgram client;
    if (buffer == nullptr || capacity <= 0 || !FindAcceptedClient(host, client)) return 0;
    const std::string_view path = client.path();
    if (path.size() >= static_cast<std::size_t>(capacity)) return 0;
    CopyBounded(buffer, static_cast<std::size_t>(capacity), path);
    return 1;
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(TheBat50, kvil::TheBatOps, kvil::kTheBat6)

extern "C" kvil::HostResult GetTheBatFullExePath(char* buffer, std::int32_t capacity) {
  return kvil::GuardExport(0, [&] { return kvil::TheBatOps::FullProgramPath(kvil::kTheBat6, buffer, capacity); });
}
