#include "machine/simulated/simulated_modules.hpp"

#include <algorithm>
#include <span>
#include <string_view>

#include "machine/error.hpp"
#include "machine/path_grammar.hpp"

namespace machine::simulated {

using nlohmann::json;

namespace {

UString withExtension(std::u16string_view module) {
  bool const hasOne = path_grammar::fileName(module).find(u'.') != module.npos;
  return UString(module) + (hasOne ? u"" : u".dll");
}

/// The text up to its first NUL, as UTF-8 even when it was not.
std::string recorded(std::string const& text) {
  return toUtf8(toUtf16(text.c_str()));
}

bool endsName(char byte) {
  return byte == '\0' || byte == '\n' || byte == '\r';
}

/// Whether `name` stands in the bytes after the first one, between bytes that end a name.
bool hasName(std::string_view bytes, std::string_view name) {
  for (auto at = bytes.find(name, 1); at != bytes.npos; at = bytes.find(name, at + 1)) {
    auto const end = at + name.size();
    if (endsName(bytes[at - 1]) && end < bytes.size() && endsName(bytes[end])) return true;
  }
  return false;
}

/// What a call would come to as far as the file tells: notLoaded for an empty one and one that
/// cannot be read, noEntryPoint when the name does not stand in it. A module may have any size, so
/// little of it is held at a time.
ModuleCall callOf(std::string const& entryPoint, Files& files, UString const& path) try {
  auto const module = files.openForReading(path);
  constexpr std::size_t partSize = 65536;
  bool const isName = !entryPoint.empty() && entryPoint.find('\0') == entryPoint.npos;
  auto result = ModuleCall::notLoaded;
  std::string bytes(1, '\0');  // the beginning and the end of the file end a name
  for (bool isAtEnd = false; !isAtEnd;) {
    auto const kept = bytes.size();
    bytes.resize(kept + partSize);
    auto const count = module->read(std::span(bytes).subspan(kept));
    isAtEnd = count == 0;
    if (!isAtEnd) result = ModuleCall::noEntryPoint;
    bytes.resize(kept + count);
    if (isAtEnd) bytes += '\0';
    if (isName && hasName(bytes, entryPoint)) return ModuleCall::called;
    // A name may go on in the next part; the byte before it and the one after it belong to it.
    bytes.erase(0, bytes.size() - std::min(bytes.size(), entryPoint.size() + 1));
  }
  return result;
} catch (SystemError const&) {
  return ModuleCall::notLoaded;
}

}  // namespace

void SimulatedModules::readCalls(JsonValue const& document) {
  json calls = json::array();
  for (auto const& call : document.member("calls").elements()) {
    for (auto const* text : {"module", "entryPoint"}) call.member(text).text();
    for (auto const& argument : call.member("arguments").elements()) argument.text();
    calls.push_back(call.json());
  }
  json bundles = json::array();
  if (document.has("bundles")) {
    for (auto const& load : document.member("bundles").elements()) {
      load.member("folder").text();
      for (auto const& module : load.member("modules").elements()) module.text();
      bundles.push_back(load.json());
    }
  }
  calls_ = std::move(calls);
  bundles_ = std::move(bundles);
}

SimulatedModules::Found SimulatedModules::find(std::u16string_view module,
                                               std::string const& entryPoint) {
  for (UString const& folder :
       {shell_.knownFolder(KnownFolder::system), files_.currentDirectory()}) {
    UString path = path_grammar::absolute(withExtension(module), folder);
    auto const call = callOf(entryPoint, files_, path);
    if (call != ModuleCall::notLoaded) return {std::move(path), call};
  }
  return {};
}

ModuleCall SimulatedModules::callEntryPoint(std::u16string_view module, std::u16string_view file,
                                            std::string const& entryPoint,
                                            std::array<std::string, 3> const& arguments) {
  if (module.empty()) return ModuleCall::notLoaded;
  auto const [path, found] = find(module, entryPoint);
  if (found == ModuleCall::notLoaded) return found;
  if (!equalIgnoringCase(path, path_grammar::absolute(file, files_.currentDirectory())))
    throw OtherModule(file, path);
  if (found != ModuleCall::called) return found;
  json texts = json::array();
  for (auto const& argument : arguments) texts.push_back(recorded(argument));
  calls_.push_back({{"module", toUtf8(path)},
                    {"entryPoint", recorded(entryPoint)},
                    {"arguments", std::move(texts)}});
  return ModuleCall::called;
}

bool SimulatedModules::admitBundles(std::u16string_view folder,
                                    std::vector<UString> const& modules) {
  json paths = json::array();
  for (auto const& module : modules) paths.push_back(toUtf8(module));
  bundles_.push_back({{"folder", toUtf8(folder)}, {"modules", std::move(paths)}});
  return false;
}

}  // namespace machine::simulated
