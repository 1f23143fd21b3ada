// The damage a run does to the seeded machine before the library sees it: a few
// of the registry values, keys and host files the seeder made, each broken in
// one of the ways a real machine breaks them, all drawn from the run's seed.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "handles.h"
#include "machine_image.h"

namespace kvilfuzz {

struct ValueTarget {
  Hive hive;
  std::string key;
  std::string name;
};

struct KeyTarget {
  Hive hive;
  std::string key;
};

// Everything of the seeded machine that can be damaged, in a fixed order so that
// a seed names the same damage in every process: every value and every key below
// the hives' roots, and every file the seeder made (as the run machine has them,
// frontpg.ini in the Windows folder included).
struct DamageTargets {
  std::vector<ValueTarget> values;
  std::vector<KeyTarget> keys;
  std::vector<std::string> files;
};
DamageTargets FindDamageTargets(const RunMachine& machine);

// The ways one thing is broken.
enum class DamageKind {
  kValueWrongType,      // the same bytes under another type
  kValueUnterminated,   // string data without its NUL (other data one byte short)
  kValueEmpty,          // no data at all
  kValueLong,           // 64 KB of data, the original text at its start
  kValueDeleted,
  kValueUnknownVariables,  // REG_EXPAND_SZ naming variables no machine has, or expanding past a path's length
  kKeyDeleted,          // with everything below it
  kFileEmpty,           // zero length
  kFileTruncated,       // its version resource cut short (the file cut anywhere when it has none)
  kFileReplacedByFolder,  // a folder, not empty, of the file's name
  kFileReadOnly,        // read-only, and held open without write or delete sharing for the run
};

// The damage done to one run's machine. Files made read-only stay held open,
// as a running host holds its modules, until Release() or destruction.
class Damage {
 public:
  Damage() = default;
  Damage(Damage&&) = default;
  Damage& operator=(Damage&&) = default;

  // One to four damages, each kind and target drawn from rng.
  static Damage Inflict(const DamageTargets& targets, std::mt19937_64& rng);

  // One line per damage: what was broken and how.
  const std::vector<std::string>& descriptions() const { return descriptions_; }
  void Release();

 private:
  void Apply(DamageKind kind, const DamageTargets& targets, std::mt19937_64& rng);

  std::vector<std::string> descriptions_;
  std::vector<kvil::UniqueFile> heldFiles_;
  std::vector<std::string> heldPaths_;
};

}  // namespace kvilfuzz
