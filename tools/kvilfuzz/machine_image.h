// The seeded machine every run starts from, kept where the child processes find
// it, and the machine a child's runs use: its hives redirected to keys of its own
// and refilled from the image, its folder copied back before each run.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>

#include "frontpage_fixture.h"
#include "handles.h"
#include "office_fixture.h"
#include "scratch_machine.h"

namespace kvilfuzz {

// The three hives a machine's registry consists of, in the order the image
// keeps them.
enum class Hive { kMachine, kUser, kClasses };
inline constexpr Hive kHives[] = {Hive::kMachine, Hive::kUser, Hive::kClasses};
HKEY PredefinedKey(Hive hive);
// "HKLM", "HKCU", "HKCR": the image's subkey names and the prefix of a value's
// description.
const char* HiveName(Hive hive);

// Where an image lives. registryPath is under the real HKCU and holds the seeded
// hives ("HKLM", "HKCU", "HKCR") and those a child's runs use ("run\HKLM", ...).
// folder holds the machine's files at the path its registry names ("machine"),
// their pristine copy ("pristine"), and what the hosts keep in the Windows folder
// ("windows\frontpg.ini", "windows\tahoma.txt"), each absent when the seeded
// machine had none.
struct ImageLocation {
  std::string registryPath;
  std::string folder;

  std::string MachineFolder() const { return folder + "\\machine"; }
  std::string PristineFolder() const { return folder + "\\pristine"; }
  std::string SavedFrontPageIni() const { return folder + "\\windows\\frontpg.ini"; }
  std::string SavedTahomaSubstitute() const { return folder + "\\windows\\tahoma.txt"; }
};

// The supervisor's image: the product and every host seeded into hives under the
// real HKCU (this process's own hives are redirected only while seeding) and
// into a scratch folder. frontpg.ini and win.ini's Tahoma substitute, which the
// seeding and the runs change in the real Windows folder, are put back as they
// were when the image goes. Throws when the machine cannot be seeded.
class SeededImage {
 public:
  SeededImage();
  SeededImage(const SeededImage&) = delete;
  SeededImage& operator=(const SeededImage&) = delete;
  ~SeededImage();

  const ImageLocation& location() const { return location_; }

 private:
  kvil::machine::FrontPageIniGuard frontPageIni_;
  kvil::machine::FontSubstituteGuard tahoma_;
  kvil::machine::ScratchFolder scratch_;
  ImageLocation location_;
};

// A child's machine: HKLM, HKCU and HKCR of this process redirected to the
// image's "run" hives for the object's life. Reset() makes the machine the
// seeded one again: hives, folder and the hosts' state in the Windows folder.
class RunMachine {
 public:
  explicit RunMachine(const ImageLocation& image);
  RunMachine(const RunMachine&) = delete;
  RunMachine& operator=(const RunMachine&) = delete;
  ~RunMachine();

  void Reset();
  // The seeded hive, opened before the redirection, for reading the image.
  HKEY PristineHive(Hive hive) const;
  const ImageLocation& image() const { return image_; }

 private:
  ImageLocation image_;
  kvil::UniqueHKey pristine_[3];
  kvil::UniqueHKey run_[3];
  std::optional<std::string> frontPageIni_;
  std::optional<std::string> tahoma_;
};

}  // namespace kvilfuzz
