#pragma once

#include <vector>

#include "install/cpputil/logger.hpp"

namespace tests {

/// The messages that reach the installation log while it lives.
class LogCapture {
 public:
  std::vector<fl::i18n::UString> const& messages() const { return messages_; }

 private:
  std::vector<fl::i18n::UString> messages_;
  install::cpputil::logger::scoped_observer observer_{
      [this](fl::i18n::UString const& message) { messages_.push_back(message); }};
};

}  // namespace tests
