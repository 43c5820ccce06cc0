#include "registration/utility/Command.hpp"

namespace registration::utility {

Command::~Command() = default;

}  // namespace registration::utility
