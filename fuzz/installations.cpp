#include "fuzz/fuzz.hpp"
#include "fuzz/texts.hpp"
#include "vortanconnector/installationsregistry/installation_records.hpp"

namespace {

using namespace vortanconnector::installationsregistry;

/// The form that is recorded names the same folder, and has no other form.
void checkRoot(UString const& root) {
  UString const normalized = normalizedRoot(root);
  FUZZ_EXPECT(isSameRoot(root, root) == !normalized.empty());
  if (normalized.empty()) return;
  FUZZ_EXPECT(normalizedRoot(normalized) == normalized);
  FUZZ_EXPECT(isSameRoot(root, normalized));
}

}  // namespace

/// The first line is a root, the rest the registry's file.
void fuzz::run(std::string_view input) {
  UString const root = machine::toUtf16(takeLine(input));
  checkRoot(root);
  UString const known = normalizedRoot(root).empty() ? u"C:\\Vortan" : normalizedRoot(root);
  std::optional<std::string> text;
  bool const isRegistry = isRead<std::runtime_error>(
      [&] { text = withRecord(std::string(input), known, "2026-11-21T08:30:00Z"); });
  if (!isRegistry || !text) return;
  FUZZ_EXPECT(isWellFormed(*text));
  FUZZ_EXPECT(!withRecord(text, known, "2026-11-21T08:30:01Z"));
  auto const other = withRecord(text, u"E:\\nobody\\has\\this", "2026-11-21T08:30:01Z");
  if (other) FUZZ_EXPECT(!withRecord(other, known, "2026-11-21T08:30:02Z"));
}
