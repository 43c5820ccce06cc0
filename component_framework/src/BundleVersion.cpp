#include "cppmicroservices/BundleVersion.h"

#include <charconv>
#include <stdexcept>
#include <string_view>
#include <tuple>

namespace cppmicroservices {

namespace {

[[noreturn]] void refuse(std::string const& text) {
  throw std::invalid_argument("invalid version: " + text);
}

unsigned number(std::string_view field, std::string const& text) {
  unsigned value = 0;
  auto const [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
  if (error != std::errc() || end != field.data() + field.size()) {
    refuse(text);
  }
  return value;
}

bool isQualifierUnit(char unit) {
  return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') ||
         (unit >= '0' && unit <= '9') || unit == '_' || unit == '-';
}

}  // namespace

BundleVersion::BundleVersion(unsigned major, unsigned minor, unsigned micro, std::string qualifier)
    : major_(major), minor_(minor), micro_(micro), qualifier_(std::move(qualifier)) {}

BundleVersion::BundleVersion(std::string const& text) {
  std::string_view rest = text;
  for (unsigned* const field : {&major_, &minor_, &micro_}) {
    auto const dot = rest.find('.');
    *field = number(rest.substr(0, dot), text);
    if (dot == rest.npos) {
      return;
    }
    rest.remove_prefix(dot + 1);
  }
  for (char const unit : rest) {
    if (!isQualifierUnit(unit)) {
      refuse(text);
    }
  }
  qualifier_ = rest;
}

BundleVersion BundleVersion::EmptyVersion() {
  return {0, 0, 0};
}

BundleVersion BundleVersion::ParseVersion(std::string const& text) {
  return text.empty() ? EmptyVersion() : BundleVersion(text);
}

unsigned BundleVersion::GetMajor() const {
  return major_;
}

unsigned BundleVersion::GetMinor() const {
  return minor_;
}

unsigned BundleVersion::GetMicro() const {
  return micro_;
}

std::string BundleVersion::GetQualifier() const {
  return qualifier_;
}

std::string BundleVersion::ToString() const {
  auto text = std::to_string(major_) + "." + std::to_string(minor_) + "." + std::to_string(micro_);
  return qualifier_.empty() ? text : text + "." + qualifier_;
}

bool BundleVersion::operator==(BundleVersion const& other) const {
  return Compare(other) == 0;
}

int BundleVersion::Compare(BundleVersion const& other) const {
  auto const mine = std::tie(major_, minor_, micro_, qualifier_);
  auto const others = std::tie(other.major_, other.minor_, other.micro_, other.qualifier_);
  return mine < others ? -1 : others < mine ? 1 : 0;
}

std::ostream& operator<<(std::ostream& out, BundleVersion const& version) {
  return out << version.ToString();
}

}  // namespace cppmicroservices
