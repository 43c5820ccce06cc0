#pragma once

#include <string>

/// What the test bundles and the tests say to each other.
namespace component_tests {

/// Offered by a test: hears what bundles do, in order.
class Journal {
 public:
  virtual ~Journal() = default;
  virtual void record(std::string const& event) = 0;
};

/// Offered by the bundles.
class Greeting {
 public:
  virtual ~Greeting() = default;
  virtual std::string greet() const = 0;
};

}  // namespace component_tests
