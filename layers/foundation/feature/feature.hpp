#pragma once

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

/// Switches that turn parts of the product on and off.
namespace foundation::feature {

/// A named switch. Non-zero means on.
class REGISTRATION_API IFeature {
 public:
  virtual ~IFeature();
  virtual int get() const = 0;
};

/// A switch set on the machine. The first of these that is there gives its value:
///
///   1. the environment variable BRANTIX_VORTAN_FEATURE_<name>
///   2. the registry value <name> of HKEY_LOCAL_MACHINE\SOFTWARE\Brantix\Vortan\Features, a DWORD
///      or a text
///
/// A text is a decimal number, "1" or "-3"; an empty one counts as not there. Without a value the
/// feature is off, 0. The object holds nothing but its name and asks the current machine each time,
/// so that any number of threads may share it and no machine's value is taken for another's.
class REGISTRATION_API Feature final : public IFeature {
 public:
  explicit Feature(fl::i18n::UString name);
  /// Throws std::runtime_error for a text that is no number and for a value of another type, and
  /// what the machine throws.
  int get() const override;

 private:
  fl::i18n::UString name_;
};

}  // namespace foundation::feature
