#include "machine/process_end.hpp"

#include <cstdlib>

namespace machine {

void atProcessEnd(void (*function)()) {
  std::atexit(function);
}

}  // namespace machine
