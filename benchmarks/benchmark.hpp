#pragma once

#include <cstddef>
#include <functional>
#include <string>

/// Figures from one run of one program: ratios of two ways to do the same work, done in turn so
/// that a machine whose speed drifts treats both alike.
namespace benchmarks {

/// Seconds that `work` takes.
double seconds(std::function<void()> const& work);

/// Prints the median, smallest and largest of `rounds` ratios subject/baseline, after one round
/// that is not counted, and the times of the median round. `goal` says what the ratio is held to.
void printRatio(std::string const& what, std::string const& goal, int rounds,
                std::function<void()> const& subject, std::function<void()> const& baseline);

/// Prints one figure.
void printFigure(std::string const& what, double value, std::string const& unit);

/// The most memory this process has held so far, in MiB.
double peakMemory();

/// Name and body of every benchmark, in the order they run. Each group lives in a file of its own.
struct Benchmark {
  char const* name;
  void (*run)();
};

void walkTree();
void addPathEntries();
void mergeJavaClassPath();
void pathDefinition();
void testExistence();
void appendMessage();
void setRegistryKeys();
void rewritePath();
void components();
void createShortcuts();
void unpack();
void installationRecords();
void writeJournal();
void previewMemory();

}  // namespace benchmarks
