#include "benchmarks/benchmark.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace benchmarks {

double seconds(std::function<void()> const& work) {
  auto const start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void printRatio(std::string const& what, std::string const& goal, int rounds,
                std::function<void()> const& subject, std::function<void()> const& baseline) {
  struct Round {
    double subject, baseline, ratio;
  };
  subject();
  baseline();
  std::vector<Round> measured;
  for (int i = 0; i < rounds; ++i) {
    double const ofSubject = seconds(subject);
    double const ofBaseline = seconds(baseline);
    measured.push_back({ofSubject, ofBaseline, ofSubject / ofBaseline});
  }
  std::sort(measured.begin(), measured.end(),
            [](Round const& a, Round const& b) { return a.ratio < b.ratio; });
  Round const& median = measured[measured.size() / 2];
  std::printf("  %-66s %6.3f  (%.3f to %.3f; %.4f s / %.4f s)  goal: %s\n", what.c_str(),
              median.ratio, measured.front().ratio, measured.back().ratio, median.subject,
              median.baseline, goal.c_str());
  std::fflush(stdout);
}

void printFigure(std::string const& what, double value, std::string const& unit) {
  std::printf("  %-66s %6.3f %s\n", what.c_str(), value, unit.c_str());
  std::fflush(stdout);
}

}  // namespace benchmarks
