#include "registry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "frame_test.h"

namespace kvil::test {
namespace {

using RegistryPrimitives = FrameTest;

// Gives a key an explicit two-entry DACL: read for Everyone, full for the
// Administrators group.
std::vector<std::uint8_t> SetTwoEntryDacl(const std::string& path) {
  SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
  SID_IDENTIFIER_AUTHORITY nt = SECURITY_NT_AUTHORITY;
  PSID everyone = nullptr;
  PSID administrators = nullptr;
  EXPECT_TRUE(AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &everyone));
  EXPECT_TRUE(AllocateAndInitializeSid(&nt, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0,
                                       0, &administrators));
  std::vector<std::uint8_t> acl(256);
  auto* dacl = reinterpret_cast<ACL*>(acl.data());
  EXPECT_TRUE(InitializeAcl(dacl, static_cast<DWORD>(acl.size()), ACL_REVISION));
  EXPECT_TRUE(AddAccessAllowedAce(dacl, ACL_REVISION, KEY_READ, everyone));
  EXPECT_TRUE(AddAccessAllowedAce(dacl, ACL_REVISION, KEY_ALL_ACCESS, administrators));
  SECURITY_DESCRIPTOR descriptor;
  InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
  SetSecurityDescriptorDacl(&descriptor, TRUE, dacl, FALSE);
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  EXPECT_EQ(RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, &descriptor), ERROR_SUCCESS);
  RegCloseKey(key);
  FreeSid(everyone);
  FreeSid(administrators);
  return acl;
}

std::vector<std::uint8_t> AceBytes(const ACL* acl, DWORD index) {
  void* ace = nullptr;
  if (!GetAce(const_cast<ACL*>(acl), index, &ace)) return {};
  auto* bytes = static_cast<const std::uint8_t*>(ace);
  return {bytes, bytes + static_cast<const ACE_HEADER*>(ace)->AceSize};
}

TEST_F(RegistryPrimitives, NewKeysGetACopyOfTheNearestAncestorsDacl) {
  std::vector<std::uint8_t> ancestorAcl = SetTwoEntryDacl("SOFTWARE\\Ancestor");
  auto* ancestorDacl = reinterpret_cast<const ACL*>(ancestorAcl.data());

  InheritedKeySecurity security(HKEY_LOCAL_MACHINE, "SOFTWARE\\Ancestor\\One\\Two\\Three");
  const ACL* copy = security.Dacl();
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->AclRevision, ACL_REVISION2);
  EXPECT_EQ(copy->AclSize, ancestorDacl->AclSize);
  ASSERT_EQ(copy->AceCount, 2);
  for (DWORD index = 0; index < 2; ++index) EXPECT_EQ(AceBytes(copy, index), AceBytes(ancestorDacl, index));

  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  ACL* described = nullptr;
  ASSERT_TRUE(GetSecurityDescriptorDacl(security.Attributes()->lpSecurityDescriptor, &present, &described, &defaulted));
  EXPECT_TRUE(present);
  EXPECT_EQ(described, copy);
  EXPECT_FALSE(security.Attributes()->bInheritHandle);
}

TEST_F(RegistryPrimitives, ExistingKeyOrNoAncestorGetsANullDacl) {
  SetTwoEntryDacl("SOFTWARE\\Ancestor");
  EXPECT_EQ(InheritedKeySecurity(HKEY_LOCAL_MACHINE, "SOFTWARE\\Ancestor").Dacl(), nullptr);
  EXPECT_EQ(InheritedKeySecurity(HKEY_LOCAL_MACHINE, "Nowhere\\At\\All").Dacl(), nullptr);
}

