#include "foundation/feature/feature.hpp"

#include <charconv>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "machine/little_endian.hpp"
#include "machine/machine.hpp"

namespace foundation::feature {

using fl::i18n::UString;
using machine::RegistryType;

namespace {

[[noreturn]] void refuse(UString const& name, std::string const& reason) {
  throw std::runtime_error("feature " + fl::i18n::ustring_to_utf8(name) + ": " + reason);
}

int numberOf(UString const& name, UString const& text) {
  std::string const digits = fl::i18n::ustring_to_utf8(text);
  int number = 0;
  auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) {
    refuse(name, "\"" + digits + "\" is not a number");
  }
  return number;
}

/// REG_DWORD keeps its four bytes with the lowest first.
int dwordOf(UString const& name, std::string const& bytes) {
  if (bytes.size() != 4) {
    refuse(name, "its registry value is damaged");
  }
  return static_cast<int>(machine::littleEndian(bytes));
}

std::optional<UString> nonEmpty(std::optional<UString> text) {
  return text && !text->empty() ? std::move(text) : std::nullopt;
}

}  // namespace

IFeature::~IFeature() = default;

Feature::Feature(UString name) : name_(std::move(name)) {}

int Feature::get() const {
  auto& computer = machine::current();
  if (auto const text =
          nonEmpty(computer.environment().variable(u"BRANTIX_VORTAN_FEATURE_" + name_))) {
    return numberOf(name_, *text);
  }
  auto const value = computer.registry().value(
      {machine::RegistryRoot::localMachine, u"SOFTWARE\\Brantix\\Vortan\\Features"}, name_);
  if (!value) {
    return 0;
  }
  switch (value->type) {
    case RegistryType::dword:
      return dwordOf(name_, value->data);
    case RegistryType::string:
    case RegistryType::expandableString: {
      auto const text = nonEmpty(value->text());
      return text ? numberOf(name_, *text) : 0;
    }
    default:
      refuse(name_, "its registry value is neither a number nor a text");
  }
}

}  // namespace foundation::feature
