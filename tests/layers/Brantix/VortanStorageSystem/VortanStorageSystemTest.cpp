#include <gtest/gtest.h>

#include "Brantix/VortanStorageSystem/VortanStorageSystem.hpp"
#include "foundation/storage/vfs/Exception.hpp"
#include "tests/support/iri_printing.hpp"
#include "tests/support/local_storage.hpp"

namespace Brantix::VortanStorageSystem {
namespace {

using foundation::storage::vfs::ErrorCode;

TEST(VortanStorageSystem, IsTheProviderThatTheFrameworkOffers) {
  auto const provider = std::make_shared<localstorage::LocalStorage>();
  tests::OfferedStorage const offered(provider);
  EXPECT_EQ(GetStorageSystemReference(), provider);
}

TEST(VortanStorageSystem, WithoutAProviderThereIsNone) {
  { tests::OfferedStorage const gone; }
  try {
    GetStorageSystemReference();
    ADD_FAILURE();
  } catch (foundation::storage::vfs::Exception const& failure) {
    EXPECT_EQ(failure.getErrorCode(), ErrorCode::resourceNotFound);
    EXPECT_EQ(failure.getLocation(), u"foundation::storage::vfs::StorageProvider");
  }
}

TEST(VortanStorageSystem, AReferenceOutlivesTheBundlesOffer) {
  auto offered = std::make_unique<tests::OfferedStorage>();
  auto const storage = GetStorageSystemReference();
  offered.reset();
  EXPECT_NE(storage, nullptr);
}

}  // namespace
}  // namespace Brantix::VortanStorageSystem
