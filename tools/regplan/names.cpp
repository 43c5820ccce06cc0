#include "tools/regplan/names.hpp"

namespace regplan {

using machine::HandOver;
using machine::Item;
using machine::ServiceRecovery;
using machine::ServiceStart;
using machine::ServiceState;
using machine::WindowState;

Tone toneOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::done:
      return Tone::good;
    case Outcome::nothingToDo:
      return Tone::idle;
    case Outcome::handsOver:
      return Tone::noted;
    case Outcome::doneWithProblems:
      return Tone::doubtful;
    case Outcome::failed:
      break;
  }
  return Tone::bad;
}

Tone toneOf(ItemOutcome outcome) {
  switch (outcome) {
    case ItemOutcome::restored:
    case ItemOutcome::already:
      return Tone::good;
    case ItemOutcome::forced:
      return Tone::noted;
    case ItemOutcome::left:
    case ItemOutcome::notRestorable:
      return Tone::doubtful;
    case ItemOutcome::failed:
      break;
  }
  return Tone::bad;
}

Name nameOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::done:
      return {"done", "done"};
    case Outcome::nothingToDo:
      return {"nothingToDo", "nothing to do"};
    case Outcome::handsOver:
      return {"handsOver", "hands over"};
    case Outcome::doneWithProblems:
      return {"doneWithProblems", "done with problems"};
    case Outcome::failed:
      return {"failed", "failed"};
  }
  return {};
}

Name nameOf(ItemOutcome outcome) {
  switch (outcome) {
    case ItemOutcome::restored:
      return {"restored", "restored"};
    case ItemOutcome::already:
      return {"unchanged", "already as before"};
    case ItemOutcome::forced:
      return {"forced", "restored by force"};
    case ItemOutcome::left:
      return {"left", "left as it is"};
    case ItemOutcome::notRestorable:
      return {"notRestorable", "not restorable"};
    case ItemOutcome::failed:
      return {"failed", "failed"};
  }
  return {};
}

Name nameOf(Trouble::Severity severity) {
  switch (severity) {
    case Trouble::Severity::skipped:
      return {"skipped", "skipped"};
    case Trouble::Severity::warning:
      return {"warning", "warning"};
    case Trouble::Severity::error:
      return {"error", "problem"};
  }
  return {};
}

Name nameOf(Item::Kind kind) {
  switch (kind) {
    case Item::Kind::file:
      return {"file", "file"};
    case Item::Kind::folder:
      return {"folder", "folder"};
    case Item::Kind::shortcut:
      return {"shortcut", "shortcut"};
    case Item::Kind::registryKey:
      return {"registryKey", "registry key"};
    case Item::Kind::registryValue:
      return {"registryValue", "registry value"};
    case Item::Kind::variable:
      return {"variable", "environment variable"};
    case Item::Kind::task:
      return {"task", "scheduled task"};
    case Item::Kind::taskFolder:
      return {"taskFolder", "task folder"};
    case Item::Kind::service:
      return {"service", "service"};
  }
  return {};
}

Name nameOf(HandOver::Kind kind) {
  switch (kind) {
    case HandOver::Kind::program:
      return {"program", "program"};
    case HandOver::Kind::shellProgram:
      return {"shellProgram", "program opened by the shell"};
    case HandOver::Kind::module:
      return {"module", "module"};
    case HandOver::Kind::bundles:
      return {"bundles", "bundles of the component framework"};
  }
  return {};
}

Name nameOf(WindowState window) {
  switch (window) {
    case WindowState::normal:
      return {"normal", "normal"};
    case WindowState::maximized:
      return {"maximized", "maximized"};
    case WindowState::minimized:
      return {"minimized", "minimized"};
  }
  return {};
}

Name nameOf(ServiceStart start) {
  switch (start) {
    case ServiceStart::automatic:
      return {"automatic", "automatic"};
    case ServiceStart::manual:
      return {"manual", "manual"};
    case ServiceStart::disabled:
      return {"disabled", "disabled"};
  }
  return {};
}

Name nameOf(ServiceState state) {
  switch (state) {
    case ServiceState::stopped:
      return {"stopped", "stopped"};
    case ServiceState::startPending:
      return {"startPending", "starting"};
    case ServiceState::stopPending:
      return {"stopPending", "stopping"};
    case ServiceState::running:
      return {"running", "running"};
    case ServiceState::continuePending:
      return {"continuePending", "continuing"};
    case ServiceState::pausePending:
      return {"pausePending", "pausing"};
    case ServiceState::paused:
      return {"paused", "paused"};
  }
  return {};
}

Name nameOf(ServiceRecovery::Kind kind) {
  switch (kind) {
    case ServiceRecovery::Kind::none:
      return {"none", "nothing"};
    case ServiceRecovery::Kind::restart:
      return {"restart", "restart"};
    case ServiceRecovery::Kind::reboot:
      return {"reboot", "restart the computer"};
    case ServiceRecovery::Kind::runCommand:
      return {"runCommand", "run a command"};
  }
  return {};
}

}  // namespace regplan
