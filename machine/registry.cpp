#include "machine/registry.hpp"
