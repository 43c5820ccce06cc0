#include <gtest/gtest.h>

#include "cppmicroservices/BundleVersion.h"
#include "cppmicroservices/Constants.h"
#include "cppmicroservices/LDAPFilter.h"
#include "tests/component_framework/framework_fixture.hpp"

/// What this tree's framework refuses and an installed one guesses at or crashes over.
namespace component_tests {
namespace {

namespace Constants = cppmicroservices::Constants;
using cppmicroservices::ServiceProperties;

class Silent final : public Greeting {
 public:
  std::string greet() const override { return {}; }
};

class Refusal : public FrameworkTest {
 protected:
  void offer(ServiceProperties const& properties) {
    std::ignore = context().RegisterService<Greeting>(std::make_shared<Silent>(), properties);
  }
};

TEST_F(Refusal, ARankingThatIsNoIntRegistersNothing) {
  EXPECT_THROW(offer({{Constants::SERVICE_RANKING, std::string("5")}}), std::invalid_argument);
  EXPECT_EQ(greetings(), 0u);
}

TEST_F(Refusal, AServicesIdIsTheFrameworksToGive) {
  offer({{Constants::SERVICE_ID, std::string("mine")}});
  EXPECT_EQ(context().GetServiceReference<Greeting>().GetProperty(Constants::SERVICE_ID).Type(),
            typeid(long));
}

TEST(FilterRefusal, ANestingThatWouldExhaustTheStackIsRefused) {
  std::string deep;
  for (int i = 0; i < 100'000; ++i) {
    deep += "(!";
  }
  EXPECT_THROW(cppmicroservices::LDAPFilter{deep}, std::invalid_argument);
}

TEST(VersionRefusal, AFieldIsANumberAndNothingElse) {
  for (auto const* text : {"", "1.", "-1", "1..2", " 1", "1x"}) {
    EXPECT_THROW(cppmicroservices::BundleVersion{std::string(text)}, std::invalid_argument) << text;
  }
}

}  // namespace
}  // namespace component_tests
