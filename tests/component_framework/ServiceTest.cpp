#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "cppmicroservices/Constants.h"
#include "tests/component_framework/framework_fixture.hpp"

namespace component_tests {

struct Renamed {
  virtual ~Renamed() = default;
};
struct Undeclared {
  virtual ~Undeclared() = default;
};

}  // namespace component_tests

CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE(component_tests::Renamed, "renamed/1.0")
CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE(component_tests::Undeclared, "")

namespace component_tests {
namespace {

using cppmicroservices::Any;
using cppmicroservices::BundleContext;
using cppmicroservices::ServiceProperties;
using cppmicroservices::ServiceReference;
namespace Constants = cppmicroservices::Constants;

class Fixed final : public Greeting {
 public:
  explicit Fixed(std::string text) : text_(std::move(text)) {}
  std::string greet() const override { return text_; }

 private:
  std::string text_;
};

/// Greeting is its second base: a pointer to it is not a pointer to the object.
class Both final : public Renamed, public Greeting {
 public:
  std::string greet() const override { return "both"; }
};

class ServiceTest : public FrameworkTest {
 protected:
  auto offer(std::string const& text, ServiceProperties const& properties = {}) {
    return context().RegisterService<Greeting>(std::make_shared<Fixed>(text), properties);
  }
  /// The texts of the services found, in order.
  std::string found(std::string const& filter = "") {
    std::string texts;
    for (auto const& reference : context().GetServiceReferences<Greeting>(filter)) {
      texts += context().GetService(reference)->greet();
    }
    return texts;
  }
};

TEST_F(ServiceTest, TheInterfaceIdIsTheTypesName) {
  EXPECT_EQ(us_service_interface_iid<Greeting>(), "component_tests::Greeting");
  EXPECT_EQ(us_service_interface_iid<Renamed>(), "renamed/1.0");
  EXPECT_EQ(us_service_interface_iid<void>(), "");
}

TEST_F(ServiceTest, AnInterfaceWithoutAnIdIsRefused) {
  constexpr auto text =
      "The service interface class has no CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE macro";
  try {
    context().GetServiceReferences<Undeclared>();
    ADD_FAILURE();
  } catch (cppmicroservices::ServiceException const& thrown) {
    EXPECT_STREQ(thrown.what(), text);
    EXPECT_EQ(thrown.GetType(), cppmicroservices::ServiceException::UNSPECIFIED);
  }
  EXPECT_EQ(failure([&] { context().GetServiceReference<Undeclared>(); }), text);
}

TEST_F(ServiceTest, AContextThatIsNotValidRefusesEverything) {
  BundleContext none;
  EXPECT_FALSE(none);
  auto const held = offer("a");
  auto stale = context();
  stopFramework();
  EXPECT_FALSE(stale);
  for (auto* context : {&none, &stale}) {
    constexpr auto text = "The bundle context is no longer valid";
    EXPECT_EQ(failure([&] { context->GetBundles(); }), text);
    EXPECT_EQ(failure([&] { context->GetBundle(); }), text);
    EXPECT_EQ(failure([&] { context->InstallBundles("x"); }), text);
    EXPECT_EQ(failure([&] { context->GetServiceReference<Greeting>(); }), text);
    EXPECT_EQ(failure([&] {
                std::ignore = context->RegisterService<Greeting>(std::make_shared<Fixed>("b"));
              }),
              text);
  }
}

TEST_F(ServiceTest, HighestRankedFirstAndAmongEqualsTheOldest) {
  offer("a");
  offer("b", {{Constants::SERVICE_RANKING, 5}});
  offer("c");
  offer("d", {{Constants::SERVICE_RANKING, -1}});
  offer("e", {{Constants::SERVICE_RANKING, 5}});
  EXPECT_EQ(found(), "beacd");
  auto const first = context().GetServiceReference<Greeting>();
  EXPECT_EQ(context().GetService(first)->greet(), "b");
  auto const all = context().GetServiceReferences<Greeting>();
  EXPECT_LT(all[1], all[0]);
  EXPECT_LT(all[4], all[3]);
  EXPECT_FALSE(all[0] < all[0]);
}

TEST_F(ServiceTest, ANewRankingMovesAService) {
  auto registration = offer("a");
  offer("b");
  EXPECT_EQ(found(), "ab");
  registration.SetProperties({{Constants::SERVICE_RANKING, -1}});
  EXPECT_EQ(found(), "ba");
}

TEST_F(ServiceTest, ARankingThatIsNoIntIsRefused) {
  auto registration = offer("a");
  EXPECT_THROW(registration.SetProperties({{Constants::SERVICE_RANKING, std::string("5")}}),
               std::invalid_argument);
  EXPECT_EQ(found(), "a");
}

TEST_F(ServiceTest, PropertyNamesThatDifferInCaseOnlyAreRefused) {
  EXPECT_THROW(offer("a", {{"name", 1}, {"Name", 2}}), std::runtime_error);
}

TEST_F(ServiceTest, AFilterSelectsByProperties) {
  offer("a", {{"level", 1}, {"kind", std::string("x")}});
  offer("b", {{"level", 2}});
  EXPECT_EQ(found("(level>=2)"), "b");
  EXPECT_EQ(found("(Kind=x)"), "a");
  EXPECT_EQ(found("(objectclass=component_tests::Greeting)"), "ab");
  EXPECT_EQ(found("(level=3)"), "");
  EXPECT_THROW(found("(level"), std::invalid_argument);
}

TEST_F(ServiceTest, PropertiesOfTheFrameworkAreItsOwn) {
  EXPECT_THROW(offer("a", {{"Service.Id", std::string("mine")}}), std::runtime_error);
  auto const reference = offer("a", {{"kind", std::string("x")}}).GetReference();
  EXPECT_EQ(reference.GetProperty("service.id").Type(), typeid(long));
  EXPECT_EQ(reference.GetProperty("SERVICE.SCOPE").ToString(), "singleton");
  EXPECT_EQ(reference.GetProperty("kind").ToString(), "x");
  EXPECT_TRUE(reference.GetProperty("none").Empty());
  EXPECT_EQ(reference.GetPropertyKeys().size(), 4u);
}

TEST_F(ServiceTest, AServiceOfSeveralInterfacesIsFoundByEach) {
  auto const object = std::make_shared<Both>();
  auto registration = context().RegisterService<Renamed, Greeting>(object);
  auto const renamed = context().GetServiceReference<Renamed>();
  EXPECT_EQ(context().GetService(renamed), object);
  ServiceReference<Greeting> const greeting(renamed);
  EXPECT_TRUE(greeting) << "convertible";
  EXPECT_EQ(context().GetService(greeting)->greet(), "both");
  EXPECT_TRUE(renamed.IsConvertibleTo("component_tests::Greeting"));
  EXPECT_FALSE(renamed.IsConvertibleTo("component_tests::Journal"));
  EXPECT_FALSE(ServiceReference<Journal>(renamed)) << "not convertible";
  registration.Unregister();
  EXPECT_FALSE(context().GetServiceReference<Greeting>());
}

TEST_F(ServiceTest, AllServicesAreFoundWithoutAnInterface) {
  offer("a");
  EXPECT_EQ(context().GetServiceReferences("").size(), 2u) << "and the journal";
  EXPECT_EQ(context().GetServiceReferences("", "(objectclass=*Greeting)").size(), 1u);
  EXPECT_TRUE(context().GetServiceReferences("unknown").empty());
  EXPECT_FALSE(context().GetServiceReference("unknown"));
}

TEST_F(ServiceTest, ServiceObjectsGiveTheSharedObject) {
  auto const object = std::make_shared<Fixed>("a");
  auto registration = context().RegisterService<Greeting>(object);
  auto const objects = context().GetServiceObjects(registration.GetReference());
  EXPECT_EQ(objects.GetService(), object);
  EXPECT_EQ(objects.GetServiceReference(), registration.GetReference());
  registration.Unregister();
  EXPECT_EQ(objects.GetService(), nullptr);
}

TEST_F(ServiceTest, AReferenceToNothingIsRefused) {
  ServiceReference<Greeting> const none;
  EXPECT_THROW(context().GetService(none), std::invalid_argument);
  EXPECT_THROW(context().GetServiceObjects(none), std::invalid_argument);
}

TEST_F(ServiceTest, AnUnregisteredServiceStaysUnregistered) {
  auto registration = offer("a");
  registration.Unregister();
  EXPECT_EQ(found(), "");
  EXPECT_THROW(registration.Unregister(), std::logic_error);
  EXPECT_THROW(registration.GetReference(), std::logic_error);
  EXPECT_THROW(registration.SetProperties({}), std::logic_error);
  cppmicroservices::ServiceRegistration<Greeting> none;
  EXPECT_FALSE(none);
  EXPECT_THROW(none.Unregister(), std::logic_error);
}

TEST_F(ServiceTest, LettingGoOfARegistrationChangesNothing) {
  { auto const registration = offer("a"); }
  EXPECT_EQ(found(), "a");
}

TEST_F(ServiceTest, NothingIsNoService) {
  EXPECT_THROW(std::ignore = context().RegisterService<Greeting>(std::shared_ptr<Fixed>()),
               std::invalid_argument);
  EXPECT_THROW(std::ignore = context().RegisterService(cppmicroservices::InterfaceMapConstPtr()),
               std::invalid_argument);
}

TEST_F(ServiceTest, ServicesAreGottenWhileOthersRegister) {
  offer("a", {{Constants::SERVICE_RANKING, 100}});
  std::atomic<bool> done = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([this] {
      for (int round = 0; round < 300; ++round) {
        auto registration = offer("b", {{Constants::SERVICE_RANKING, round % 7}});
        registration.SetProperties({{"round", round}});
        registration.Unregister();
      }
    });
  }
  std::thread reader([&] {
    while (!done) {
      auto const reference = context().GetServiceReference<Greeting>();
      ASSERT_EQ(context().GetService(reference)->greet(), "a");
      context().GetServiceReferences<Greeting>("(round>=5)");
    }
  });
  for (auto& thread : threads) {
    thread.join();
  }
  done = true;
  reader.join();
  EXPECT_EQ(found(), "a");
}

}  // namespace
}  // namespace component_tests
