#pragma once

#include <string>
#include <vector>

#include "fl/i18n/ustring.hpp"
#include "install/cpputil/trouble.hpp"

namespace tests {

/// What is told of trouble while it lives.
class TroubleCapture {
 public:
  using Report = install::cpputil::trouble::report;

  std::vector<Report> const& reports() const { return reports_; }
  /// Their texts, UTF-8.
  std::vector<std::string> texts() const {
    std::vector<std::string> texts;
    for (auto const& report : reports_) texts.push_back(fl::i18n::ustring_to_utf8(report.text));
    return texts;
  }

 private:
  std::vector<Report> reports_;
  install::cpputil::trouble::scoped_observer observer_{
      [this](Report const& told) { reports_.push_back(told); }};
};

}  // namespace tests
