// What the Microsoft hosts (Office 95 to 2013, FrontPage, Works and the older
// mail clients) share: the answers to tool kinds a host does not take, the files
// Attach needs, Check and Avail against the shared proofing-tools registration,
// Access's Tahoma substitute, the record of the application itself, and the
// Detach that gives a host its language back.
#pragma once

#include <windows.h>

#include <cstdint>
#include <initializer_list>
#include <optional>

#include "bounded_text.h"
#include "conditions.h"
#include "contract.h"
#include "files.h"
#include "records.h"

namespace kvil::office {

inline constexpr int kRussian = 1049;
inline constexpr int kUkrainian = 1058;
inline constexpr int kUsEnglish = 1033;

constexpr unsigned Kinds(std::initializer_list<int> kinds) {
  unsigned mask = 0;
  for (int kind : kinds) mask |= 1u << kind;
  return mask;
}
inline constexpr unsigned kAllKinds = Kinds({kSpeller, kGrammar, kThesaurus, kHyphenator});
inline constexpr unsigned kSpellerOnly = Kinds({kSpeller});

constexpr bool TakesKind(unsigned kinds, int kind) { return IsToolKind(kind) && (kinds & (1u << kind)) != 0; }

// Nothing when the host takes the kind; "not applicable" for another kind of
// 0..3; outsideAnswer for anything else.
std::optional<HostResult> RefuseKind(unsigned kinds, int kind, HostResult outsideAnswer);

// The key a host's setup leaves behind, as a one-entry installation condition.
#define KVIL_KEY_PRESENT(root, path)                                 \
  {{kRegistryCondition, root, path, nullptr, nullptr, nullptr},      \
   {kEndOfConditions, nullptr, nullptr, nullptr, nullptr, nullptr}}

// Where a host's attachment record lives.
struct HostRecord {
  const char* applicationKey;
  const char* version;
  int generation;
};

// The work buffers of an Attach: the product's start-up folder for the language,
// the engine file, its "NORM" lexicon (260 each) and the record key (520).
class AttachFiles {
 public:
  // false (after the allocation message) when a buffer could not be had.
  bool Allocate();
  // Finds the start-up folder and builds the file names; false without a folder.
  bool Find(int kind, int lcid);
  // The record key for the host's tool and language; false when it does not fit.
  bool BuildRecord(const HostRecord& record, int kind, int lcid);

  char* folder() const { return folder_.data(); }
  const char* engine() const { return engine_.data(); }
  const char* lexicon() const { return lexicon_.data(); }
  const char* recordKey() const { return recordKey_.data(); }

 private:
  WorkBuffer folder_;
  WorkBuffer engine_;
  WorkBuffer lexicon_;
  WorkBuffer recordKey_;
};

// Avail of the Office hosts: the host must be there (existAnswer non-zero)
// and the engine and lexicon in the product's start-up folder.
HostResult AvailInStartupFolder(int kind, int lcid, HostResult existAnswer);

// "Attached" reads 1 and the shared registration names the product's engine.
HostResult CheckSharedRegistration(const HostRecord& record, int kind, int lcid);

// Detach of a host that keeps its own language: the record says not attached;
// a host no longer there needs nothing more; otherwise the language saved in the
// record goes back with putBack, and when that cannot be done the record says
// attached again.
template <typename HostExists, typename PutBack>
HostResult DetachRestoringLanguage(const HostRecord& record, int kind, int lcid, HostExists&& hostExists,
                                   PutBack&& putBack) {
  const int cleared = SetAttachedFlag(kind, lcid, record.applicationKey, record.version, record.generation, 0);
  if (!hostExists()) return 1;
  const DWORD saved =
      ReadSavedLID(record.applicationKey, record.version, ToolKeyName(kind, record.generation), lcid);
  if (saved != 0 && cleared && putBack(static_cast<int>(saved))) return 1;
  SetAttachedFlag(kind, lcid, record.applicationKey, record.version, record.generation, 1);
  return 0;
}

// Access draws Tahoma with the Cyrillic character set once "Tahoma,0" is
// substituted by "Tahoma,204" in the user's profile. The entry it replaces is
// kept in the record, unless it was that already or absent.
class TahomaSubstitute {
 public:
  // Only for Russian and Ukrainian.
  void Apply(int lcid);
  void StoreOriginal(const char* recordKey) const;
  // Every Access module puts the entry back from the Access 2002 record, and only
  // while the other language is not attached there.
  static void Restore(int kind, int lcid);

 private:
  char original_[kPathCapacity] = {};
  bool applied_ = false;
};

// Office 2003 and later record the application itself under
// "...\Products\<application key>\<version>.0": "Path" is that Office's folder
// (Word's install root, else the Common one) with "<application key>.exe", "Name"
// the display name. Failures are not reported: the record only informs the product.
void WriteOfficeApplicationRecord(int officeVersion, const char* applicationKey, const char* displayName);

}  // namespace kvil::office
