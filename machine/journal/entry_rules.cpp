#include "machine/journal/entry_rules.hpp"

#include <stdexcept>

#include "machine/error.hpp"
#include "machine/path_grammar.hpp"

namespace machine::journal {

namespace {

bool isOnePlace(UString const& path) {
  return path_grammar::isAbsolute(path) && path.find(u'\0') == path.npos &&
         (path_grammar::isVerbatim(path) || path_grammar::absolute(path, path) == path);
}

void requireKey(Item const& item) {
  auto const names = keyNames(keyOf(item));
  if (item.kind == Item::Kind::registryKey && names.empty()) {
    throw SystemError("keep the state of", item.where, ErrorCode::badPathName);
  }
}

template <class... States>
bool isOneOf(ItemState const& state) {
  return isNothing(state) || (std::holds_alternative<States>(state) || ...);
}

bool canBe(Item::Kind kind, ItemState const& state) {
  switch (kind) {
    case Item::Kind::file:
    case Item::Kind::folder:
    case Item::Kind::shortcut:
      return isOneOf<Existing, FileContent>(state);
    case Item::Kind::registryKey:
    case Item::Kind::taskFolder:
      return isOneOf<Existing>(state);
    case Item::Kind::registryValue:
      return isOneOf<RegistryValue>(state);
    case Item::Kind::variable:
      return isOneOf<UString>(state);
    case Item::Kind::task:
      return isOneOf<TaskDefinition>(state);
    case Item::Kind::service:
      return isOneOf<ServiceCondition>(state);
  }
  return false;
}

}  // namespace

void requireItem(Item const& item) {
  switch (item.kind) {
    case Item::Kind::file:
    case Item::Kind::folder:
    case Item::Kind::shortcut:
      if (!isOnePlace(item.where)) {
        throw SystemError("keep the state of", item.where, ErrorCode::badPathName);
      }
      break;
    case Item::Kind::registryKey:
      requireKey(item);
      break;
    case Item::Kind::registryValue:
      requireKey(item);
      requireValueName(keyOf(item), item.value);
      break;
    default:
      break;
  }
}

void requireState(Item::Kind kind, Image const& image) {
  bool const hasDocument = image.taskDocument.has_value();
  if (!canBe(kind, image.state) ||
      hasDocument != std::holds_alternative<TaskDefinition>(image.state)) {
    throw std::runtime_error("a state of another kind of item");
  }
}

}  // namespace machine::journal
