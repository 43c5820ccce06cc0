#include "registration/commands/CreateSymlink.hpp"

#include "install/cpputil/logger.hpp"
#include "registration/utility/utilities.hpp"

namespace registration::commands {

CreateSymlink::CreateSymlink(utility::Options const& given, std::vector<Path> const& paths,
                             UString const& name)
    : options(given), linkPaths(paths), linkName(name) {}
CreateSymlink::CreateSymlink(CreateSymlink const&) = default;
CreateSymlink::~CreateSymlink() = default;

void CreateSymlink::execute() const {
  // Asked as every command asks, though there is nothing to skip.
  static_cast<void>(options.isSystemIntegrationSkipped());
}

void CreateSymlink::undo() const {}

void CreateSymlink::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

Path CreateSymlink::getTargetFilePath(Path const& linkPath) const {
  return Path(options.getTargetFolder(linkPath)) /
         utility::getShortcutFileName(linkPath.ustring(), linkName);
}

}  // namespace registration::commands
