#include "benchmarks/sandbox.hpp"

#include "fl/filesystem/fstream.hpp"
#include "fl/filesystem/operations.hpp"

namespace benchmarks {

fl::filesystem::Path workFolder() {
  return u"C:\\registration-benchmark";
}

void makeFile(fl::filesystem::Path const& file, std::string_view content) {
  fl::filesystem::ofstream stream(file, fl::filesystem::open_mode::truncate);
  stream << content << std::flush;
  if (!stream) {
    throw std::runtime_error("cannot write " + fl::i18n::to_string(file.ustring()));
  }
}

}  // namespace benchmarks
