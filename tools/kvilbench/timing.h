// Times taken with the performance counter, gathered over rounds and reported as
// medians in units of one reference registry read.
#pragma once

#include <windows.h>

#include <vector>

namespace kvilbench {

class Stopwatch {
 public:
  Stopwatch();
  double ElapsedSeconds() const;

 private:
  LARGE_INTEGER start_{};
};

// The middle sample, or the mean of the two middle ones; 0 for none.
double Median(std::vector<double> samples);

// How many reference reads fit in seconds, the unit every figure is given in.
inline double ReadEquivalents(double seconds, double referenceReadSeconds) {
  return referenceReadSeconds > 0 ? seconds / referenceReadSeconds : 0;
}

}  // namespace kvilbench
