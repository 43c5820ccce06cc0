#pragma once

#include "machine/unicode.hpp"

namespace tests {

/// The path of a program built from programs/, beside this one.
machine::UString testProgram(std::u16string_view name);

}  // namespace tests
