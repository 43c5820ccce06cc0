#include <string>

#include "benchmarks/benchmark.hpp"
#include "registration/commands/os/path_rewrite.hpp"

namespace benchmarks {

void rewritePath() {
  using namespace registration::commands::path_rewrite;
  registration::UString current;
  for (int i = 0; current.size() < 1980; ++i) {
    current += u"C:\\Program Files\\Product " + fl::i18n::to_ustring(std::to_string(i)) + u"\\bin;";
  }
  Installations const none{[](registration::Path const&) { return false; },
                           [](registration::Path const&) { return registration::UString(); }};
  NewEntry const entry{u"C:\\Program Files\\Vortan\\R1\\bin", u"25.1.0.1", u"vortan.exe"};
  constexpr int times = 1000;
  std::size_t units = 0;
  auto const rewrite = [&] {
    for (int i = 0; i < times; ++i) {
      units += withEntry(current, entry, none).size();
    }
  };
  rewrite();
  double const time = seconds(rewrite);
  printFigure("rewriting a Path of " + std::to_string(current.size()) + " units",
              units > 0 ? time / times * 1e6 : 0, "microseconds");
}

}  // namespace benchmarks
