#pragma once

namespace tests {

/// True when Wine stands in for Windows: a little of what Windows promises does not hold there.
#if defined(_WIN32)
bool isWine();
#else
constexpr bool isWine() {
  return false;
}
#endif

}  // namespace tests
