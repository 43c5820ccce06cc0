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

constexpr char16_t const* featuresKey = u"SOFTWARE\\Brantix\\Vortan\\Features";

[[noreturn]] void refuse(UString const& place, std::string const& reason) {
  throw std::runtime_error(fl::i18n::ustring_to_utf8(place) + " " + reason);
}

/// `place` names what holds the text.
int numberOf(UString const& place, UString const& text) {
  std::string const digits = fl::i18n::ustring_to_utf8(text);
  int number = 0;
  auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) {
    refuse(place, "is \"" + digits + "\", which is no number");
  }
  return number;
}

/// REG_DWORD keeps its four bytes with the lowest first.
int dwordOf(UString const& place, std::string const& bytes) {
  if (bytes.size() != 4) {
    refuse(place, "is a damaged number of " + std::to_string(bytes.size()) + " bytes");
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
  UString const variable = u"BRANTIX_VORTAN_FEATURE_" + name_;
  if (auto const text = nonEmpty(computer.environment().variable(variable))) {
    return numberOf(u"the environment variable " + variable, *text);
  }
  auto const value =
      computer.registry().value({machine::RegistryRoot::localMachine, featuresKey}, name_);
  if (!value) {
    return 0;
  }
  UString const place = u"the registry value " + name_ + u" of HKEY_LOCAL_MACHINE\\" + featuresKey;
  switch (value->type) {
    case RegistryType::dword:
      return dwordOf(place, value->data);
    case RegistryType::string:
    case RegistryType::expandableString: {
      auto const text = nonEmpty(value->text());
      return text ? numberOf(place, *text) : 0;
    }
    default:
      refuse(place, "is neither a number nor a text");
  }
}

}  // namespace foundation::feature
