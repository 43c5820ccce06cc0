#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "machine/files.hpp"

namespace machine::overlay {

/// The bytes of a file that was written: those written, behind those that an inner file keeps when
/// it was only appended to.
class WrittenContent {
 public:
  /// Nothing yet.
  WrittenContent() = default;
  /// The first `size` bytes of an inner file, read where they lie whenever they are asked for.
  WrittenContent(UString innerFile, std::uint64_t size)
      : innerFile_(std::move(innerFile)), innerSize_(size) {}

  std::uint64_t size() const { return innerSize_ + bytes_.size(); }
  /// The inner file that the content begins with; empty when there is none.
  UString const& innerFile() const { return innerFile_; }
  std::uint64_t innerSize() const { return innerSize_; }
  /// Behind the inner file's.
  std::string const& bytes() const { return bytes_; }

  void clear();
  void append(std::string_view bytes) { bytes_ += bytes; }
  /// What lies between the end and `position` becomes zeros. REQUIRES: no inner file.
  void writeAt(std::uint64_t position, std::string_view bytes);

 private:
  UString innerFile_;
  std::uint64_t innerSize_ = 0;
  std::string bytes_;
};

/// Reads what the content is at the time of each call.
std::unique_ptr<FileReader> makeReader(Files& inner, std::shared_ptr<WrittenContent const> content);

/// For append every write goes to the end, else on from the beginning.
std::unique_ptr<FileWriter> makeWriter(std::shared_ptr<WrittenContent> content, bool append);

/// As Files::fileVersion.
std::optional<FileVersion> versionOf(WrittenContent const& content, Files& inner);

}  // namespace machine::overlay
