#pragma once

#include <string>
#include <vector>

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

namespace install::cppinstrset {

using fl::i18n::UString;

/// An environment variable that a third-party component needs. Texts are UTF-8.
struct EnvironmentVar {
  std::string name;
  std::string value;
  /// Whether the value takes the place of one that the variable has already.
  bool overwrite = false;
};

/// What one installed third-party component says about itself in its file `instructionset.json`
/// (instructionset.schema.json). The file is loaded whenever a list is asked for, and the whole of
/// it is checked: so the installed sets can be listed even when one of them is broken, and the
/// lists of the others be had. Texts are as the file gives them, placeholders in place.
///
/// Each list throws std::runtime_error when the file cannot be read, or is not an instruction set:
/// "FILE:LINE:COLUMN: REASON" or "FILE: JSON-POINTER: REASON".
class REGISTRATION_API InstrSet {
 public:
  explicit InstrSet(UString file);
  virtual ~InstrSet();
  InstrSet(InstrSet const&) = delete;
  InstrSet& operator=(InstrSet const&) = delete;

  virtual std::vector<EnvironmentVar> get_envVariables() const;
  /// Folders of the product's search path, UTF-8.
  virtual std::vector<std::string> get_VortanPaths() const;
  /// Entries of the product's Java class path, UTF-8.
  virtual std::vector<std::string> get_JavaClassPaths() const;

 private:
  UString file_;
};

}  // namespace install::cppinstrset
