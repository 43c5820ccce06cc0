#include "machine/guards.hpp"

namespace machine {

std::string_view nameOf(GuardState state) {
  switch (state) {
    case GuardState::on:
      return "on";
    case GuardState::notOffered:
      return "not offered by this system";
    case GuardState::refused:
      break;
  }
  return "refused by the system";
}

}  // namespace machine
