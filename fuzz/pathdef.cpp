#include "Brantix/PathManagement/PathManagement.hpp"
#include "Brantix/PathManagement/pathdef_text.hpp"
#include "Brantix/PathManagement/text_lines.hpp"
#include "fuzz/fuzz.hpp"

namespace {

using namespace Brantix::PathManagement;
using foundation::core::except::Notification;

CanonicalAbsoluteIRI const& root() {
  static auto const root = CanonicalAbsoluteIRI::ofWindowsPath(u"C:\\Program Files\\Vortan\\R1");
  return root;
}

std::vector<AbsoluteIRI> entriesOf(std::string_view text, Notification& notification) {
  return Brantix::PathManagement::entriesOf(text, u"C:\\pathdef.vsc", root(), notification);
}

}  // namespace

void fuzz::run(std::string_view input) {
  Notification notification;
  auto entries = entriesOf(input, notification);
  FUZZ_EXPECT(notification.warnings().size() <= TextLines::warningsTold + 1);
  for (auto const& warning : notification.warnings()) FUZZ_EXPECT(!warning.reason.empty());

  Notification again;
  FUZZ_EXPECT(entriesOf(pathdefText(entries, root()), again) == entries);
  // Of entries on other servers once more.
  FUZZ_EXPECT(again.warnings().size() <= notification.warnings().size());

  auto const count = entries.size();
  auto const unique = RemoveDuplicateIris(entries);
  FUZZ_EXPECT(unique.size() <= count);
  FUZZ_EXPECT(unique.empty() == (count == 0));
}
