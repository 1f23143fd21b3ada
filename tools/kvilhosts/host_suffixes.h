// Every host suffix a caller of the library may bind, in the order the survey
// reports them. The library keeps no registry of its hosts (callers bind the six
// exports by name), so the survey carries its own list; a suffix whose exports
// the DLL lacks is one that is not built yet, not an error.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace kvilhosts {

inline constexpr auto kHostSuffixes = std::to_array<std::string_view>({
    // Word, Excel, PowerPoint and Access, 95 to 2013.
    "WW70", "WW80", "WW90", "WW100", "WW11", "WW12", "WW14", "WW15",
    "EX70", "EX80", "EX90", "EX100", "EX11", "EX12", "EX14", "EX15",
    "PP70", "PP80", "PP90", "PP100", "PP11", "PP12", "PP14", "PP15",
    "ACC70", "ACC80", "ACC90", "ACC100", "ACC11", "ACC12", "ACC14", "ACC15",
    // Outlook, FrontPage, Publisher, InfoPath, OneNote.
    "OUTL97", "OUTL2000", "OUTL2002", "OUTL11", "OUTL12", "OUTL14", "OUTL15",
    "FPAGE97", "FPAGE98",
    "FPAGE2000", "FPAGE2002", "FPAGE11", "FPAGE12", "FPAGE14", "FPAGE15",
    "MSPub98", "MSPub90", "MSPub100", "MSPub11", "MSPub12", "MSPub14", "MSPub15",
    "InfoPath11", "InfoPath12", "InfoPath14", "InfoPath15",
    "OneNote14", "OneNote15",
    // Works, FoxPro and the older mail clients.
    "WK40", "WK45", "VFP30", "EXCH40", "MAIL",
    // Mail clients and browsers.
    "OUTL_EXPR", "OUTL_EXPR5", "WinMail7", "WLMail8",
    "IE", "IE60", "IE70", "Opera90", "FireFox20", "TheBat50",
    // Publishing and word processing.
    "WP70", "WP80", "WP90",
    "WPRO96", "WPRO97", "WPRO2000",
    "CDRW60",
    "PM60", "PM65", "PM70",
    "QXS40",
    "InDesign6", "InDesign7", "InDesign75", "InDesign8", "InDesign10",
    "InCopy6", "InCopy7", "InCopy75", "InCopy8", "InCopy10",
    "LibreOffice3", "LibreOffice4", "OpenOffice3", "OpenOffice4",
    // The product's own front ends, and the catch-all host.
    "AGENT", "STDSP", "Editor", "Unknown",
});

constexpr char AsciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

inline std::string AsciiLowered(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = AsciiLower(c);
  return lower;
}

constexpr bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (AsciiLower(a[i]) != AsciiLower(b[i])) return false;
  }
  return true;
}

// The table's spelling of a suffix typed in any case: export names are bound
// exactly as the table spells them.
constexpr std::optional<std::string_view> FindHostSuffix(std::string_view typed) {
  for (std::string_view suffix : kHostSuffixes) {
    if (EqualsIgnoringCase(suffix, typed)) return suffix;
  }
  return std::nullopt;
}

constexpr bool SuffixesDistinctIgnoringCase() {
  for (std::size_t i = 0; i < kHostSuffixes.size(); ++i) {
    for (std::size_t j = i + 1; j < kHostSuffixes.size(); ++j) {
      if (EqualsIgnoringCase(kHostSuffixes[i], kHostSuffixes[j])) return false;
    }
  }
  return true;
}
// Typed suffixes are matched without regard to case, so two rows must never
// differ by case alone.
static_assert(SuffixesDistinctIgnoringCase());

}  // namespace kvilhosts
