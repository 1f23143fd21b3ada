// kvilbench: what a full survey and each attach cost the library, timed through
// its exports on a machine where every host of its table is installed, in units
// of one plain registry read. Under Wine every registry call is a round trip to
// the server, so the count of reads an export amounts to is what its time says.

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command_line.h"
#include "every_host.h"
#include "frontpage_fixture.h"
#include "handles.h"
#include "host_library.h"
#include "host_suffixes.h"
#include "kvilintg.h"
#include "office_fixture.h"
#include "product_fixture.h"
#include "scratch_machine.h"
#include "timing.h"
#include "tool_kinds.h"
#include "win32_support.h"

namespace kvilbench {
namespace {

constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;  // the machine could not be seeded or the library loaded

constexpr double kSurveyTarget = 2000;
constexpr double kAttachTarget = 50;
// Reference reads timed before each host's calls.
constexpr int kReferenceReads = 15;
constexpr std::size_t kCostliestSurveyRows = 10;

// The value every reference read fetches: the product's start-up folder for its
// first language, a read most exports make themselves.
constexpr char kReferenceValue[] = "Kvil startup dir";

using KindSamples = std::array<std::vector<double>, KVIL_TOOL_KIND_COUNT>;

void PrintError(const std::string& message) { std::fputs(("kvilbench: " + message + "\n").c_str(), stderr); }

std::string Format(const char* format, ...) {
  std::array<char, 512> line{};
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line.data(), line.size(), format, arguments);
  va_end(arguments);
  return line.data();
}

struct BoundHost {
  std::string_view suffix;
  kvilhosts::HostExports exports;
};

struct Selection {
  std::vector<BoundHost> hosts;
  std::vector<std::string_view> notBuilt;
  std::vector<std::int32_t> kinds;
  std::int32_t lcid = kvilhosts::kRussian;
};

Selection Select(const BenchOptions& options, HMODULE library) {
  Selection selection;
  selection.lcid = options.lcid;
  for (const std::string_view suffix : kvilhosts::kHostSuffixes) {
    if (!options.suffixes.empty() &&
        std::find(options.suffixes.begin(), options.suffixes.end(), suffix) == options.suffixes.end()) {
      continue;
    }
    if (const std::optional<kvilhosts::HostExports> exports = kvilhosts::BindHost(library, suffix)) {
      selection.hosts.push_back({suffix, *exports});
    } else {
      selection.notBuilt.push_back(suffix);
    }
  }
  for (std::int32_t kind = 0; kind < KVIL_TOOL_KIND_COUNT; ++kind) {
    if (!options.kind || *options.kind == kind) selection.kinds.push_back(kind);
  }
  return selection;
}

// Per-round costs in read-equivalents, indexed like the selection's hosts.
struct Samples {
  explicit Samples(std::size_t hostCount)
      : survey(hostCount), attach(hostCount), detach(hostCount), attachAnswers(hostCount) {}

  std::vector<std::vector<double>> survey;
  std::vector<KindSamples> attach;
  std::vector<KindSamples> detach;
  // What each Attach answered in the last round.
  std::vector<std::array<std::optional<KvilResult>, KVIL_TOOL_KIND_COUNT>> attachAnswers;
};

// The unit: open the key, query the value, close the key, as the library's
// single reads do, with the machine's own registry calls. Other programs
// share the processor and the Wine server, so the unit is taken afresh beside
// each host's calls: the median of a few reads just before them.
class ReferenceRead {
 public:
  explicit ReferenceRead(std::string key) : key_(std::move(key)) {}

  // Seconds per read, here and now.
  double Measure() {
    std::vector<double> reads;
    for (int read = 0; read < kReferenceReads; ++read) {
      const Stopwatch stopwatch;
      ReadOnce();
      reads.push_back(stopwatch.ElapsedSeconds());
    }
    allReads_.insert(allReads_.end(), reads.begin(), reads.end());
    return Median(std::move(reads));
  }

  // The median of every read measured so far.
  double OverallSeconds() const { return Median(allReads_); }

