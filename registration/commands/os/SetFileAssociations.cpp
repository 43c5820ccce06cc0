#include "registration/commands/SetFileAssociations.hpp"

#include <stdexcept>

#include "install/cpputil/logger.hpp"
#include "platform/reg/file_associations.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

namespace {

bool hasFileAssociations(unsigned long productCode) {
  return productCode == 4 || productCode == 8 || productCode == 16;
}

}  // namespace

SetFileAssociations::SetFileAssociations(utility::Options const& given, unsigned long code)
    : options(given), productCode(static_cast<std::uint32_t>(code)) {
  if (!hasFileAssociations(code)) {
    throw std::runtime_error(
        "Exception occured while setting file associations: Selected product does not have support "
        "for file associations.");
  }
}
SetFileAssociations::SetFileAssociations(SetFileAssociations const&) = default;
SetFileAssociations::SetFileAssociations(SetFileAssociations&&) = default;
SetFileAssociations::~SetFileAssociations() = default;

void SetFileAssociations::execute() const {
  if (utility::skippedBy(u"isSystemIntegrationSkipped", options.isSystemIntegrationSkipped(),
                         true) ||
      utility::skippedBy(u"isFileAssociationRequested", options.isFileAssociationRequested(),
                         false)) {
    return;
  }
  UString const root = options.getRootPath();
  log_message(u"Updating file associations at " + root);
  utility::reportingFailure(
      [&] {
        registerWrapper();
        log_message(u"Successfully updated file associations at " + root);
      },
      [&](UString const& text) {
        logFailure(text, u"Failed to update file associations at ", root);
      });
}

void SetFileAssociations::undo() const {
  if (utility::skippedBy(u"isFileAssociationRequested", options.isFileAssociationRequested(),
                         false)) {
    return;
  }
  UString const root = options.getRootPath();
  log_message(u"Deleting file associations at " + root);
  utility::reportingFailure(
      [&] {
        unregisterWrapper();
        log_message(u"Successfully deleted file associations at " + root);
      },
      [&](UString const& text) {
        logFailure(text, u"Failed to delete file associations at ", root);
      });
}

void SetFileAssociations::logFailure(UString const& text, UString const& failure,
                                     UString const& root) const {
  utility::tellFailure(failure + root, text, root);
  log_message(text);
  log_message(failure + root);
}

void SetFileAssociations::registerWrapper() const {
  platform::reg::registerFileAssociations(options.getRootPath(), productCode);
}

void SetFileAssociations::unregisterWrapper() const {
  platform::reg::unregisterFileAssociations(options.getRootPath(), productCode);
}

void SetFileAssociations::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

}  // namespace registration::commands
