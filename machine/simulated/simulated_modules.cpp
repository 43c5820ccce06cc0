#include "machine/simulated/simulated_modules.hpp"

#include "machine/error.hpp"
#include "machine/path_grammar.hpp"

namespace machine::simulated {

using nlohmann::json;

namespace {

UString withExtension(std::u16string_view module) {
  bool const hasOne = path_grammar::fileName(module).find(u'.') != module.npos;
  return UString(module) + (hasOne ? u"" : u".dll");
}

/// Empty when there is no such file or it cannot be read.
std::string content(Files& files, UString const& path) {
  try {
    auto const reader = files.openForReading(path);
    std::string bytes;
    std::array<char, 65536> part;
    while (std::size_t const count = reader->read(part)) bytes.append(part.data(), count);
    return bytes;
  } catch (SystemError const&) {
    return {};
  }
}

/// The text up to its first NUL, as UTF-8 even when it was not.
std::string recorded(std::string const& text) {
  return toUtf8(toUtf16(text.c_str()));
}

bool endsName(char byte) {
  return byte == '\0' || byte == '\n' || byte == '\r';
}

bool exports(std::string const& module, std::string const& entryPoint) {
  if (entryPoint.empty() || entryPoint.find('\0') != entryPoint.npos) return false;
  for (auto at = module.find(entryPoint); at != module.npos; at = module.find(entryPoint, at + 1)) {
    auto const end = at + entryPoint.size();
    if ((at == 0 || endsName(module[at - 1])) && (end == module.size() || endsName(module[end])))
      return true;
  }
  return false;
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

SimulatedModules::Found SimulatedModules::find(std::u16string_view module) {
  for (UString const& folder :
       {shell_.knownFolder(KnownFolder::system), files_.currentDirectory()}) {
    UString path = path_grammar::absolute(withExtension(module), folder);
    std::string bytes = content(files_, path);
    if (!bytes.empty()) return {std::move(path), std::move(bytes)};
  }
  return {};
}

ModuleCall SimulatedModules::callEntryPoint(std::u16string_view module, std::u16string_view file,
                                            std::string const& entryPoint,
                                            std::array<std::string, 3> const& arguments) {
  if (module.empty()) return ModuleCall::notLoaded;
  auto const [path, bytes] = find(module);
  if (bytes.empty()) return ModuleCall::notLoaded;
  if (!equalIgnoringCase(path, path_grammar::absolute(file, files_.currentDirectory())))
    throw OtherModule(file, path);
  if (!exports(bytes, entryPoint)) return ModuleCall::noEntryPoint;
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