 private:
  void ReadOnce() const {
    std::array<char, MAX_PATH> value{};
    DWORD size = static_cast<DWORD>(value.size());
    kvil::UniqueHKey opened;
    LONG status = RegOpenKeyExA(HKEY_LOCAL_MACHINE, key_.c_str(), 0, KEY_QUERY_VALUE, opened.put());
    if (status == ERROR_SUCCESS) {
      status = RegQueryValueExA(opened.get(), kReferenceValue, nullptr, nullptr, reinterpret_cast<BYTE*>(value.data()),
                                &size);
    }
    if (status != ERROR_SUCCESS) {
      kvil::machine::ThrowWin32Error("cannot read HKLM\\" + key_ + " " + kReferenceValue, status);
    }
  }

  std::string key_;
  std::vector<double> allReads_;
};

// Every question the setup tool may ask of a host about a tool, asked whatever
// the earlier answers were.
void SurveyRound(const Selection& selection, ReferenceRead& reference, Samples& samples) {
  for (std::size_t index = 0; index < selection.hosts.size(); ++index) {
    const kvilhosts::HostExports& host = selection.hosts[index].exports;
    const double unit = reference.Measure();
    const Stopwatch stopwatch;
    for (const std::int32_t kind : selection.kinds) {
      host.exist(kind, selection.lcid, 0, 0);
      std::array<char, 520> list{};
      std::int32_t length = static_cast<std::int32_t>(list.size());
      host.info(kind, selection.lcid, list.data(), &length);
      host.avail(kind, selection.lcid, 0, 0);
      host.check(kind, selection.lcid, 0, 0);
    }
    samples.survey[index].push_back(ReadEquivalents(stopwatch.ElapsedSeconds(), unit));
  }
}

// Attach then Detach of each tool, each call timed alone; the detach puts the
// host back for the next tool and the next round.
void AttachRound(const Selection& selection, ReferenceRead& reference, Samples& samples) {
  for (std::size_t index = 0; index < selection.hosts.size(); ++index) {
    const kvilhosts::HostExports& host = selection.hosts[index].exports;
    const double unit = reference.Measure();
    for (const std::int32_t kind : selection.kinds) {
      const Stopwatch attachWatch;
      const KvilResult answer = host.attach(kind, selection.lcid, 0, 0);
      samples.attach[index][kind].push_back(ReadEquivalents(attachWatch.ElapsedSeconds(), unit));
      samples.attachAnswers[index][kind] = answer;
      const Stopwatch detachWatch;
      host.detach(kind, selection.lcid, 0, 0);
      samples.detach[index][kind].push_back(ReadEquivalents(detachWatch.ElapsedSeconds(), unit));
    }
  }
}

struct KindCost {
  double cost = 0;
  std::int32_t kind = 0;
};

// The costliest tool of a host, in read-equivalents.
KindCost Costliest(const Selection& selection, const KindSamples& samples) {
  KindCost costliest;
  for (const std::int32_t kind : selection.kinds) {
    const double cost = Median(samples[kind]);
    if (cost >= costliest.cost) costliest = {cost, kind};
  }
  return costliest;
}

std::string TargetNote(double cost, double target) {
  return Format("(target %.0f%s)", target, cost > target ? ", above it" : "");
}

std::string FormatReport(const BenchOptions& options, const Selection& selection, const Samples& samples,
                         double referenceSeconds) {
  const std::string firstKind(kvilhosts::kToolKindNames[selection.kinds.front()]);
  const std::string lastKind(kvilhosts::kToolKindNames[selection.kinds.back()]);
  std::string report;
  report += Format("kvilbench: every host installed, language %d, tools %s, %d round%s, medians\n",
                   static_cast<int>(selection.lcid),
                   (firstKind == lastKind ? firstKind : firstKind + " to " + lastKind).c_str(), options.rounds,
                   options.rounds == 1 ? "" : "s");
  report += Format("reference read (open, query, close of one value): %.1f us\n", referenceSeconds * 1e6);
  if (!selection.notBuilt.empty()) {
    report += "not built, left out:";
    for (const std::string_view suffix : selection.notBuilt) {
      report += ' ';
      report += suffix;
    }
    report += "\n";
  }

  // Each suffix's median, so that a burst of other work during one round of one
  // host does not count.
  double fullSurvey = 0;
  for (const std::vector<double>& suffixSamples : samples.survey) fullSurvey += Median(suffixSamples);
  report += Format("\nsurvey: %zu suffixes x %zu tool kinds x Exist, Info, Avail, Check\n", selection.hosts.size(),
                   selection.kinds.size());
  report += Format("  full survey %12.0f read-equivalents %s\n", fullSurvey,
                   TargetNote(fullSurvey, kSurveyTarget).c_str());
  std::vector<std::pair<double, std::string_view>> bySuffix;
  for (std::size_t index = 0; index < selection.hosts.size(); ++index) {
    bySuffix.emplace_back(Median(samples.survey[index]), selection.hosts[index].suffix);
  }
  std::stable_sort(bySuffix.begin(), bySuffix.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
  report += "  costliest suffixes:\n";
  for (std::size_t row = 0; row < std::min(kCostliestSurveyRows, bySuffix.size()); ++row) {
    report += Format("    %-14s %8.1f\n", std::string(bySuffix[row].second).c_str(), bySuffix[row].first);
  }

  report += "\nattach then detach, each call alone, the costliest tool kind of each (read-equivalents):\n";
  report += Format("  %-14s %8s  %-10s %8s  %s\n", "suffix", "attach", "tool", "detach", "done");
  KindCost worst;
  std::string_view worstSuffix;
  for (std::size_t index = 0; index < selection.hosts.size(); ++index) {
    const KindCost attach = Costliest(selection, samples.attach[index]);
    const KindCost detach = Costliest(selection, samples.detach[index]);
    int done = 0;
    for (const auto& answer : samples.attachAnswers[index]) {
      if (answer && *answer != KVIL_NO && *answer != KVIL_NOT_APPLICABLE) ++done;
    }
    report += Format("  %-14s %8.1f  %-10s %8.1f  %d/%zu\n", std::string(selection.hosts[index].suffix).c_str(),
                     attach.cost, std::string(kvilhosts::kToolKindNames[attach.kind]).c_str(), detach.cost, done,
                     selection.kinds.size());
    if (worstSuffix.empty() || attach.cost > worst.cost) {
      worst = attach;
      worstSuffix = selection.hosts[index].suffix;
    }
  }
  if (!worstSuffix.empty()) {
    report += Format("  costliest attach %7.1f read-equivalents, %s %s %s\n", worst.cost,
                     std::string(worstSuffix).c_str(), std::string(kvilhosts::kToolKindNames[worst.kind]).c_str(),
                     TargetNote(worst.cost, kAttachTarget).c_str());
  }
  return report;
}

int Run(const BenchOptions& options) {
  // The Wine prefix's own files that seeding and attaching change go back as
  // they were; the registry lives in a scratch tree that goes with the run.
  const kvil::machine::ComApartment apartment;
  const kvil::machine::FontSubstituteGuard fontSubstitute;
  const kvil::machine::FrontPageIniGuard frontPageIni;
  const kvil::machine::ScratchRegistry registry;
  const kvil::machine::ScratchFolder folder;
  const kvil::machine::InstalledProduct product = kvil::machine::InstallEveryHost(folder.path());
  ReferenceRead reference(product.OptionsKey(product.options.languages.front()));

  const std::string path = options.libraryPath.value_or(kvilhosts::DefaultLibraryPath());
  const kvilhosts::LoadResult library = kvilhosts::LoadHostLibrary(path);
  if (!library.module) {
    PrintError("cannot load " + path + ": error " + kvilhosts::DescribeWindowsError(library.error));
    return kExitFailure;
  }
  const Selection selection = Select(options, library.module.get());

  Samples samples(selection.hosts.size());
  for (int round = 0; round < options.rounds; ++round) {
    SurveyRound(selection, reference, samples);
    AttachRound(selection, reference, samples);
  }
  std::fputs(FormatReport(options, selection, samples, reference.OverallSeconds()).c_str(), stdout);
  return kExitSuccess;
}

int Main(int argc, char** argv) {
  const ParsedCommandLine parsed = ParseCommandLine(argc, argv);
  if (parsed.exitStatus) return *parsed.exitStatus;
  // A library that fails to load must come back as an error code, never as a
  // system dialog waiting for a click.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  return Run(parsed.options);
}

}  // namespace
}  // namespace kvilbench

int main(int argc, char** argv) {
  try {
    return kvilbench::Main(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kvilbench: %s\n", error.what());
  } catch (...) {
    std::fputs("kvilbench: unexpected failure\n", stderr);
  }
  return kvilbench::kExitFailure;
}
