#pragma once

namespace machine {

/// Has a function called when the process ends by returning from main or by exit(), before any
/// module is unloaded and any static object of a module that is loaded by now is destroyed; the one
/// registered last comes first. From a DLL std::atexit would be too late: it comes with the DLL's
/// own unloading, when modules loaded later are gone.
void atProcessEnd(void (*function)());

}  // namespace machine
