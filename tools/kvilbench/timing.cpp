#include "timing.h"

#include <algorithm>

namespace kvilbench {
namespace {

double CounterFrequency() {
  static const double frequency = [] {
    LARGE_INTEGER ticks{};
    QueryPerformanceFrequency(&ticks);
    return static_cast<double>(ticks.QuadPart);
  }();
  return frequency;
}

}  // namespace

Stopwatch::Stopwatch() { QueryPerformanceCounter(&start_); }

double Stopwatch::ElapsedSeconds() const {
  LARGE_INTEGER now{};
  QueryPerformanceCounter(&now);
  return static_cast<double>(now.QuadPart - start_.QuadPart) / CounterFrequency();
}

double Median(std::vector<double> samples) {
  if (samples.empty()) return 0;
  const std::size_t middle = samples.size() / 2;
  std::nth_element(samples.begin(), samples.begin() + middle, samples.end());
  const double upper = samples[middle];
  if (samples.size() % 2 != 0) return upper;
  const double lower = *std::max_element(samples.begin(), samples.begin() + middle);
  return (lower + upper) / 2;
}

}  // namespace kvilbench
