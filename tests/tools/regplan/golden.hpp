#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>

/// Results compared with files that were read by eye and committed. With REGPLAN_UPDATE_GOLDEN set
/// the files are written instead.
namespace regplan::golden {

inline std::string readBytes(std::filesystem::path const& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline void writeBytes(std::filesystem::path const& file, std::string_view bytes) {
  std::filesystem::create_directories(std::filesystem::absolute(file).parent_path());
  std::ofstream(file, std::ios::binary) << bytes;
}

inline bool isUpdate() {
  return std::getenv("REGPLAN_UPDATE_GOLDEN") != nullptr;
}

inline void expectFile(std::filesystem::path const& file, std::string const& actual) {
  if (isUpdate()) {
    writeBytes(file, actual);
  } else {
    EXPECT_EQ(readBytes(file), actual) << file;
  }
}

/// The contents of all files below a folder, by their path in it with '/'.
using Tree = std::map<std::string, std::string>;

inline Tree readTree(std::filesystem::path const& folder) {
  Tree tree;
  if (!std::filesystem::exists(folder)) return tree;
  for (auto const& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    std::u8string const name = entry.path().lexically_relative(folder).generic_u8string();
    tree[std::string(name.begin(), name.end())] = readBytes(entry.path());
  }
  return tree;
}

inline void writeTree(std::filesystem::path const& folder, Tree const& tree) {
  for (auto const& [name, bytes] : tree) {
    writeBytes(folder / std::u8string(name.begin(), name.end()), bytes);
  }
}

/// The folder holds these files and no other.
inline void expectTree(std::filesystem::path const& folder, Tree const& actual) {
  if (isUpdate()) {
    std::filesystem::remove_all(folder);
    writeTree(folder, actual);
    return;
  }
  Tree const expected = readTree(folder);
  for (auto const& [name, bytes] : expected) {
    EXPECT_TRUE(actual.contains(name)) << folder << " misses " << name;
  }
  for (auto const& [name, bytes] : actual) {
    auto const found = expected.find(name);
    if (found == expected.end()) {
      ADD_FAILURE() << folder << " has too much: " << name;
    } else {
      EXPECT_EQ(found->second, bytes) << folder << " " << name;
    }
  }
}

}  // namespace regplan::golden
