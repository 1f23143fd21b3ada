// The file system's writing functions as the library calls them: copies, moves,
// deletions, folders, files opened for writing, and INI entries.

#include <array>
#include <cstdio>
#include <string_view>

#include "hook_support.h"

namespace kvilhosts {
namespace {

bool Exists(const std::string& path) { return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

// Notes the files about to change and tells whether the target is there already.
bool BeforeFileChange(JournalSession& session, const std::string& path, const std::string& target) {
  session.journal().touched.File(path);
  session.journal().touched.File(target);
  return !target.empty() && Exists(target);
}

template <typename Char>
BOOL WINAPI HookCopyFile(const Char* from, const Char* to, BOOL failIfExists) {
  FileChange change;
  change.action = FileAction::kCopy;
  Observe([&](JournalSession& session) {
    change.path = Text(from);
    change.target = Text(to);
    // The source is only read.
    session.journal().touched.File(change.target);
    change.replaced = Exists(change.target);
  });
  const BOOL done = gOriginal<&HookCopyFile<Char>>(from, to, failIfExists);
  if (done) Observe([&](JournalSession& session) { session.Record(std::move(change)); });
  return done;
}

template <typename Char>
BOOL WINAPI HookMoveFile(const Char* from, const Char* to) {
  FileChange change;
  change.action = FileAction::kMove;
  Observe([&](JournalSession& session) {
    change.path = Text(from);
    change.target = Text(to);
    change.replaced = BeforeFileChange(session, change.path, change.target);
  });
  const BOOL done = gOriginal<&HookMoveFile<Char>>(from, to);
  if (done) Observe([&](JournalSession& session) { session.Record(std::move(change)); });
  return done;
}

template <typename Char>
BOOL WINAPI HookMoveFileEx(const Char* from, const Char* to, DWORD flags) {
  FileChange change;
  change.action = FileAction::kMove;
  Observe([&](JournalSession& session) {
    change.path = Text(from);
    change.target = Text(to);
    change.replaced = BeforeFileChange(session, change.path, change.target);
  });
  const BOOL done = gOriginal<&HookMoveFileEx<Char>>(from, to, flags);
  if (done) Observe([&](JournalSession& session) { session.Record(std::move(change)); });
  return done;
}

// A change to one path, recorded once the library's call has succeeded.
template <typename Char, typename Call>
BOOL RecordPathChange(FileAction action, const Char* path, Call call) {
  FileChange change;
  change.action = action;
  Observe([&](JournalSession& session) {
    change.path = Text(path);
    session.journal().touched.File(change.path);
  });
  const BOOL done = call();
  if (done) Observe([&](JournalSession& session) { session.Record(std::move(change)); });
  return done;
}

template <typename Char>
BOOL WINAPI HookDeleteFile(const Char* path) {
  return RecordPathChange(FileAction::kDelete, path, [&] { return gOriginal<&HookDeleteFile<Char>>(path); });
}

template <typename Char>
BOOL WINAPI HookCreateFolder(const Char* path, LPSECURITY_ATTRIBUTES security) {
  return RecordPathChange(FileAction::kCreateFolder, path,
                          [&] { return gOriginal<&HookCreateFolder<Char>>(path, security); });
}

template <typename Char>
BOOL WINAPI HookRemoveFolder(const Char* path) {
  return RecordPathChange(FileAction::kRemoveFolder, path, [&] { return gOriginal<&HookRemoveFolder<Char>>(path); });
}

// What opening a file for writing does to it, by whether it was there before.
FileAction WritingOpen(bool existed, bool emptied) {
  if (!existed) return FileAction::kCreate;
  return emptied ? FileAction::kOverwrite : FileAction::kOpenForWriting;
}

constexpr DWORD kWritingAccess = GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA | FILE_APPEND_DATA;

template <typename Char>
HANDLE WINAPI HookCreateFile(const Char* path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                             DWORD disposition, DWORD flags, HANDLE model) {
  const bool writing = (access & kWritingAccess) != 0;
  FileChange change;
  bool existed = false;
  if (writing) {
    Observe([&](JournalSession& session) {
      change.path = Text(path);
      session.journal().touched.File(change.path);
      existed = Exists(change.path);
    });
  }
  const HANDLE file = gOriginal<&HookCreateFile<Char>>(path, access, share, security, disposition, flags, model);
  if (writing && file != INVALID_HANDLE_VALUE) {
    Observe([&](JournalSession& session) {
      change.action = WritingOpen(existed, disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING);
      session.Record(std::move(change));
    });
  }
  return file;
}

FILE* HookOpenStream(const char* path, const char* mode) {
  const std::string_view modeText = mode != nullptr ? mode : "";
  const bool emptying = modeText.find('w') != std::string_view::npos;
  const bool writing = emptying || modeText.find('a') != std::string_view::npos ||
                       modeText.find('+') != std::string_view::npos;
  FileChange change;
  bool existed = false;
  if (writing) {
    Observe([&](JournalSession& session) {
      change.path = Text(path);
      session.journal().touched.File(change.path);
      existed = Exists(change.path);
    });
  }
  FILE* stream = gOriginal<&HookOpenStream>(path, mode);
  if (writing && stream != nullptr) {
    Observe([&](JournalSession& session) {
      change.action = WritingOpen(existed, emptying);
      session.Record(std::move(change));
    });
  }
  return stream;
}

// A null entry deletes the whole section, a null text the entry; a null section
// only flushes the cache and changes nothing.
template <typename Char>
void BeforeIniWrite(JournalSession& session, IniChange& change, const Char* file, const Char* section,
                    const Char* entry) {
  change.place = {Text(file), Text(section), Text(entry)};
  change.wholeSection = entry == nullptr;
  if (change.wholeSection) return;
  session.journal().touched.IniEntry(change.place);
  change.before = ReadIniState(change.place);
}

void AfterIniWrite(JournalSession& session, IniChange& change) {
  if (!change.wholeSection) change.after = ReadIniState(change.place);
  session.Record(std::move(change));
}

template <typename Char>
BOOL WINAPI HookWritePrivateProfile(const Char* section, const Char* entry, const Char* text, const Char* file) {
  IniChange change;
  const bool changing = section != nullptr;
  if (changing) Observe([&](JournalSession& session) { BeforeIniWrite(session, change, file, section, entry); });
  const BOOL done = gOriginal<&HookWritePrivateProfile<Char>>(section, entry, text, file);
  if (done && changing) Observe([&](JournalSession& session) { AfterIniWrite(session, change); });
  return done;
}

template <typename Char>
BOOL WINAPI HookWriteProfile(const Char* section, const Char* entry, const Char* text) {
  IniChange change;
  const bool changing = section != nullptr;
  const Char* const userProfile = nullptr;
  if (changing) {
    Observe([&](JournalSession& session) { BeforeIniWrite(session, change, userProfile, section, entry); });
  }
  const BOOL done = gOriginal<&HookWriteProfile<Char>>(section, entry, text);
  if (done && changing) Observe([&](JournalSession& session) { AfterIniWrite(session, change); });
  return done;
}

}  // namespace

std::span<const ImportHook> FileHooks() {
  static const std::array hooks = {
      KVIL_HOOK(CopyFileA, HookCopyFile<char>),
      KVIL_HOOK(CopyFileW, HookCopyFile<wchar_t>),
      KVIL_HOOK(MoveFileA, HookMoveFile<char>),
      KVIL_HOOK(MoveFileW, HookMoveFile<wchar_t>),
      KVIL_HOOK(MoveFileExA, HookMoveFileEx<char>),
      KVIL_HOOK(MoveFileExW, HookMoveFileEx<wchar_t>),
      KVIL_HOOK(DeleteFileA, HookDeleteFile<char>),
      KVIL_HOOK(DeleteFileW, HookDeleteFile<wchar_t>),
      KVIL_HOOK(CreateDirectoryA, HookCreateFolder<char>),
      KVIL_HOOK(CreateDirectoryW, HookCreateFolder<wchar_t>),
      KVIL_HOOK(RemoveDirectoryA, HookRemoveFolder<char>),
      KVIL_HOOK(RemoveDirectoryW, HookRemoveFolder<wchar_t>),
      KVIL_HOOK(CreateFileA, HookCreateFile<char>),
      KVIL_HOOK(CreateFileW, HookCreateFile<wchar_t>),
      KVIL_HOOK(fopen, HookOpenStream),
      KVIL_HOOK(WritePrivateProfileStringA, HookWritePrivateProfile<char>),
      KVIL_HOOK(WritePrivateProfileStringW, HookWritePrivateProfile<wchar_t>),
      KVIL_HOOK(WriteProfileStringA, HookWriteProfile<char>),
      KVIL_HOOK(WriteProfileStringW, HookWriteProfile<wchar_t>),
  };
  return hooks;
}

}  // namespace kvilhosts
