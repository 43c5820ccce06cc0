#include "machine/overlay/written_content.hpp"

#include <algorithm>
#include <sstream>

#include "machine/simulated/version_resource.hpp"

namespace machine::overlay {

namespace {

class ContentReader final : public FileReader {
 public:
  ContentReader(Files& inner, std::shared_ptr<WrittenContent const> content)
      : inner_(inner), content_(std::move(content)) {}

  std::size_t read(std::span<char> buffer) override {
    auto const size = position_ < content_->innerSize() ? readInner(buffer) : readWritten(buffer);
    position_ += size;
    return size;
  }

  void seek(std::uint64_t position) override { position_ = position; }
  ForeignAccess foreignAccess() override {
    return content_->innerSize() > 0 ? inner_.foreignAccess(content_->innerFile())
                                     : ForeignAccess();
  }

 private:
  std::size_t readInner(std::span<char> buffer) {
    if (!innerReader_) innerReader_ = inner_.openForReading(content_->innerFile());
    innerReader_->seek(position_);
    auto const left = content_->innerSize() - position_;
    return innerReader_->read(buffer.first(std::min<std::uint64_t>(buffer.size(), left)));
  }

  std::size_t readWritten(std::span<char> buffer) const {
    auto const& bytes = content_->bytes();
    auto const start = position_ - content_->innerSize();
    if (start >= bytes.size()) return 0;
    return bytes.copy(buffer.data(), buffer.size(), start);
  }

  Files& inner_;
  std::shared_ptr<WrittenContent const> content_;
  std::unique_ptr<FileReader> innerReader_;
  std::uint64_t position_ = 0;
};

class ContentWriter final : public FileWriter {
 public:
  ContentWriter(std::shared_ptr<WrittenContent> content, bool append)
      : content_(std::move(content)), append_(append) {}

  void write(std::string_view bytes) override {
    if (append_) return content_->append(bytes);
    content_->writeAt(position_, bytes);
    position_ += bytes.size();
  }
  void flushToDisk() override {}
  void close() override {}

 private:
  std::shared_ptr<WrittenContent> content_;
  bool append_;
  std::uint64_t position_ = 0;
};

}  // namespace

void WrittenContent::clear() {
  *this = WrittenContent();
}

void WrittenContent::writeAt(std::uint64_t position, std::string_view bytes) {
  auto const end = position + bytes.size();
  if (bytes_.size() < end) bytes_.resize(end);
  std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(position));
}

std::unique_ptr<FileReader> makeReader(Files& inner,
                                       std::shared_ptr<WrittenContent const> content) {
  return std::make_unique<ContentReader>(inner, std::move(content));
}

std::unique_ptr<FileWriter> makeWriter(std::shared_ptr<WrittenContent> content, bool append) {
  return std::make_unique<ContentWriter>(std::move(content), append);
}

std::optional<FileVersion> versionOf(WrittenContent const& content, Files& inner) {
  // What is appended to a program lies behind all that its headers lead to.
  if (content.innerSize() > 0) return inner.fileVersion(content.innerFile());
  std::istringstream file(content.bytes());
  return simulated::readVersionResource(file);
}

}  // namespace machine::overlay
