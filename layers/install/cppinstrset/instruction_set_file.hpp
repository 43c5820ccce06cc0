#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "install/cppinstrset/InstrSet.hpp"

namespace install::cppinstrset {

/// The lists of an instruction set; those that its file leaves out are empty.
struct InstructionSetContent {
  std::vector<EnvironmentVar> envVariables;
  std::vector<std::string> VortanPaths;
  std::vector<std::string> JavaClassPaths;
};

/// Larger files are refused, before they are read to their end.
inline constexpr std::size_t instructionSetSizeLimit = 1024 * 1024;

/// Reads and checks the document `text`; `file` names it in the text of the std::runtime_error that
/// is thrown at the first thing that instructionset.schema.json does not allow, that is no JSON, or
/// that names a member twice.
InstructionSetContent parseInstructionSet(std::string_view text, UString const& file);

/// The same of a file. A file that cannot be read is a machine::SystemError.
InstructionSetContent readInstructionSet(UString const& file);

}  // namespace install::cppinstrset
