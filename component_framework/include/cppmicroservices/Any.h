#pragma once

#include <any>
#include <concepts>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "cppmicroservices/GlobalConfig.h"

namespace cppmicroservices {

class US_Framework_EXPORT BadAnyCastException : public std::bad_cast {
 public:
  explicit BadAnyCastException(std::string message) : message_(std::move(message)) {}
  BadAnyCastException(BadAnyCastException const&);
  ~BadAnyCastException() override;
  char const* what() const noexcept override { return message_.c_str(); }

 private:
  std::string message_;
};

/// A value of any copyable type: a service's property, a header of a manifest.
class Any {
 public:
  Any() = default;

  template <typename Value>
  requires(!std::same_as<std::decay_t<Value>, Any>)
      Any(Value&& value)  // NOLINT: a property's value stands for itself
      : value_(std::decay_t<Value>(std::forward<Value>(value))),
        print_(&printed<std::decay_t<Value>>) {}

  bool Empty() const { return !value_.has_value(); }
  /// typeid(void) when empty.
  std::type_info const& Type() const { return value_.type(); }
  /// The value as text: a string as it is, others as a stream prints them. Throws std::logic_error
  /// when empty or of a type that no stream prints.
  std::string ToString() const {
    if (Empty()) {
      throw std::logic_error("empty any");
    }
    return print_(value_);
  }
  /// Empty text in place of an exception.
  std::string ToStringNoExcept() const {
    try {
      return ToString();
    } catch (std::exception const&) {
      return {};
    }
  }
  void Swap(Any& other) noexcept { std::swap(*this, other); }

 private:
  template <typename Value>
  friend Value const* any_cast(Any const* any);
  template <typename Value>
  friend Value* any_cast(Any* any);

  template <typename Value>
  static std::string printed(std::any const& value) {
    if constexpr (std::same_as<Value, std::string>) {
      return *std::any_cast<std::string>(&value);
    } else if constexpr (requires(std::ostream & out, Value const& v) { out << v; }) {
      std::ostringstream text;
      text << *std::any_cast<Value>(&value);
      return text.str();
    } else {
      throw std::logic_error(std::string("no text for a value of type ") + typeid(Value).name());
    }
  }

  std::any value_;
  std::string (*print_)(std::any const&) = nullptr;
};

/// Null when the value is of another type.
template <typename Value>
Value const* any_cast(Any const* any) {
  return any == nullptr ? nullptr : std::any_cast<Value>(&any->value_);
}
template <typename Value>
Value* any_cast(Any* any) {
  return any == nullptr ? nullptr : std::any_cast<Value>(&any->value_);
}

/// The value itself. Throws BadAnyCastException when it is of another type.
template <typename Value>
Value const& ref_any_cast(Any const& any) {
  auto const* value = any_cast<std::remove_cvref_t<Value>>(&any);
  if (value == nullptr) {
    throw BadAnyCastException(std::string("cppmicroservices::BadAnyCastException: asked for ") +
                              typeid(Value).name() + ", got " + any.Type().name());
  }
  return *value;
}
template <typename Value>
Value any_cast(Any const& any) {
  return ref_any_cast<std::remove_cvref_t<Value>>(any);
}

}  // namespace cppmicroservices
