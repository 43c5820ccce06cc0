#include <filesystem>
#include <stdexcept>
#include <string>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/native_walk.hpp"
#include "benchmarks/sandbox.hpp"
#include "fl/filesystem/operations.hpp"
#include "registration/commands/metadata/list_files.hpp"

namespace benchmarks {

namespace {

constexpr int folders = 2'000;
constexpr int filesInFolder = 50;

/// 100,000 files in 2,000 folders, 40 folders wide and 50 deep; one file in fifty is a PHL file.
void makeTree(fl::filesystem::Path const& root) {
  for (int top = 0; top < 40; ++top) {
    fl::filesystem::Path folder = root / fl::i18n::to_ustring("part" + std::to_string(top));
    for (int depth = 0; depth < folders / 40; ++depth) {
      fl::filesystem::create_directories(folder);
      for (int file = 0; file < filesInFolder; ++file) {
        makeFile(folder / fl::i18n::to_ustring("file" + std::to_string(file) +
                                               (file == 0 ? ".phl" : ".txt")),
                 "");
      }
      folder /= u"d";
    }
  }
}

void expect(std::size_t found, char const* by) {
  if (found != folders) {
    throw std::runtime_error(std::string(by) + " found " + std::to_string(found) + " PHL files");
  }
}

std::size_t byStandardIterator(std::filesystem::path const& root) {
  std::size_t found = 0;
  for (auto const& entry : std::filesystem::recursive_directory_iterator(root)) {
    found += !entry.is_directory() && entry.path().extension() == ".phl";
  }
  return found;
}

}  // namespace

void walkTree() {
  fl::filesystem::Path const root = workFolder() / u"tree";
  makeTree(root);
  auto const ours = [&] {
    std::set<fl::filesystem::Path> found;
    registration::commands::metadata::findFilesByExtension(root, u"phl", found);
    expect(found.size(), "the walk");
  };
  auto const native = [&] { expect(nativeWalk(root), "the system calls"); };
  auto const standard = [&] {
    expect(byStandardIterator(hostPath(root)), "the standard iterator");
  };
  printRatio("finding PHL files among 100,000: ours / bare system calls", "at most 1.15", 7, ours,
             native);
  printRatio("finding PHL files among 100,000: standard iterator / ours", "at least 2", 7, standard,
             ours);
}

}  // namespace benchmarks
