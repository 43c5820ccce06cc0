#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "machine/forwarding.hpp"
#include "tests/support/substituted_machine.hpp"

namespace tests {

/// A machine's files with one file among them that goes on and on, and takes no room anywhere.
class HugeFile final : public machine::ForwardingFiles {
 public:
  /// Reading `path`, which must exist, gives `beginning` and then `filler` up to `size` bytes.
  HugeFile(Files& inner, machine::UString path, std::uint64_t size, char filler,
           std::string beginning = {})
      : ForwardingFiles(inner),
        path_(std::move(path)),
        size_(size),
        filler_(filler),
        beginning_(std::move(beginning)) {}

  /// How many of its bytes were read so far.
  std::uint64_t bytesRead() const { return read_; }

  std::unique_ptr<machine::FileReader> openForReading(std::u16string_view path) override {
    if (!machine::equalIgnoringCase(path, path_)) return inner().openForReading(path);
    return std::make_unique<Reader>(*this);
  }

 private:
  class Reader final : public machine::FileReader {
   public:
    explicit Reader(HugeFile& file) : file_(file) {}
    std::size_t read(std::span<char> buffer) override {
      auto const count =
          static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), file_.size_ - at_));
      std::fill_n(buffer.begin(), count, file_.filler_);
      if (at_ < file_.beginning_.size()) {
        file_.beginning_.copy(buffer.data(), count, static_cast<std::size_t>(at_));
      }
      at_ += count;
      file_.read_ += count;
      return count;
    }
    void seek(std::uint64_t position) override { at_ = std::min(position, file_.size_); }
    machine::ForeignAccess foreignAccess() override { return {}; }

   private:
    HugeFile& file_;
    std::uint64_t at_ = 0;
  };

  machine::UString path_;
  std::uint64_t size_;
  char filler_;
  std::string beginning_;
  std::uint64_t read_ = 0;
};

}  // namespace tests
