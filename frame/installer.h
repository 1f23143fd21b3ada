// Windows Installer component redirection: Office versions installed by the
// Installer find their proofing files through the Installer's component
// registry, one value per installed product holding the path of the component's
// key file. Pointing those values into the product's folder makes Office load
// the product's engine and lexicon; the former paths are kept beside them as
// "Saved by Kvil <n>:<value name>" and written back on restore.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <vector>

#include "bounded_text.h"
#include "contract.h"

namespace kvil {

// A component's value read during an enumeration, its data NUL-terminated
// within the buffer. Values of another type than text, or too long for a path,
// are not read, so that one malformed value never stops the enumeration.
struct EnumeratedValue {
  char name[260];
  char data[kPathCapacity];
  DWORD type;
};
enum class EnumResult { kRead, kSkipped, kEnd };
EnumResult EnumerateTextValue(HKEY key, DWORD index, EnumeratedValue& value);

// One row of the component table: the Installer components of Office's own
// proofing files for a tool, language and Office version. Codes are packed.
struct InstallerComponentRow {
  int kind;           // 0 speller, 1 grammar, 3 hyphenator (kind 4 is read as 3)
  int lcid;
  int officeVersion;  // 9, 10, 11, 12, 14, 15
  const char* engineComponent;
  const char* lexiconComponent;
  // The packed product code whose value names the component's path; its first
  // eight characters are replaced by each localized product's prefix.
  const char* engineValueName;
  const char* lexiconValueName;
};

// The row for a tool, language and Office version; null when there is none.
const InstallerComponentRow* FindInstallerComponentRow(int kind, int lcid, int officeVersion);

// The key under HKEY_LOCAL_MACHINE that holds the components, without the final
// "\<packed component>": the plain "Installer\Components", the local system's
// "UserData\S-1-5-18\Components", or a user's "UserData\<SID>\Components".
PathText ComponentKeyBase(int officeVersion);
// ComponentKeyBase + "\" + packed component; false when it does not fit.
bool ComponentKey(int officeVersion, const char* packedComponent, PathText& key);

// The packed prefixes ("91400000" for {00000419-...}) of the installed products
// whose product code starts with a locale identifier, the Office 2000 style.
using ProductPrefix = std::array<char, 9>;
std::vector<ProductPrefix> BuildLocalizedProductList();
// A value named by such a product: 32 characters starting with one of the prefixes.
bool IsLocalizedProductValue(const char* valueName, const std::vector<ProductPrefix>& products);

// Points the localized product values of one component key at newData, keeping
// each former path once; or, restoring, writes the kept paths back and removes
// values that point into productDir. 1 or 0.
int ReplaceProductValues(const char* componentKey, const char* valueName, const char* newData,
                         const char* productDir, bool restore, const std::vector<ProductPrefix>& products);

// Both components of a row: the engine (file1) and the lexicon (file2).
int RedirectComponents(const char* directory, const char* file1, const char* file2, const char* component1,
                       const char* valueName1, const char* component2, const char* valueName2, int restore,
                       int officeVersion);

// 1 when the table has a row and the redirection ran, kNotApplicable when it has
// none, 0 for a missing argument or one longer than a path can be.
HostResult RegisterOffice90(int kind, int lcid, const char* productDir, const char* engineFile,
                            const char* lexiconFile, int restore, int officeVersion);

}  // namespace kvil