TEST_F(RegistryPrimitives, SetValueCreatesEveryMissingLevel) {
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Base");
  DWORD value = 7;
  EXPECT_EQ(RegSetValueOpen(HKEY_LOCAL_MACHINE, "SOFTWARE\\Base\\A\\B\\C", "Attached", REG_DWORD, &value,
                            sizeof value),
            ERROR_SUCCESS);
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Base\\A"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Base\\A\\B"));
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, "SOFTWARE\\Base\\A\\B\\C", "Attached"), 7u);
  EXPECT_EQ(RegSetValueOpenPlain(HKEY_CURRENT_USER, "Software\\Plain", "Name", REG_SZ, "x", 2), ERROR_SUCCESS);
  EXPECT_EQ(ReadValue(HKEY_CURRENT_USER, "Software\\Plain", "Name"), SzValue("x", true));
}

TEST_F(RegistryPrimitives, SetStringWritesRegSzUnderTheMachineKey) {
  EXPECT_EQ(RegSetString("SOFTWARE\\Tervane\\Kvil\\8.0\\Products\\KVILEDITOR\\8.0", "Name", "Kvil Editor"), 1);
  // The length passed leaves the terminator out; the platform counts it back in.
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tervane\\Kvil\\8.0\\Products\\KVILEDITOR\\8.0", "Name"),
            SzValue("Kvil Editor", true));
}

TEST_F(RegistryPrimitives, GetValueExpandsOnlyExpandStrings) {
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Paths", "Plain", "%WINDIR%\\x", REG_SZ);
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Paths", "Expand", "%WINDIR%\\x", REG_EXPAND_SZ);
  char expected[260];
  DWORD expectedCount = ExpandEnvironmentStringsA("%WINDIR%\\x", expected, sizeof expected);

  char text[260];
  DWORD length = sizeof text;
  DWORD type = 0;
  ASSERT_EQ(RegGetValueExpand(HKEY_LOCAL_MACHINE, "SOFTWARE\\Paths", "Plain", text, &length, &type), ERROR_SUCCESS);
  EXPECT_STREQ(text, "%WINDIR%\\x");
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(length, 11u);

  length = sizeof text;
  ASSERT_EQ(RegGetValueExpandPlain(HKEY_LOCAL_MACHINE, "SOFTWARE\\Paths", "Expand", text, &length, &type),
            ERROR_SUCCESS);
  EXPECT_STREQ(text, expected);
  EXPECT_EQ(type, static_cast<DWORD>(REG_EXPAND_SZ));
  EXPECT_EQ(length, expectedCount);
}

