#pragma once

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Has the product's class-path service write the Java class path of what is installed. The service
/// (foundation::classpath::ClassPathService) comes from the bundles in
/// `bin\win64\classpath_services` below the bundle root.
///
/// undo does the same, for what is left then. A std::exception, that no bundle offers the service
/// among them, is logged and ends the call.
class REGISTRATION_API GenerateJavaClassPath : public utility::Command {
 public:
  explicit GenerateJavaClassPath(utility::Options const& options);
  GenerateJavaClassPath(GenerateJavaClassPath const&);
  ~GenerateJavaClassPath() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual void log_message(UString const& message) const;
  virtual void invokeClassPathService() const;

 private:
  utility::Options options;
};

}  // namespace registration::commands
