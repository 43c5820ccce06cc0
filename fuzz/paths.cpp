#include "fuzz/fuzz.hpp"
#include "fuzz/texts.hpp"
#include "install/cpputil/zip_names.hpp"
#include "machine/path_grammar.hpp"

namespace {

namespace grammar = machine::path_grammar;
using machine::UString;

void checkParts(UString const& path) {
  FUZZ_EXPECT(grammar::rootLength(path) <= path.size());
  UString const native = grammar::toNative(path);
  FUZZ_EXPECT(native.size() == path.size());
  FUZZ_EXPECT(grammar::toNative(native) == native);
  FUZZ_EXPECT(grammar::isAbsolute(native) == grammar::isAbsolute(path));
  FUZZ_EXPECT(grammar::components(native).size() == grammar::components(path).size());
  for (auto const name : grammar::components(native)) {
    FUZZ_EXPECT(!name.empty());
    FUZZ_EXPECT(name.find(u'\\') == name.npos);
  }
  auto const parent = grammar::parent(path);
  FUZZ_EXPECT(path.starts_with(parent));
  FUZZ_EXPECT(grammar::rootLength(path) <= parent.size());
  FUZZ_EXPECT(path.ends_with(grammar::fileName(path)));
}

/// What is absolute once stays as it is, and holds nothing that leads elsewhere.
void checkAbsolute(UString const& path) {
  UString const absolute = grammar::absolute(path, u"C:\\here\\and there");
  if (path.empty() || grammar::isVerbatim(path) || grammar::isTooLong(path)) return;
  FUZZ_EXPECT(grammar::isAbsolute(absolute));
  FUZZ_EXPECT(grammar::absolute(absolute, u"D:\\elsewhere") == absolute);
  for (auto const name : grammar::components(absolute)) {
    FUZZ_EXPECT(name != u"." && name != u"..");
  }
}

void checkJoined(UString const& folder, UString const& name) {
  UString const joined = grammar::join(folder, name);
  FUZZ_EXPECT(joined.size() <= folder.size() + name.size() + 1);
  // A name behind a server's is the share's, and part of the root.
  bool const isBelow = grammar::rootLength(joined) + name.size() <= joined.size();
  if (isBelow && grammar::isFileName(name)) {
    FUZZ_EXPECT(grammar::fileName(joined) == name);
  }
}

/// A name that an archive may have stays below the folder that it is unpacked to.
void checkZipName(std::string_view name) {
  if (!install::cpputil::problemOfZipName(name).empty()) return;
  UString const folder = u"C:\\target";
  UString const path =
      grammar::absolute(grammar::join(folder, machine::toUtf16(name)), u"C:\\here");
  FUZZ_EXPECT(path.starts_with(folder + u"\\"));
  FUZZ_EXPECT(!grammar::isAbsolute(machine::toUtf16(name)));
}

}  // namespace

void fuzz::run(std::string_view input) {
  checkZipName(input);
  auto rest = input;
  auto const first = takeLine(rest);
  UString const path = machine::toUtf16(first);
  checkParts(path);
  checkParts(unitsOf(input));
  checkAbsolute(path);
  checkJoined(path, machine::toUtf16(rest));
}
