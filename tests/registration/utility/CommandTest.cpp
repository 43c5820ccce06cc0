#include <gtest/gtest.h>

#include <type_traits>

#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::utility {
namespace {

static_assert(std::is_polymorphic_v<Command> && sizeof(Command) == sizeof(void*),
              "a command base holds no data of its own");
static_assert(std::has_virtual_destructor_v<Command> && std::has_virtual_destructor_v<Options>);
static_assert(!std::is_assignable_v<Options&, Options const&>, "nothing changes options later");

TEST(Options, GivesBackEveryValueItWasFilledWith) {
  Options::Values values;
  values.desktopShortcutRequested = true;
  values.fileAssociationRequested = true;
  values.settingsToolOptionSet = true;
  values.startMenuShortcutRequested = true;
  values.rootPath = u"root";
  values.usageDataSettingsArgument = u"argument";
  values.targetFolders = {{Path(u"C:\\link.exe"), u"C:\\folder"}};
  values.bundleRootPath = u"bundles";
  values.metadataRootPath = u"metadata";
  Options const filled(values);

  EXPECT_TRUE(filled.isDesktopShortcutRequested());
  EXPECT_FALSE(filled.isSystemIntegrationSkipped());
  EXPECT_TRUE(filled.isFileAssociationRequested());
  EXPECT_FALSE(filled.isServiceHostRequested());
  EXPECT_TRUE(filled.isSettingsToolOptionSet());
  EXPECT_FALSE(filled.isUsageDataSettingsRequested());
  EXPECT_TRUE(filled.isStartMenuShortcutRequested());
  EXPECT_FALSE(filled.areScheduledServicesEnabled());
  EXPECT_EQ(filled.getRootPath(), u"root");
  EXPECT_EQ(filled.getUsageDataSettingsArgument(), u"argument");
  EXPECT_EQ(filled.getTargetFolder(Path(u"C:\\link.exe")), u"C:\\folder");
  EXPECT_EQ(filled.getTargetFolder(Path(u"C:\\other.exe")), u"");
  EXPECT_EQ(filled.getBundleRootPath(), u"bundles");
  EXPECT_EQ(filled.getMetadataRootPath(), u"metadata");
}

TEST(Options, EachFlagIsItsOwn) {
  using Getter = bool (Options::*)() const;
  struct Flag {
    bool Options::Values::*field;
    Getter getter;
  };
  Flag const flags[] = {
      {&Options::Values::desktopShortcutRequested, &Options::isDesktopShortcutRequested},
      {&Options::Values::systemIntegrationSkipped, &Options::isSystemIntegrationSkipped},
      {&Options::Values::fileAssociationRequested, &Options::isFileAssociationRequested},
      {&Options::Values::serviceHostRequested, &Options::isServiceHostRequested},
      {&Options::Values::settingsToolOptionSet, &Options::isSettingsToolOptionSet},
      {&Options::Values::usageDataSettingsRequested, &Options::isUsageDataSettingsRequested},
      {&Options::Values::startMenuShortcutRequested, &Options::isStartMenuShortcutRequested},
      {&Options::Values::scheduledServicesEnabled, &Options::areScheduledServicesEnabled}};
  for (Flag const& set : flags) {
    Options::Values values;
    values.*set.field = true;
    Options const options(values);
    for (Flag const& asked : flags) {
      EXPECT_EQ((options.*asked.getter)(), asked.field == set.field);
    }
  }
}

TEST(Options, CopyIsIndependentOfItsSource) {
  Options::Values values;
  values.rootPath = u"root";
  auto source = std::make_unique<Options>(values);
  Options const copy(*source);
  source.reset();
  EXPECT_EQ(copy.getRootPath(), u"root");
}

}  // namespace
}  // namespace registration::utility
