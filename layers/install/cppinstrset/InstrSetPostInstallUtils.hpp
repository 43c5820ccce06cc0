#pragma once

#include <map>
#include <memory>

#include "install/cppinstrset/InstrSet.hpp"

namespace install::cppinstrset {

/// Finds the instruction sets of the third-party components that are installed with a product.
class REGISTRATION_API InstrSetPostInstallUtils {
 public:
  InstrSetPostInstallUtils();
  virtual ~InstrSetPostInstallUtils();
  InstrSetPostInstallUtils(InstrSetPostInstallUtils const&) = delete;
  InstrSetPostInstallUtils& operator=(InstrSetPostInstallUtils const&) = delete;

  /// Every folder in the folder `instructionsets` of `root`, at any depth, that holds a file
  /// `instructionset.json` (case does not matter) is the root folder of a set: its full path in
  /// native form -> the set. Empty without such a folder; links are not entered.
  /// Throws machine::SystemError when a folder cannot be read.
  virtual std::map<UString, std::unique_ptr<InstrSet>> getInstrSetRootToComponentMap(
      UString const& root) const;
};

}  // namespace install::cppinstrset
