#pragma once

#include <string>

#include "machine/api.hpp"

/// Scheduled tasks of the product, by name: without regard to case, `Maker\Updater` in a folder, or
/// `\Maker\Updater` as the scheduler shows it.
/// No failure of the scheduler is thrown; a name that no task can have (empty, with ".." or a
/// separator at an end, with control characters) is such a failure.
namespace install::postinstall {

/// Creates the task, or puts it in the place of the one of that name: at the logon of any user it
/// starts the application for that user, in the user's session and with all rights the user has.
/// `s2` is the description, `s4` the folder it works in, `s5` its command line without the program.
/// 0, or the HRESULT of the failure: E_INVALIDARG for a name, application or text that a task
/// cannot have.
REGISTRATION_API int TaskCreate(std::wstring const& name, std::wstring const& s2,
                                std::wstring const& applicationPath, std::wstring const& s4,
                                std::wstring const& s5);

/// Non-zero when there is such a task.
REGISTRATION_API int TaskExists(std::wstring const& name);

/// Non-zero when the task was deleted; 0 also when there was none.
REGISTRATION_API int TaskDelete(std::wstring const& name);

/// Non-zero when the task is disabled and has no running instance any more; 0 also when there is
/// none.
REGISTRATION_API int TaskTerminateAndDisable(std::wstring const& name);

/// The application that the task runs; empty when there is no such task.
REGISTRATION_API std::wstring GetTaskApplicationPath(std::wstring const& name);

}  // namespace install::postinstall
