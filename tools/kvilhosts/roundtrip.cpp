#include "roundtrip.h"

#include <array>

#include "host_suffixes.h"
#include "key_location.h"

namespace kvilhosts {
namespace {

using Subject = Difference::Subject;

// Every host: a record is never deleted, detach only clears "Attached".
constexpr Leftover kRecords[] = {
    {Subject::kValue, R"(HKLM\SOFTWARE\Tervane\Kvil\*\Products\*\*\*\*)", "Attached", "REG_DWORD 0",
     "detach clears the attachment record's flag"},
    {Subject::kValue, R"(HKLM\SOFTWARE\Tervane\Kvil\*\Products\*\*\*\*)", "*", "",
     "the attachment record keeps its options after detach"},
};

constexpr Leftover kSharedRegistration[] = {
    {Subject::kValue, R"(HKLM\SOFTWARE\Microsoft\Shared Tools\Proofing Tools\*\*\Normal)", "*", "",
     "detach leaves the shared proofing registration naming the product"},
    {Subject::kValue, R"(HKLM\SOFTWARE\Tervane\Kvil\*\Saved connections\*\*\Normal)", "*", "",
     "the saved copy of the registration the product replaced is kept"},
};

constexpr Leftover kApplicationRecord[] = {
    {Subject::kValue, R"(HKLM\SOFTWARE\Tervane\Kvil\*\Products\*\*)", "*", "",
     "the application record stays after detach"},
};

constexpr Leftover kInstallerComponents[] = {
    {Subject::kValue, R"(HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Installer\**\Components\*)", "*", "",
     "detach leaves Office's Installer components naming the product, their former paths saved beside them"},
};

constexpr Leftover kOfficeHostLanguages[] = {
    {Subject::kValue, R"(HKCU\Software\Microsoft\Office\*\Excel\Spell Checker)", "Speller", "",
     "detach does not put Excel's own speller language back"},
    {Subject::kValue, R"(HKCU\SOFTWARE\Microsoft\Office\*\Access\*)", "Language ID", "",
     "detach does not put Access's own speller language back"},
    {Subject::kValue, R"(HKCU\SOFTWARE\Microsoft\Office\*\*\*)", "DefaultLanguage", "",
     "detach does not put the application's own speller language back"},
};

constexpr Leftover kTahomaKept[] = {
    {Subject::kIniEntry, "win.ini", R"([FontSubstitutes] "Tahoma,0")", "",
     "Access restores Tahoma only from an Office XP record"},
};

constexpr Leftover kModernOffice[] = {
    {Subject::kValue, R"(HKCR\Installer\Components\*)", "*", "",
     "switching Microsoft's tool back in lists it without the product's entry and keeps the saved list"},
    {Subject::kFile, R"(**\msproof*.dll)", "", "",
     "Office's proofing-tool module is put back by DetachOffice12, 14 or 15, not by the host's detach"},
};

constexpr Leftover kProofFilesSwitchedOut[] = {
    {Subject::kFile, R"(**\PROOF\**)", "", "", "PowerPoint 2013's detach leaves Microsoft's tools switched out"},
};

constexpr Leftover kInDesignFiles[] = {
    {Subject::kValue, R"(HKLM\SOFTWARE\Tervane\Kvil\*\Products\*\*\*)", "Detachable", "",
     "the tool key keeps its Detachable mark"},
    {Subject::kFile, R"(**\Plug-ins\Tervane)", "", "", "the plug-in stays until RemoveInDesign or RemoveInCopyPln"},
    {Subject::kFile, R"(**\Plug-ins\Tervane\**)", "", "", "the plug-in stays until RemoveInDesign or RemoveInCopyPln"},
    {Subject::kFile, R"(**\Scripts\Startup scripts)", "", "",
     "the start-up script stays until RemoveInDesign or RemoveInCopyPln"},
    {Subject::kFile, R"(**\Scripts\Startup scripts\TervaneSpeller.jsx)", "", "",
     "the start-up script stays until RemoveInDesign or RemoveInCopyPln"},
};

constexpr Leftover kFirefoxFixedRecord[] = {
    {Subject::kValue, R"(HKLM\SOFTWARE\Tervane\Kvil\9.0\Products\FIREFOX\2.0\Spelling\*)", "*", "",
     "Firefox files its options under product 9.0, where detach does not clear them"},
};

constexpr Leftover kEditorShortcut[] = {
    {Subject::kFile, R"(**\*.lnk)", "", "",
     "the Editor's detach moves its Start-menu shortcut into the start-up folder, and attach never moves it back"},
};

using Rows = std::span<const Leftover>;

struct DocumentedFamily {
  std::string_view suffixes;  // separated by blanks
  std::array<Rows, 6> leftovers;
};

constexpr DocumentedFamily kFamilies[] = {
    {"Editor", {kApplicationRecord, kEditorShortcut}},
    {"WW70 WW80 EX70 EX80 PP70 PP80 ACC70 ACC80 OUTL97 MSPub98", {kSharedRegistration, kTahomaKept}},
    {"WW90 WW100 WW11 EX90 EX100 EX11 PP90 PP100 PP11 ACC90 ACC100 ACC11 OUTL2000 OUTL2002 OUTL11 "
     "MSPub90 MSPub100 MSPub11 InfoPath11",
     {kSharedRegistration, kInstallerComponents, kApplicationRecord, kOfficeHostLanguages, kTahomaKept}},
    {"WW12 EX12 PP12 ACC12 OUTL12 MSPub12 FPAGE12 InfoPath12 "
     "WW14 EX14 PP14 ACC14 OUTL14 MSPub14 FPAGE14 InfoPath14 OneNote14 "
     "WW15 EX15 ACC15 OUTL15 MSPub15 FPAGE15 InfoPath15 OneNote15",
     {kSharedRegistration, kInstallerComponents, kApplicationRecord, kOfficeHostLanguages, kTahomaKept,
      kModernOffice}},
    {"PP15", {kSharedRegistration, kInstallerComponents, kApplicationRecord, kModernOffice, kProofFilesSwitchedOut}},
    {"InDesign6 InDesign7 InDesign75 InDesign8 InDesign10 InCopy6 InCopy7 InCopy75 InCopy8 InCopy10",
     {kApplicationRecord, kInDesignFiles}},
    {"LibreOffice3 LibreOffice4 OpenOffice3 OpenOffice4", {kApplicationRecord}},
    {"FireFox20", {kFirefoxFixedRecord}},
    {"OUTL_EXPR OUTL_EXPR5 WinMail7 WLMail8", {kSharedRegistration, kInstallerComponents, kApplicationRecord}},
    {"IE IE60 IE70 Opera90 TheBat50", {kSharedRegistration, kApplicationRecord}},
};

bool NamesSuffix(std::string_view suffixes, std::string_view suffix) {
  while (!suffixes.empty()) {
    const std::size_t blank = suffixes.find(' ');
    if (EqualsIgnoringCase(suffixes.substr(0, blank), suffix)) return true;
    suffixes.remove_prefix(blank == std::string_view::npos ? suffixes.size() : blank + 1);
  }
  return false;
}

// The table names keys as the library names them; the report names each as
// the registry keeps it, below the view's node when the library reached it in
// the 32-bit view. Either way it is the same leftover.
std::string WithoutViewNode(std::string_view key) {
  std::string kept;
  while (!key.empty()) {
    const std::size_t slash = key.find('\\');
    const std::string_view component = key.substr(0, slash);
    if (!EqualsIgnoringCase(component, kThirtyTwoBitNode)) {
      if (!kept.empty()) kept += '\\';
      kept += component;
    }
    key.remove_prefix(slash == std::string_view::npos ? key.size() : slash + 1);
  }
  return kept;
}

bool Matches(const Leftover& leftover, const Difference& difference) {
  const std::string where =
      difference.subject == Subject::kValue ? WithoutViewNode(difference.where) : difference.where;
  return leftover.subject == difference.subject && MatchesPattern(leftover.where, where) &&
         (leftover.name == "*" || MatchesPattern(leftover.name, difference.name)) &&
         (leftover.after.empty() || leftover.after == difference.after);
}

std::string Plural(std::size_t count, std::string_view word) {
  return std::to_string(count) + " " + std::string(word) + (count == 1 ? "" : "s");
}

}  // namespace

bool MatchesPattern(std::string_view pattern, std::string_view text) {
  if (pattern.empty()) return text.empty();
  if (pattern.starts_with("**")) {
    for (std::size_t skip = 0; skip <= text.size(); ++skip) {
      if (MatchesPattern(pattern.substr(2), text.substr(skip))) return true;
    }
    return false;
  }
  if (pattern.front() == '*') {
    for (std::size_t skip = 0; skip <= text.size(); ++skip) {
      if (MatchesPattern(pattern.substr(1), text.substr(skip))) return true;
      if (skip < text.size() && text[skip] == '\\') break;
    }
    return false;
  }
  return !text.empty() && AsciiLower(pattern.front()) == AsciiLower(text.front()) &&
         MatchesPattern(pattern.substr(1), text.substr(1));
}

std::vector<const Leftover*> LeftoversOf(std::string_view suffix) {
  std::vector<const Leftover*> leftovers;
  for (const DocumentedFamily& family : kFamilies) {
    if (!NamesSuffix(family.suffixes, suffix)) continue;
    for (const Rows rows : family.leftovers) {
      for (const Leftover& row : rows) leftovers.push_back(&row);
    }
  }
  for (const Leftover& row : kRecords) leftovers.push_back(&row);
  return leftovers;
}

std::vector<ClassifiedDifference> Classify(std::vector<Difference> differences,
                                           std::span<const Leftover* const> leftovers) {
  std::vector<ClassifiedDifference> classified;
  classified.reserve(differences.size());
  for (Difference& difference : differences) {
    const Leftover* documented = nullptr;
    for (const Leftover* leftover : leftovers) {
      if (Matches(*leftover, difference)) {
        documented = leftover;
        break;
      }
    }
    classified.push_back({std::move(difference), documented});
  }
  return classified;
}

std::string FormatRoundtripReport(std::span<const ClassifiedDifference> differences) {
  std::string report;
  std::size_t unexpected = 0;
  for (const ClassifiedDifference& item : differences) {
    const Difference& difference = item.difference;
    report += item.leftover != nullptr ? "expected: " : "unexpected: ";
    report += difference.ItemText() + ": " + difference.before + " -> " + difference.after;
    if (item.leftover != nullptr) {
      report += " (" + std::string(item.leftover->reason) + ")";
    } else {
      ++unexpected;
    }
    report += '\n';
  }
  if (differences.empty()) return "no differences after detach\n";
  return report + Plural(differences.size(), "difference") + " after detach: " +
         std::to_string(differences.size() - unexpected) + " documented, " + std::to_string(unexpected) +
         " unexpected\n";
}

}  // namespace kvilhosts
