// GoogleTest fixtures: every test runs on its own scratch machine.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "library_under_test.h"
#include "product_fixture.h"
#include "registry_probe.h"
#include "scratch_machine.h"
#include "version_fixture.h"

namespace kvil::test {

// Scratch registry and folder; InstallDefaultProduct() puts the product (8.0,
// Russian and Ukrainian) under folder().Join("Kvil") with the Start menu under
// folder().Join("Start Menu\\Kvil").
class MachineTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  const ScratchFolder& folder() const { return *folder_; }
  ProductOptions DefaultProductOptions() const;
  const InstalledProduct& InstallDefaultProduct();
  const InstalledProduct& Install(const ProductOptions& options);
  const InstalledProduct& product() const { return *product_; }

 private:
  std::unique_ptr<ScratchRegistry> registry_;
  std::unique_ptr<ScratchFolder> folder_;
  std::optional<InstalledProduct> product_;
};

// MachineTest plus the DLL, loaded after the machine is set up and freed before
// it is torn down.
class LibraryTest : public MachineTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  const LibraryUnderTest& dll() const { return *dll_; }

 private:
  std::unique_ptr<LibraryUnderTest> dll_;
};

}  // namespace kvil::test
