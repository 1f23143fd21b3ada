// Office 2007, 2010 and 2013 find their Russian and Ukrainian grammar checker,
// thesaurus and hyphenator three ways, and the product takes each over while
// keeping what it replaced:
//  - the proofing-tool module in Word's folder ("msproof6.dll" for 2007,
//    "msproof7.dll" after) is replaced by the product's "kvilproof.dll", the
//    original kept once as "msproof6.orig.dll" / "msproof7.orig.dll";
//  - Office 2007 and 2010 list Microsoft's tools and the product's side by side
//    in the Installer's qualified-component values; switching Microsoft's tool
//    out cuts the list down to the product's entry after saving the whole list
//    beside it, switching back puts the list back without the product's entry;
//  - Office 2013 loads fixed file names from its "PROOF" folder; Microsoft's
//    files are moved to "<name>.ORIG" and back.
#pragma once

#include "contract.h"

namespace kvil::modern {

inline constexpr int kOffice2007 = 12;
inline constexpr int kOffice2010 = 14;
inline constexpr int kOffice2013 = 15;

// Microsoft's Russian (or Ukrainian) tool of a kind switched out, so that Office
// uses the product's, or switched back in. 1, or 0 when an Office 2013 file could
// not be moved.
HostResult SwitchOutMicrosoftTool(int officeVersion, int kind, int lcid);
HostResult SwitchBackMicrosoftTool(int officeVersion, int kind, int lcid);

// The Office-wide replacement of the proofing-tool module (Office 2013 first
// switches all of Microsoft's Russian and Ukrainian tools out), and its undo
// (Office 2010 and 2013 first switch them back in).
HostResult AttachOffice(int officeVersion, const char* productDir);
HostResult DetachOffice(int officeVersion);

// The product's grammar checker, thesaurus and hyphenator (Russian, else
// Ukrainian) copied into Office 2013's "PROOF" folder under Microsoft's names,
// each file placed announced in the added-files list.
void CopyGrammar2013();
void CopyThesaurus2013();
void CopyHyphenator2013(int lcid);

}  // namespace kvil::modern
