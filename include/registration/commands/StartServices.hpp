#pragma once

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Has the Task Scheduler run an application of the product: stops and disables a task of the same
/// name that runs the same application, then creates it anew; undo stops, disables and deletes it.
///
/// A task of that name that runs another application counts as none: execute creates over it, undo
/// leaves it. Every outcome is one line in the log; undo tells a stop that failed as a task that
/// does not exist. Only exceptions of text conversion, allocation and logging leave the calls.
class REGISTRATION_API StartServices : public utility::Command {
 public:
  /// `taskName`: the task's name. `taskString2`: its description. `applicationPath`: full path of
  /// the application. `taskString5`: the application's command line. `flag`: kept, without effect.
  StartServices(utility::Options const& options, UString const& taskName,
                UString const& taskString2, UString const& applicationPath,
                UString const& taskString5, bool flag);
  StartServices(StartServices const&);
  ~StartServices() override;

  void execute() const override;
  void undo() const override;

 protected:
  /// 0, or an error code.
  virtual int TaskCreateWrapper(UString const& name, UString const& s2,
                                UString const& applicationPath, UString const& s4,
                                UString const& s5) const;
  virtual bool TaskExistsWrapper(UString const& name) const;
  /// Whether there is a task of that name that runs the command's application; paths are compared
  /// without regard to the case of A to Z.
  virtual bool checkIfTaskExists(UString const& name) const;
  /// 0 when it failed.
  virtual int TaskDeleteWrapper(UString const& name) const;
  /// 0 when it failed.
  virtual int TaskTerminateAndDisableWrapper(UString const& name) const;
  virtual UString GetTaskApplicationPathWrapper(UString const& name) const;
  virtual void log_message(UString const& message) const;
  /// "<task name> for <application path>".
  virtual UString getTaskMessage() const;

 private:
  /// Logs a line that says what was not done, and tells it as trouble.
  void logTrouble(UString const& line) const;

  utility::Options options;
  UString taskName;
  UString taskString2;
  UString applicationPath;
  UString taskString5;
  [[maybe_unused]] bool flag;  // part of the interface that installers are built against
};

}  // namespace registration::commands
