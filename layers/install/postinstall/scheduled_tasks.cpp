#include "install/postinstall/scheduled_tasks.hpp"

#include <cstdint>
#include <string_view>
#include <utility>

#include "fl/i18n/ustring.hpp"
#include "machine/machine.hpp"

namespace install::postinstall {

using fl::i18n::to_ustring;

namespace {

machine::Tasks& tasks() {
  return machine::current().tasks();
}

/// The scheduler shows a task's name with a backslash before it, for its root folder.
fl::i18n::UString nameOf(std::wstring const& name) {
  return to_ustring(std::wstring_view(name).substr(name.starts_with(L'\\') ? 1 : 0));
}

/// HRESULT_FROM_WIN32 for a system error code; others are HRESULTs already.
int hresultOf(machine::SystemError const& error) {
  constexpr std::uint32_t largestSystemCode = 0xFFFF;
  constexpr std::uint32_t failureOfSystem = 0x80070000;
  constexpr std::uint32_t unspecified = 0x80004005;  // E_FAIL: a failure is never 0
  std::uint32_t const code = error.code();
  if (code == 0) {
    return static_cast<int>(unspecified);
  }
  return static_cast<int>(code <= largestSystemCode ? failureOfSystem | code : code);
}

/// What `call` returns; `otherwise` when the scheduler fails.
template <class Call, class Result>
Result resultOf(Call call, Result otherwise) {
  try {
    return call();
  } catch (machine::SystemError const&) {
    return otherwise;
  }
}

}  // namespace

int TaskCreate(std::wstring const& name, std::wstring const& s2,
               std::wstring const& applicationPath, std::wstring const& s4,
               std::wstring const& s5) {
  machine::TaskDefinition task;
  task.application = to_ustring(applicationPath);
  task.arguments = to_ustring(s5);
  task.workingFolder = to_ustring(s4);
  task.description = to_ustring(s2);
  task.author = u"Brantix";
  try {
    tasks().createOrReplace(nameOf(name), task);
    return 0;
  } catch (machine::SystemError const& error) {
    return hresultOf(error);
  }
}

int TaskExists(std::wstring const& name) {
  return resultOf([&] { return tasks().task(nameOf(name)) ? 1 : 0; }, 0);
}

int TaskDelete(std::wstring const& name) {
  return resultOf([&] { return tasks().remove(nameOf(name)) ? 1 : 0; }, 0);
}

int TaskTerminateAndDisable(std::wstring const& name) {
  return resultOf([&] { return tasks().stopAndDisable(nameOf(name)) ? 1 : 0; }, 0);
}

std::wstring GetTaskApplicationPath(std::wstring const& name) {
  return resultOf(
      [&] {
        auto const task = tasks().task(nameOf(name));
        return task ? fl::i18n::to_wstring(task->application) : std::wstring();
      },
      std::wstring());
}

}  // namespace install::postinstall
