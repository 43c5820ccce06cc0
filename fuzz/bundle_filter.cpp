#include <cppmicroservices/LDAPFilter.h>

#include <stdexcept>
#include <vector>

#include "cppmicroservices/AnyMap.h"
#include "fuzz/fuzz.hpp"

namespace {

using namespace cppmicroservices;

/// A property of every type that a filter knows.
AnyMap const& properties() {
  static AnyMap const properties = [] {
    AnyMap map;
    map["name"] = std::string("Babs Jensen");
    map["level"] = 3;
    map["ratio"] = 0.5;
    map["isOn"] = true;
    map["list"] = std::vector<std::string>{"a", "b*"};
    map["anything"] = std::vector<Any>{Any(std::string("a")), Any(7)};
    return map;
  }();
  return properties;
}

}  // namespace

void fuzz::run(std::string_view input) {
  LDAPFilter filter;
  if (!isRead<std::invalid_argument>([&] { filter = LDAPFilter(std::string(input)); })) return;
  FUZZ_EXPECT(static_cast<bool>(filter));
  std::string const text = filter.ToString();
  LDAPFilter const again(text);
  FUZZ_EXPECT(again == filter);
  FUZZ_EXPECT(again.ToString() == text);
  FUZZ_EXPECT(again.Match(properties()) == filter.Match(properties()));
  // Which names are found without regard to case cannot be fewer, but "!" turns that round.
  if (text.find("(!") == text.npos) {
    FUZZ_EXPECT(!filter.MatchCase(properties()) || filter.Match(properties()));
  }
  // One more level may be one too many.
  if (text.size() < 256) {
    FUZZ_EXPECT(LDAPFilter("(!" + text + ")").Match(properties()) != filter.Match(properties()));
  }
}
