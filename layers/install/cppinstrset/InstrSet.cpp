#include "install/cppinstrset/InstrSet.hpp"

#include <utility>

#include "install/cppinstrset/instruction_set_file.hpp"

namespace install::cppinstrset {

InstrSet::InstrSet(UString file) : file_(std::move(file)) {}
InstrSet::~InstrSet() = default;

std::vector<EnvironmentVar> InstrSet::get_envVariables() const {
  return readInstructionSet(file_).envVariables;
}

std::vector<std::string> InstrSet::get_VortanPaths() const {
  return readInstructionSet(file_).VortanPaths;
}

std::vector<std::string> InstrSet::get_JavaClassPaths() const {
  return readInstructionSet(file_).JavaClassPaths;
}

}  // namespace install::cppinstrset
