#include "machine/foreign_access.hpp"

namespace machine {

std::string weaknessOf(ForeignAccess const& access) {
  if (!access.owner.empty()) return "belongs to " + toUtf8(access.owner);
  return access.mayReplace ? "may be replaced by others" : "may be written by others";
}

}  // namespace machine
