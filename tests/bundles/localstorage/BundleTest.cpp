#include <gtest/gtest.h>

#include <filesystem>

#include "cppmicroservices/Bundle.h"
#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "cppmicroservices/FrameworkEvent.h"
#include "cppmicroservices/FrameworkFactory.h"
#include "foundation/storage/vfs/StorageProvider.hpp"

namespace {

using foundation::storage::vfs::StorageProvider;

TEST(LocalStorageBundle, OffersAProviderWhileItRuns) {
  auto framework = cppmicroservices::FrameworkFactory().NewFramework();
  framework.Start();
  auto context = framework.GetBundleContext();
  auto bundles = context.InstallBundles(std::filesystem::absolute(STORAGE_BUNDLE).string());
  ASSERT_EQ(bundles.size(), 1u);
  EXPECT_EQ(bundles[0].GetSymbolicName(), "localstorage");

  bundles[0].Start();
  {
    auto const references = context.GetServiceReferences<StorageProvider>();
    ASSERT_EQ(references.size(), 1u);
    EXPECT_NE(context.GetService(references[0]), nullptr);
  }
  bundles[0].Stop();
  EXPECT_TRUE(context.GetServiceReferences<StorageProvider>().empty());
  framework.Stop();
  framework.WaitForStop(std::chrono::seconds(20));
}

}  // namespace
