#include <zlib.h>

#include <array>
#include <string>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/sandbox.hpp"
#include "fl/filesystem/operations.hpp"
#include "install/cpputil/zip_archive.hpp"
#include "tests/support/zip_file.hpp"

namespace benchmarks {

namespace {

constexpr std::size_t megabyte = std::size_t{1} << 20;
constexpr std::size_t fileSize = 20 * megabyte;
constexpr int fileCount = 10;

/// Packs to about a third, as programs do: words in an order that does not repeat.
std::string programLike() {
  std::string content;
  std::uint32_t state = 1;
  while (content.size() < fileSize) {
    state = state * 1664525 + 1013904223;
    content.append("instruction ", state >> 30).append(std::to_string(state >> 12));
  }
  content.resize(fileSize);
  return content;
}

/// What any reader must do at least.
std::size_t inflateAlone(std::string& packed) {
  static std::array<char, 1 << 16> unpacked;
  z_stream stream{};
  inflateInit2(&stream, -MAX_WBITS);
  stream.next_in = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_in = static_cast<uInt>(packed.size());
  int result = Z_OK;
  while (result == Z_OK) {
    stream.next_out = reinterpret_cast<Bytef*>(unpacked.data());
    stream.avail_out = static_cast<uInt>(unpacked.size());
    result = inflate(&stream, Z_NO_FLUSH);
  }
  std::size_t const size = stream.total_out;
  inflateEnd(&stream);
  return size;
}

}  // namespace

void unpack() {
  Sandbox const sandbox;
  std::string const content = programLike();
  std::vector<tests::ZipMember> members;
  for (int i = 0; i < fileCount; ++i) {
    members.push_back({"folder/" + std::to_string(i) + ".bin", content});
  }
  auto const file = workFolder() / u"package.zip";
  makeFile(file, tests::zipOf(members));
  std::string packed = tests::ZipFile::deflate(content);

  auto const target = workFolder() / u"unpacked";
  auto const subject = [&] {
    install::cpputil::zip_archive(file).extract(target);
    fl::filesystem::remove_all(target);
  };
  auto const baseline = [&] {
    for (int i = 0; i < fileCount; ++i) {
      inflateAlone(packed);
    }
  };
  printRatio("unpacking a package of 200 MB, checked and written, against zlib's inflate alone",
             "2 at most", 5, subject, baseline);
}

}  // namespace benchmarks
