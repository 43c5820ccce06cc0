#include "install/cpputil/versions.hpp"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace install::cpputil {

namespace {

/// What atoi makes of the field, with a result also where atoi has none: beyond int, the nearest.
int fieldNumber(std::string const& field) {
  long const number = std::strtol(field.c_str(), nullptr, 10);
  return static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
}

std::vector<int> fieldNumbers(fl::i18n::UString const& version) {
  std::vector<int> numbers;
  std::istringstream fields(fl::i18n::to_string(version));
  for (std::string field; std::getline(fields, field, '.');) {
    numbers.push_back(fieldNumber(field));
  }
  return numbers;
}

}  // namespace

int compareVersions(fl::i18n::UString const& a, fl::i18n::UString const& b) {
  auto numbersOfA = fieldNumbers(a);
  auto numbersOfB = fieldNumbers(b);
  auto const count = std::max(numbersOfA.size(), numbersOfB.size());
  numbersOfA.resize(count);
  numbersOfB.resize(count);
  auto const order = numbersOfA <=> numbersOfB;
  return (order > 0) - (order < 0);
}

}  // namespace install::cpputil
