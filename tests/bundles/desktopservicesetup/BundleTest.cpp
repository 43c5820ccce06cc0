#include <gtest/gtest.h>

#include <filesystem>

#include "cppmicroservices/Bundle.h"
#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "cppmicroservices/FrameworkEvent.h"
#include "cppmicroservices/FrameworkFactory.h"
#include "install/desktopservicesetup/DesktopServiceSetupUtility.hpp"

namespace {

using install::desktopservicesetup::DesktopServiceSetupUtility;

TEST(DesktopServiceSetupBundle, OffersTheSetupWhileItRuns) {
  auto framework = cppmicroservices::FrameworkFactory().NewFramework();
  framework.Start();
  auto context = framework.GetBundleContext();
  auto bundles = context.InstallBundles(std::filesystem::absolute(SETUP_BUNDLE).string());
  ASSERT_EQ(bundles.size(), 1u);
  EXPECT_EQ(bundles[0].GetSymbolicName(), "desktopservicesetup");

  bundles[0].Start();
  {
    auto const references = context.GetServiceReferences<DesktopServiceSetupUtility>();
    ASSERT_EQ(references.size(), 1u);
    EXPECT_NE(context.GetService(references[0]), nullptr);
  }
  bundles[0].Stop();
  EXPECT_TRUE(context.GetServiceReferences<DesktopServiceSetupUtility>().empty());
  framework.Stop();
  framework.WaitForStop(std::chrono::seconds(20));
}

}  // namespace
