#include <gtest/gtest.h>

#include <filesystem>

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "foundation/cppmicroservices/framework.hpp"
#include "registration/commands/GeneratePathDef.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/log_capture.hpp"

namespace registration::commands {
namespace {

class VfsBundle : public tests::CommandTest {
 protected:
  /// As the build lays it out.
  static UString bundleRoot() {
    return fl::i18n::to_ustring(
        std::filesystem::absolute(std::filesystem::path(BUNDLES_FOLDER) / "product").wstring());
  }
  ~VfsBundle() override {
    for (auto& bundle :
         foundation::cppmicroservices::getFramework().GetBundleContext().GetBundles()) {
      if (bundle.GetBundleId() != 0) {
        bundle.Uninstall();
      }
    }
  }
};

TEST_F(VfsBundle, TheCommandWritesThroughTheBundlesStorage) {
  writeFile(root() / u"toolbox\\gr\u00f6\u00dfe\\a.vt", "");
  utility::Options::Values values;
  values.bundleRootPath = bundleRoot();
  values.rootPath = root().ustring();
  GeneratePathDef const command{utility::Options(values)};
  tests::LogCapture log;
  command.execute();
  command.undo();
  EXPECT_EQ(log.messages(), (std::vector<UString>{
                                u"Generating pathdef.vsc for " + root().ustring(),
                                u"Successfully generated pathdef.vsc for " + root().ustring(),
                                u"Regenerating pathdef.vsc for " + root().ustring(),
                                u"Successfully regenerated pathdef.vsc for " + root().ustring()}));
  EXPECT_TRUE(readFile(root() / u"sys\\path\\pathdef.vsc")
                  .ends_with("\n\"$root\\toolbox\\gr\xC3\xB6\xC3\x9F"
                             "e\"\n"));
}

}  // namespace
}  // namespace registration::commands
