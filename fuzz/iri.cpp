#include <optional>

#include "Brantix/PathManagement/PathManagement.hpp"
#include "foundation/storage/vfs/CanonicalAbsoluteIRI.hpp"
#include "foundation/storage/vfs/Exception.hpp"
#include "fuzz/fuzz.hpp"
#include "fuzz/scratch_machine.hpp"
#include "fuzz/texts.hpp"
#include "machine/path_grammar.hpp"

namespace {

using namespace foundation::storage::vfs;

/// What was said once in canonical form is said so by each of its readers.
void checkCanonical(CanonicalAbsoluteIRI const& iri) {
  UString const path = windowsPath(iri);
  FUZZ_EXPECT(machine::path_grammar::isAbsolute(path));
  FUZZ_EXPECT(CanonicalAbsoluteIRI::ofWindowsPath(path) == iri);
  AbsoluteIRI const read(iri.text());
  FUZZ_EXPECT(CanonicalAbsoluteIRI(read) == iri);
  FUZZ_EXPECT(windowsPath(read) == path);
}

template <class Make>
void checkIfAny(Make const& make) {
  std::optional<CanonicalAbsoluteIRI> iri;
  try {
    iri = make();
  } catch (Exception const& refusal) {
    FUZZ_EXPECT(refusal.getErrorCode() == ErrorCode::invalidLocation);
    FUZZ_EXPECT(*refusal.what() != '\0');
  }
  if (iri) checkCanonical(*iri);
}

}  // namespace

/// The first line is an IRI or a path, the next one goes on from there.
void fuzz::run(std::string_view input) {
  UString const text = machine::toUtf16(takeLine(input));
  UString const relative = machine::toUtf16(takeLine(input));
  ScratchMachine const scratch;
  checkIfAny([&] { return CanonicalAbsoluteIRI(AbsoluteIRI(text), relative); });
  checkIfAny([&] { return CanonicalAbsoluteIRI::ofWindowsPath(text); });
  checkIfAny([&] { return CanonicalAbsoluteIRI(Brantix::PathManagement::GetIRIFromString(text)); });
}
