#include "machine/tasks.hpp"

#include <algorithm>

#include "machine/error.hpp"
#include "machine/task_xml.hpp"

namespace machine {

namespace {

bool isFileNameUnit(char16_t unit) {
  constexpr std::u16string_view reserved = u"<>:\"/|?*";
  return unit >= 0x20 && reserved.find(unit) == reserved.npos;
}

/// "." and ".." end with a dot too.
bool isComponent(std::u16string_view name) {
  return !name.empty() && name.back() != u'.' && name.back() != u' ' &&
         std::all_of(name.begin(), name.end(), isFileNameUnit);
}

}  // namespace

bool isTaskName(std::u16string_view name) {
  if (!isXmlText(name)) {
    return false;
  }
  for (;;) {
    auto const separator = name.find(u'\\');
    if (!isComponent(name.substr(0, separator))) {
      return false;
    }
    if (separator == name.npos) {
      return true;
    }
    name.remove_prefix(separator + 1);
  }
}

std::vector<UString> taskFolders(std::u16string_view name) {
  std::vector<UString> folders;
  if (!isTaskName(name)) return folders;
  for (auto end = name.find(u'\\'); end != name.npos; end = name.find(u'\\', end + 1)) {
    folders.emplace_back(name.substr(0, end));
  }
  return folders;
}

void requireTask(std::u16string_view name, TaskDefinition const& definition) {
  bool const carried = isXmlText(definition.application) && isXmlText(definition.arguments) &&
                       isXmlText(definition.workingFolder) && isXmlText(definition.description) &&
                       isXmlText(definition.author) && isXmlText(definition.group);
  if (!isTaskName(name) || definition.application.empty() || !carried) {
    throw SystemError("create the task", name, ErrorCode::invalidParameter);
  }
}

}  // namespace machine
