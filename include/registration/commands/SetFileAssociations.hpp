#pragma once

#include <cstdint>

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Has files of the product's types opened by the installation; undo takes that back. Both act only
/// when the options request file associations. A std::exception of the file-association library is
/// logged, its text first, and ends the call.
class REGISTRATION_API SetFileAssociations : public utility::Command {
 public:
  /// Throws std::runtime_error for a product without file types: a code other than 4, 8 and 16.
  SetFileAssociations(utility::Options const& options, unsigned long productCode);
  SetFileAssociations(SetFileAssociations const&);
  SetFileAssociations(SetFileAssociations&&);
  ~SetFileAssociations() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual void registerWrapper() const;
  virtual void unregisterWrapper() const;
  virtual void log_message(UString const& message) const;

 private:
  /// Logs an exception's text and the line of the failure, and tells them as trouble.
  void logFailure(UString const& text, UString const& failure, UString const& root) const;

  utility::Options options;
  std::uint32_t productCode;
};

}  // namespace registration::commands
