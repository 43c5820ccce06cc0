#include "registration/commands/CreateSymlink.hpp"

#include "install/cpputil/logger.hpp"
#include "registration/utility/failure_convention.hpp"
#include "registration/utility/utilities.hpp"

namespace registration::commands {

namespace {

void tellThatNothingIsDone() {
  utility::skipped(u"this command keeps links in a plan and changes nothing", {});
}

}  // namespace

CreateSymlink::CreateSymlink(utility::Options const& given, std::vector<Path> const& paths,
                             UString const& name)
    : options(given), linkPaths(paths), linkName(name) {}
CreateSymlink::CreateSymlink(CreateSymlink const&) = default;
CreateSymlink::~CreateSymlink() = default;

void CreateSymlink::execute() const {
  // Asked as every command asks, though there is nothing to skip.
  if (!utility::skippedBy(u"isSystemIntegrationSkipped", options.isSystemIntegrationSkipped(),
                          true)) {
    tellThatNothingIsDone();
  }
}

void CreateSymlink::undo() const {
  tellThatNothingIsDone();
}

void CreateSymlink::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

Path CreateSymlink::getTargetFilePath(Path const& linkPath) const {
  return Path(options.getTargetFolder(linkPath)) /
         utility::getShortcutFileName(linkPath.ustring(), linkName);
}

}  // namespace registration::commands
