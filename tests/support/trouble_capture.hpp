#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "fl/i18n/ustring.hpp"
#include "install/cpputil/trouble.hpp"

namespace tests {

/// What is told of trouble while it lives.
class TroubleCapture {
 public:
  using Report = install::cpputil::trouble::report;
  using Severity = install::cpputil::trouble::severity;

  std::vector<Report> const& reports() const { return reports_; }
  /// Their texts, UTF-8.
  std::vector<std::string> texts() const {
    std::vector<std::string> texts;
    for (auto const& report : reports_) texts.push_back(fl::i18n::ustring_to_utf8(report.text));
    return texts;
  }
  /// How many there are of this severity whose text contains `text`.
  std::size_t count(Severity severity, fl::i18n::UString const& text = {}) const {
    return static_cast<std::size_t>(std::ranges::count_if(reports_, [&](Report const& told) {
      return told.severity == severity && told.text.find(text) != told.text.npos;
    }));
  }
  std::size_t errors(fl::i18n::UString const& text = {}) const {
    return count(Severity::error, text);
  }
  std::size_t warnings(fl::i18n::UString const& text = {}) const {
    return count(Severity::warning, text);
  }

 private:
  std::vector<Report> reports_;
  install::cpputil::trouble::scoped_observer observer_{
      [this](Report const& told) { reports_.push_back(told); }};
};

}  // namespace tests
