#pragma once

#include <ostream>
#include <span>
#include <string>

#include "tools/regplan/catalogue.hpp"
#include "tools/regplan/runner.hpp"

/// What regplan writes for people, as plain text in UTF-8.
namespace regplan {

/// Shows a run as it happens, each line flushed.
class TextProgress final : public RunObserver {
 public:
  explicit TextProgress(std::ostream& output) : output_(output) {}

  void started(std::size_t number, std::size_t total, std::string const& name) override;
  void message(std::string const& text) override;
  void finished(CommandResult const& result) override;

 private:
  std::ostream& output_;
};

/// "3 commands: 2 done, 1 failed, in 0.120 s".
std::string summary(std::span<CommandResult const> results);

/// The commands and options that a plan may contain.
void writeCatalogue(std::ostream& output, std::span<CommandDescription const> commands,
                    std::span<OptionDescription const> options);

}  // namespace regplan
