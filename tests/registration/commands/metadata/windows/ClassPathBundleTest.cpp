#include <gtest/gtest.h>

#include <filesystem>

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "foundation/cppmicroservices/framework.hpp"
#include "registration/commands/GenerateJavaClassPath.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/log_capture.hpp"

namespace registration::commands {
namespace {

class ClassPathBundle : public tests::CommandTest {
 protected:
  /// As the build lays it out.
  static UString bundleRoot() {
    return fl::i18n::to_ustring(
        std::filesystem::absolute(std::filesystem::path(BUNDLES_FOLDER) / "product").wstring());
  }
  ~ClassPathBundle() override {
    for (auto& bundle :
         foundation::cppmicroservices::getFramework().GetBundleContext().GetBundles()) {
      if (bundle.GetBundleId() != 0) {
        bundle.Uninstall();
      }
    }
  }
};

TEST_F(ClassPathBundle, TheCommandHasTheBundleWriteTheClassPath) {
  writeFile(root() / u"a.jar", "");
  writeFile(root() / u"javaClassPath", fl::i18n::to_string((root() / u"a.jar").ustring()) + "\r\n");
  utility::Options::Values values;
  values.bundleRootPath = bundleRoot();
  values.rootPath = root().ustring();
  tests::LogCapture log;
  GenerateJavaClassPath(utility::Options(values)).execute();
  EXPECT_EQ(log.messages().back(),
            u"Successfully generated Java class path for " + root().ustring());
  EXPECT_EQ(readFile(root() / u"bin\\win64\\vortan.classpath"),
            fl::i18n::to_string((root() / u"a.jar").ustring()) + "\n");
}

}  // namespace
}  // namespace registration::commands
