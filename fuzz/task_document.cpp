#include "fuzz/fuzz.hpp"
#include "fuzz/texts.hpp"
#include "machine/error.hpp"
#include "machine/task_xml.hpp"

namespace {

bool canBeMade(machine::TaskDefinition const& definition) {
  try {
    machine::requireTask(u"Task", definition);
    return true;
  } catch (machine::SystemError const&) {
    return false;
  }
}

}  // namespace

void fuzz::run(std::string_view input) {
  machine::UString const document = machine::toUtf16(input);
  auto const read = machine::taskFromXml(document);
  if (!read) return;
  // Of elements that are not within each other the last ones may go.
  auto const disabled = machine::taskFromXml(machine::disabledTaskXml(document));
  FUZZ_EXPECT(!disabled || !disabled->enabled);
  if (!canBeMade(*read)) return;
  machine::UString const made = machine::taskXml(*read);
  FUZZ_EXPECT(machine::isXmlText(made));
  FUZZ_EXPECT(machine::taskFromXml(made) == read);
  auto expected = *read;
  expected.enabled = false;
  FUZZ_EXPECT(machine::taskFromXml(machine::disabledTaskXml(made)) == expected);
}
