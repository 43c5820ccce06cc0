#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Constants.h"
#include "cppmicroservices/Framework.h"
#include "fl/filesystem/operations.hpp"
#include "foundation/classpath/ClassPathService.hpp"
#include "foundation/cppmicroservices/framework.hpp"
#include "registration/commands/GenerateJavaClassPath.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"

namespace registration::commands {
namespace {

using foundation::classpath::ClassPathService;
using Lines = std::vector<UString>;

/// A service that a test offers in a bundle's stead.
class OfferedService final : public ClassPathService {
 public:
  explicit OfferedService(std::function<void(UString const&)> generate)
      : generate_(std::move(generate)) {}
  Path getClassPathFile(UString const&) const override { return {}; }
  void generateClassPath(UString const& root) const override { generate_(root); }

 private:
  std::function<void(UString const&)> generate_;
};

class GenerateJavaClassPathTest : public tests::CommandTest {
 protected:
  GenerateJavaClassPathTest() { fl::filesystem::create_directories(bundleFolder()); }
  ~GenerateJavaClassPathTest() override {
    for (auto& registration : offered_) {
      registration.Unregister();
    }
  }

  Path bundleFolder() const { return root() / u"bin\\win64\\classpath_services"; }
  UString product() const { return (root() / u"product").ustring(); }
  utility::Options optionsFor(UString const& bundleRoot) const {
    utility::Options::Values values;
    values.bundleRootPath = bundleRoot;
    values.rootPath = product();
    return utility::Options(values);
  }
  Lines execute(UString const& bundleRoot) {
    tests::LogCapture log;
    GenerateJavaClassPath(optionsFor(bundleRoot)).execute();
    return log.messages();
  }
  Lines execute() { return execute(root().ustring()); }
  Lines undo() {
    tests::LogCapture log;
    GenerateJavaClassPath(optionsFor(root().ustring())).undo();
    return log.messages();
  }
  void offer(std::function<void(UString const&)> generate, int ranking = 0) {
    offered_.push_back(foundation::cppmicroservices::getFramework()
                           .GetBundleContext()
                           .RegisterService<ClassPathService>(
                               std::make_shared<OfferedService>(std::move(generate)),
                               {{cppmicroservices::Constants::SERVICE_RANKING, ranking}}));
  }

 private:
  std::vector<cppmicroservices::ServiceRegistration<ClassPathService>> offered_;
};

TEST_F(GenerateJavaClassPathTest, ExecuteHasTheServiceGenerateForTheInstallationFolder) {
  Lines asked;
  offer([&](UString const& root) { asked.push_back(root); });
  EXPECT_EQ(execute(), (Lines{u"Generating Java class path for " + product(),
                              u"Successfully generated Java class path for " + product()}));
  EXPECT_EQ(asked, Lines{product()});
}

TEST_F(GenerateJavaClassPathTest, UndoGeneratesAgain) {
  Lines asked;
  offer([&](UString const& root) { asked.push_back(root); });
  EXPECT_EQ(undo(), (Lines{u"Regenerating Java class path for " + product(),
                           u"Successfully regenerated Java class path for " + product()}));
  EXPECT_EQ(asked, Lines{product()});
}

TEST_F(GenerateJavaClassPathTest, AFailureOfTheServiceIsReportedInOneLine) {
  offer([](UString const&) { throw std::runtime_error("x \xC3\xA4"); });
  EXPECT_EQ(execute(),
            (Lines{u"Generating Java class path for " + product(),
                   u"Failed to generate Java classpath for " + product() + u". Error: x \u00e4"}));
  EXPECT_EQ(undo(), (Lines{u"Regenerating Java class path for " + product(),
                           u"Failed to regenerate Java classpath for " + product() +
                               u". Error: x \u00e4"}));
}

TEST_F(GenerateJavaClassPathTest, OtherExceptionsReachTheInstallerAsTheyAre) {
  offer([](UString const&) { throw 42; });
  EXPECT_THROW(execute(), int);
}

TEST_F(GenerateJavaClassPathTest, NoServiceIsAFailure) {
  EXPECT_EQ(execute(), (Lines{u"Generating Java class path for " + product(),
                              u"Failed to generate Java classpath for " + product() +
                                  u". Error: no bundle offers the service "
                                  u"foundation::classpath::ClassPathService"}));
}

TEST_F(GenerateJavaClassPathTest, TheHighestRankedServiceIsAsked) {
  std::string asked;
  offer([&](UString const&) { asked += "low"; });
  offer([&](UString const&) { asked += "high"; }, 1);
  execute();
  EXPECT_EQ(asked, "high");
}

TEST_F(GenerateJavaClassPathTest, AMissingBundleFolderIsAFailureThatNamesIt) {
  offer([](UString const&) { ADD_FAILURE() << "asked all the same"; });
  auto const log = execute((root() / u"none").ustring());
  ASSERT_EQ(log.size(), 2u);
  EXPECT_NE(log[1].find((root() / u"none\\bin\\win64\\classpath_services").ustring()),
            UString::npos);
}

TEST_F(GenerateJavaClassPathTest, TheBundleRootIsMadeNative) {
  offer([](UString const&) {});
  UString forward = root().ustring();
  std::replace(forward.begin(), forward.end(), u'\\', u'/');
  EXPECT_EQ(execute(forward).size(), 2u);
  EXPECT_EQ(execute(forward)[1], u"Successfully generated Java class path for " + product());
}

TEST_F(GenerateJavaClassPathTest, WithoutABundleRootTheFolderIsRelative) {
  offer([](UString const&) {});
  auto const before = fl::filesystem::get_current_path();
  ASSERT_TRUE(fl::filesystem::change_current_path(root()));
  auto const log = execute(u"");
  fl::filesystem::change_current_path(before);
  ASSERT_EQ(log.size(), 2u);
  EXPECT_EQ(log[1], u"Successfully generated Java class path for " + product());
}

TEST_F(GenerateJavaClassPathTest, AMachineThatCannotAdmitBundlesIsAFailure) {
  offer([](UString const&) {});
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view) { return operation == "admitBundles"; },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  EXPECT_TRUE(execute().back().starts_with(u"Failed to generate Java classpath for "));
}

TEST_F(GenerateJavaClassPathTest, ACopyDoesWhatItsSourceDoes) {
  Lines asked;
  offer([&](UString const& root) { asked.push_back(root); });
  GenerateJavaClassPath const source(optionsFor(root().ustring()));
  GenerateJavaClassPath(source).execute();
  EXPECT_EQ(asked, Lines{product()});
}

/// The service's call replaced, as an installer's derived class would.
class Replaced : public GenerateJavaClassPath {
 public:
  Replaced(utility::Options const& given, std::function<void()> invoke)
      : GenerateJavaClassPath(given), invoke_(std::move(invoke)) {}
  Lines mutable log;

 protected:
  void log_message(UString const& message) const override { log.push_back(message); }
  void invokeClassPathService() const override { invoke_(); }

 private:
  std::function<void()> invoke_;
};

TEST(GenerateJavaClassPath, WorksThroughItsOwnOperations) {
  Replaced const command(tests::plainOptions(), [] { throw std::runtime_error("x"); });
  command.undo();
  EXPECT_EQ(command.log, (Lines{u"Regenerating Java class path for ",
                                u"Failed to regenerate Java classpath for . Error: x"}));
}

}  // namespace
}  // namespace registration::commands
