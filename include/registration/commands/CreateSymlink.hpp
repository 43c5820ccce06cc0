#pragma once

#include <vector>

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Stands for the links to installed files in an installer's plan. It makes and removes nothing and
/// logs nothing: execute and undo are empty on purpose.
class REGISTRATION_API CreateSymlink : public utility::Command {
 public:
  /// `linkPaths`: the links. `linkName`: the file name of their targets, without ".lnk"; empty for
  /// the stem of each link's own.
  CreateSymlink(utility::Options const& options, std::vector<Path> const& linkPaths,
                UString const& linkName);
  CreateSymlink(CreateSymlink const&);
  ~CreateSymlink() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual void log_message(UString const& message) const;

 private:
  /// The folder that the options give for the link joined with the target's file name. Throws
  /// std::runtime_error when the link's path and the name are both empty.
  Path getTargetFilePath(Path const& linkPath) const;

  utility::Options options;
  std::vector<Path> linkPaths;
  UString linkName;
};

}  // namespace registration::commands