TEST_F(RegistryPrimitives, GetValueReportsMissingKeysAndValues) {
  char text[16];
  DWORD length = sizeof text;
  EXPECT_EQ(RegGetValueExpand(HKEY_LOCAL_MACHINE, "SOFTWARE\\Missing", "x", text, &length, nullptr),
            ERROR_FILE_NOT_FOUND);
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Present");
  EXPECT_EQ(RegGetValueExpand(HKEY_LOCAL_MACHINE, "SOFTWARE\\Present", "x", text, &length, nullptr),
            ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryPrimitives, UnterminatedStringsAreTerminatedOrRefusedWithinTheBuffer) {
  WriteRaw(HKEY_LOCAL_MACHINE, "SOFTWARE\\Raw", "Short", REG_SZ, {'a', 'b', 'c'});
  WriteRaw(HKEY_LOCAL_MACHINE, "SOFTWARE\\Raw", "Exact", REG_SZ, {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'});
  char text[8 + 4];
  std::memset(text, 'g', sizeof text);
  DWORD length = 8;
  ASSERT_EQ(RegGetValueExpand(HKEY_LOCAL_MACHINE, "SOFTWARE\\Raw", "Short", text, &length, nullptr), ERROR_SUCCESS);
  EXPECT_STREQ(text, "abc");
  length = 8;
  EXPECT_EQ(RegGetValueExpand(HKEY_LOCAL_MACHINE, "SOFTWARE\\Raw", "Exact", text, &length, nullptr), ERROR_MORE_DATA);
  EXPECT_EQ(text[0], '\0');
  EXPECT_EQ(std::string(text + 8, 4), "gggg");
}

TEST_F(RegistryPrimitives, DeleteKeyTreeNeedsTheRecursiveFlagForSubkeys) {
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree\\A\\Deep");
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree\\B");
  EXPECT_NE(RegDeleteKeyTree(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree", 0), ERROR_SUCCESS);
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree\\A\\Deep"));
  EXPECT_EQ(RegDeleteKeyTree(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree\\B", 0), ERROR_SUCCESS);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree\\B"));
  EXPECT_EQ(RegDeleteKeyTree(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree", 1), ERROR_SUCCESS);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE"));
  EXPECT_EQ(RegDeleteKeyTree(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree", 1), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryPrimitives, DeleteValueAndEmptyLeaf) {
  WriteDword(HKEY_CURRENT_USER, "Software\\Leaf\\Keep\\Child", "x", 1);
  WriteDword(HKEY_CURRENT_USER, "Software\\Leaf\\Empty", "x", 1);
  EXPECT_EQ(RegDeleteValueAt(HKEY_CURRENT_USER, "Software\\Leaf\\Empty", "x"), ERROR_SUCCESS);
  EXPECT_EQ(ReadDword(HKEY_CURRENT_USER, "Software\\Leaf\\Empty", "x"), std::nullopt);
  EXPECT_EQ(RegDeleteValueAt(HKEY_CURRENT_USER, "Software\\Leaf\\Empty", "x"), ERROR_FILE_NOT_FOUND);

  char withChildren[] = "Software\\Leaf\\Keep";
  EXPECT_EQ(RegDeleteEmptyLeaf(HKEY_CURRENT_USER, withChildren), 0);
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, "Software\\Leaf\\Keep"));
  char empty[] = "Software\\Leaf\\Empty";
  EXPECT_EQ(RegDeleteEmptyLeaf(HKEY_CURRENT_USER, empty), 1);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, "Software\\Leaf\\Empty"));
  EXPECT_STREQ(empty, "Software\\Leaf");
}

TEST_F(RegistryPrimitives, LanguageValuesReadAsDecimalTextOr1033) {
  struct Case {
    const char* what;
    DWORD type;
    std::vector<std::uint8_t> bytes;
    int expected;
    int afterPrefix;  // with the prefix "Word"
  };
  auto text = [](const std::string& s) { return std::vector<std::uint8_t>(s.begin(), s.end() + 1); };
  const Case cases[] = {
      {"number", REG_SZ, text("1049"), 1049, 1033},
      {"number then text", REG_SZ, text("1058\\Normal"), 1058, 1033},
      {"zero", REG_SZ, text("0"), 1033, 1033},
      {"not a number", REG_SZ, text("Normal"), 1033, 1033},
      {"prefixed", REG_SZ, text("Word1049"), 1033, 1049},
      {"a dword", REG_DWORD, {0x19, 0x04, 0, 0}, 1033, 1033},
      {"unterminated", REG_SZ, {'2', '0', '5', '7'}, 2057, 1033},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    WriteRaw(HKEY_CURRENT_USER, "Software\\Lang", "LID", c.type, c.bytes);
    EXPECT_EQ(ReadLIDValue(HKEY_CURRENT_USER, "Software\\Lang", "LID"), c.expected);
    EXPECT_EQ(ReadLIDValueAfterPrefix(HKEY_CURRENT_USER, "Software\\Lang", "LID", "Word"), c.afterPrefix);
  }
  EXPECT_EQ(ReadLIDValue(HKEY_CURRENT_USER, "Software\\Lang", "Missing"), 1033);
}

TEST_F(RegistryPrimitives, StringAndDwordReadersRefuseOtherTypes) {
  WriteDword(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed", "Number", 5);
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed", "Text", "5");
  char text[16];
  DWORD number = 0;
  EXPECT_FALSE(RegReadString(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed", "Number", text, sizeof text));
  EXPECT_FALSE(RegReadDword(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed", "Text", &number));
  EXPECT_TRUE(RegReadDword(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed", "Number", &number));
  EXPECT_EQ(number, 5u);
  EXPECT_EQ(RegKeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed"), 1);
  EXPECT_EQ(RegKeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Untyped"), 0);
}

}  // namespace
}  // namespace kvil::test
