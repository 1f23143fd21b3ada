#include "every_host.h"

#include "browser_fixture.h"
#include "frontpage_fixture.h"
#include "indesign_fixture.h"
#include "mail_fixture.h"
#include "office_fixture.h"
#include "open_office_fixture.h"
#include "quark_fixture.h"
#include "registry_probe.h"
#include "replacement_fixture.h"
#include "version_fixture.h"

namespace kvil::machine {
namespace {

constexpr int kEnglishUs = 1033;
constexpr int kEnglishUk = 2057;

// Office 95 and 97, Outlook 97 and Publisher 98, spelling in British English.
void InstallOffice95And97(const std::string& root) {
  const std::string office97 = root + "\\Office97";
  CreateFolder(office97);
  InstallWord95();
  InstallExcel95(kEnglishUk);
  InstallPowerPoint95(kEnglishUk);
  InstallAccess95(kEnglishUk);
  InstallWord97(office97);
  InstallExcel97(office97, kEnglishUk);
  InstallPowerPoint97(office97);
  InstallAccess97(office97, kEnglishUk);
  InstallOutlook97(root + "\\Outlook97", kEnglishUk, 8, 5);
  InstallPublisher98();
  WriteTahomaSubstitute("Tahoma,0");
}

// Office 2000, XP and 2003 in one folder each, with Office 2000's Russian
// speller as its Installer registered it.
void InstallOffice2000To2003(const std::string& root) {
  const struct {
    int version;
    const char* folder;
  } releases[] = {{9, "Office9"}, {10, "Office10"}, {11, "Office11"}};
  for (const auto& release : releases) {
    const std::string folder = root + "\\" + release.folder;
    CreateFolder(folder);
    for (const char* application : {"Word", "Excel", "PowerPoint", "Access", "Outlook", "Publisher"}) {
      InstallOfficeApplication(release.version, application, folder);
    }
  }
  InstallOfficeApplication(11, "InfoPath", root + "\\Office11");
  RegisterOffice2000RussianSpeller(root + "\\Office9\\Proof");
}

void InstallFrontPages(const std::string& root) {
  InstallFrontPage97(kEnglishUs);
  InstallFrontPage98(kEnglishUs);
  InstallFrontPage2000(root + "\\Office9", kEnglishUs);
  InstallFrontPage2002(root + "\\Office10", kEnglishUs);
  InstallFrontPage2003(root + "\\Office11", kEnglishUs);
}

// Works 4 with British English listed and chosen; FoxPro, Exchange and Internet
// Mail with their keys and British English where they keep a language.
void InstallWorksAndMail() {
  constexpr char works[] = "SOFTWARE\\Microsoft\\Works\\4.0\\MS Proofing Tools";
  WriteText(HKEY_LOCAL_MACHINE, works, "SpellDict1", "English (United Kingdom):Spelling 2057,0");
  WriteText(HKEY_LOCAL_MACHINE, works, "ThesDict1", "English (United Kingdom):Thesaurus 2057,0");
  WriteText(HKEY_CURRENT_USER, works, "SpellDefault", "Spelling 2057,0");
  WriteText(HKEY_CURRENT_USER, works, "ThesDefault", "Thesaurus 2057,0");
  CreateKey(HKEY_CURRENT_USER, "Software\\Microsoft\\VisualFoxPro\\3.0");
  WriteText(HKEY_CURRENT_USER, "Software\\Microsoft\\Exchange\\Client\\Options", "DictionaryLangId", "2057");
  WriteText(HKEY_CURRENT_USER, "Software\\Microsoft\\Internet Mail and News", "SpellLangID", "2057");
}

void InstallPublishing(const std::string& root, const InstalledProduct& product) {
  const std::string productDir = product.options.productDir;
  for (const int lcid : product.options.languages) {
    WriteReplacementModules(product.StartupDir(lcid));
    InstallProductXTensions(product.StartupDir(lcid));
  }
  InstallCorelDraw6(root + "\\Corel60\\Config", "..\\Programs", root + "\\Corel60\\Programs");
  InstallWordProSpeller("3.0", "ltspln03.dll", root + "\\Lotus96\\Spell\\", root + "\\Lotus96\\Spell");
  InstallWordProSpeller("4.0", "ltspln04.dll", root + "\\Lotus97\\Spell\\", root + "\\Lotus97\\Spell");
  InstallWordProSpeller("4.1", "ltspln41.dll", root + "\\Lotus2000\\Spell\\", root + "\\Lotus2000\\Spell");
  InstallPageMaker("SOFTWARE\\Adobe\\PageMaker", "PM6.exe", 6, 0, root + "\\PM6", "RSRC\\USENGLSH");
  InstallPageMaker("SOFTWARE\\Adobe\\PageMaker65", "PM65.exe", 6, 5, root + "\\PM65", "RSRC\\USENGLSH");
  InstallPageMaker("SOFTWARE\\Adobe\\PageMaker70", "PM70.exe", 7, 0, root + "\\PM70", "RSRC\\USENGLSH");
  InstallQuarkXPress({.folder = root + "\\QuarkXPress"});
  WriteProductPlugins(productDir);
  InstallAdobeApplication(AdobeApplication::kInDesign, root + "\\InDesign CS6", 8, 0);
  InstallAdobeApplication(AdobeApplication::kInCopy, root + "\\InCopy CS5", 7, 0);
}

void InstallSuitesBrowsersAndMail(const std::string& root, const InstalledProduct& product) {
  const std::string productDir = product.options.productDir;
  WriteProductExtension(productDir);
  InstallOfficeSuite(SuiteFamily::kLibreOffice, "4.1.0", root + "\\LibreOffice 4");
  InstallOfficeSuite(SuiteFamily::kOpenOffice, "3.4.1", root + "\\OpenOffice 3");

  WriteBrowserProductFiles(productDir);
  InstallFirefox2(root + "\\Firefox");
  InstallFirefoxProductModule(root + "\\Kvil9");
  InstallInternetExplorer8(root + "\\IE8");
  InstallInternetExplorer6(root + "\\IE6");
  InstallInternetExplorer7(root + "\\IE7\\ie7.exe");
  InstallOpera9(root + "\\Opera");

  InstallOutlookExpress4(root + "\\Outlook Express 4");
  InstallOutlookExpress5(root + "\\Outlook Express");
  InstallWindowsMail(root + "\\Windows Mail");
  InstallWindowsLiveMail(root + "\\Windows Live Mail");
  InstallTheBat(root + "\\The Bat!\\thebat.exe");
}

// The Agent and the Standard speller beside the engines, with their shortcuts.
void InstallProductPrograms(const InstalledProduct& product) {
  for (const int lcid : product.options.languages) {
    for (const char* file : {"kvlagent.exe", "kvilhook.dll", "kvilxsp3.dll", "kvlstdsp.exe"}) {
      WriteFile(product.StartupDir(lcid) + "\\" + file, file);
    }
  }
  CreateShortcut(product.options.menuDir + "\\Kvil Agent.lnk", product.options.productDir + "\\kvlagent.exe");
  CreateShortcut(product.options.menuDir + "\\Kvil Speller.lnk", product.options.productDir + "\\kvlstdsp.exe");
}

}  // namespace

InstalledProduct InstallEveryHost(const std::string& root) {
  ProductOptions options;
  options.productDir = root + "\\Kvil";
  options.menuDir = root + "\\Start Menu\\Kvil";
  const InstalledProduct product = InstallProduct(options);
  InstallProductPrograms(product);
  InstallOffice95And97(root);
  InstallOffice2000To2003(root);
  InstallFrontPages(root);
  InstallWorksAndMail();
  for (const int version : {12, 14, 15}) InstallModernOffice(version, root + "\\Office" + std::to_string(version));
  InstallPublishing(root, product);
  InstallSuitesBrowsersAndMail(root, product);
  return product;
}

}  // namespace kvil::machine
