#include "machine_test.h"

namespace kvil::test {

void MachineTest::SetUp() {
  registry_ = std::make_unique<ScratchRegistry>();
  folder_ = std::make_unique<ScratchFolder>();
}

void MachineTest::TearDown() {
  product_.reset();
  const std::string scratchKey = registry_ ? registry_->ScratchPath() : std::string();
  const std::string scratchFolder = folder_ ? folder_->path() : std::string();
  folder_.reset();
  registry_.reset();
  // The real HKCU is back in place here, so these look at the real machine.
  if (!scratchKey.empty()) {
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, scratchKey)) << "scratch key left behind: HKCU\\" << scratchKey;
  }
  if (!scratchFolder.empty()) {
    EXPECT_EQ(GetFileAttributesA(scratchFolder.c_str()), INVALID_FILE_ATTRIBUTES)
        << "scratch folder left behind: " << scratchFolder;
  }
}

ProductOptions MachineTest::DefaultProductOptions() const {
  ProductOptions options;
  options.majorVersion = 8;
  options.productDir = folder().Join("Kvil");
  options.menuDir = folder().Join("Start Menu\\Kvil");
  options.languages = {1049, 1058};
  return options;
}

const InstalledProduct& MachineTest::InstallDefaultProduct() { return Install(DefaultProductOptions()); }

const InstalledProduct& MachineTest::Install(const ProductOptions& options) {
  product_ = InstallProduct(options);
  return *product_;
}

void LibraryTest::SetUp() {
  MachineTest::SetUp();
  dll_ = std::make_unique<LibraryUnderTest>();
}

void LibraryTest::TearDown() {
  dll_.reset();
  MachineTest::TearDown();
}

}  // namespace kvil::test
