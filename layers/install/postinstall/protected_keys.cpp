#include "install/postinstall/protected_keys.hpp"

#include <algorithm>
#include <span>
#include <string_view>
#include <vector>

#include "machine/unicode.hpp"

namespace install::postinstall {

using machine::equalIgnoringCase;
using machine::RegistryRoot;

namespace {

using Components = std::vector<std::u16string_view>;

/// Below HKEY_LOCAL_MACHINE; all above each key is protected with it.
constexpr std::u16string_view machineKeys[] = {
    u"BCD00000000\\Objects",
    u"COMPONENTS\\DerivedData",
    u"DRIVERS\\DriverDatabase",
    u"HARDWARE\\DESCRIPTION\\System",
    u"HARDWARE\\DEVICEMAP",
    u"HARDWARE\\RESOURCEMAP",
    u"SAM\\SAM\\Domains",
    u"SECURITY\\Policy",
    u"SOFTWARE\\Classes\\*\\shell",
    u"SOFTWARE\\Classes\\*\\shellex",
    u"SOFTWARE\\Classes\\.bat",
    u"SOFTWARE\\Classes\\.cmd",
    u"SOFTWARE\\Classes\\.com",
    u"SOFTWARE\\Classes\\.dll",
    u"SOFTWARE\\Classes\\.exe",
    u"SOFTWARE\\Classes\\.lnk",
    u"SOFTWARE\\Classes\\.msi",
    u"SOFTWARE\\Classes\\.reg",
    u"SOFTWARE\\Classes\\.sys",
    u"SOFTWARE\\Classes\\.txt",
    u"SOFTWARE\\Classes\\.url",
    u"SOFTWARE\\Classes\\AllFilesystemObjects",
    u"SOFTWARE\\Classes\\AppID",
    u"SOFTWARE\\Classes\\Applications",
    u"SOFTWARE\\Classes\\CLSID",
    u"SOFTWARE\\Classes\\Component Categories",
    u"SOFTWARE\\Classes\\Directory\\Background",
    u"SOFTWARE\\Classes\\Directory\\shell",
    u"SOFTWARE\\Classes\\Drive\\shell",
    u"SOFTWARE\\Classes\\Folder\\shell",
    u"SOFTWARE\\Classes\\Installer",
    u"SOFTWARE\\Classes\\Interface",
    u"SOFTWARE\\Classes\\Local Settings",
    u"SOFTWARE\\Classes\\MIME\\Database",
    u"SOFTWARE\\Classes\\Protocols",
    u"SOFTWARE\\Classes\\SystemFileAssociations",
    u"SOFTWARE\\Classes\\TypeLib",
    u"SOFTWARE\\Classes\\Unknown",
    u"SOFTWARE\\Classes\\batfile\\shell",
    u"SOFTWARE\\Classes\\cmdfile\\shell",
    u"SOFTWARE\\Classes\\comfile\\shell",
    u"SOFTWARE\\Classes\\dllfile",
    u"SOFTWARE\\Classes\\exefile\\shell",
    u"SOFTWARE\\Classes\\lnkfile",
    u"SOFTWARE\\Classes\\Msi.Package",
    u"SOFTWARE\\Classes\\regfile\\shell",
    u"SOFTWARE\\Clients",
    u"SOFTWARE\\Microsoft\\.NETFramework",
    u"SOFTWARE\\Microsoft\\COM3",
    u"SOFTWARE\\Microsoft\\Cryptography",
    u"SOFTWARE\\Microsoft\\Ole",
    u"SOFTWARE\\Microsoft\\Rpc",
    u"SOFTWARE\\Microsoft\\SystemCertificates",
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths",
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Component Based Servicing",
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders",
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer",
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Policies",
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run",
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunOnce",
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Setup",
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs",
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\SideBySide",
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
    u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Fonts",
    u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options",
    u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList",
    u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Schedule",
    u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Svchost",
    u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon",
    u"SOFTWARE\\Policies\\Microsoft",
    u"SOFTWARE\\RegisteredApplications",
    u"SYSTEM\\CurrentControlSet\\Control\\Class",
    u"SYSTEM\\CurrentControlSet\\Control\\ComputerName",
    u"SYSTEM\\CurrentControlSet\\Control\\CrashControl",
    u"SYSTEM\\CurrentControlSet\\Control\\DeviceClasses",
    u"SYSTEM\\CurrentControlSet\\Control\\FileSystem",
    u"SYSTEM\\CurrentControlSet\\Control\\GroupOrderList",
    u"SYSTEM\\CurrentControlSet\\Control\\IDConfigDB",
    u"SYSTEM\\CurrentControlSet\\Control\\Keyboard Layouts",
    u"SYSTEM\\CurrentControlSet\\Control\\Lsa",
    u"SYSTEM\\CurrentControlSet\\Control\\Network",
    u"SYSTEM\\CurrentControlSet\\Control\\Nls",
    u"SYSTEM\\CurrentControlSet\\Control\\Print",
    u"SYSTEM\\CurrentControlSet\\Control\\ProductOptions",
    u"SYSTEM\\CurrentControlSet\\Control\\SafeBoot",
    u"SYSTEM\\CurrentControlSet\\Control\\SecurePipeServers",
    u"SYSTEM\\CurrentControlSet\\Control\\SecurityProviders",
    u"SYSTEM\\CurrentControlSet\\Control\\ServiceGroupOrder",
    u"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment",
    u"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\KnownDLLs",
    u"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Memory Management",
    u"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\SubSystems",
    u"SYSTEM\\CurrentControlSet\\Control\\SystemInformation",
    u"SYSTEM\\CurrentControlSet\\Control\\Terminal Server",
    u"SYSTEM\\CurrentControlSet\\Control\\TimeZoneInformation",
    u"SYSTEM\\CurrentControlSet\\Control\\Video",
    u"SYSTEM\\CurrentControlSet\\Control\\Windows",
    u"SYSTEM\\CurrentControlSet\\Enum",
    u"SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\Software",
    u"SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\System\\CurrentControlSet",
    u"SYSTEM\\CurrentControlSet\\Policies",
    u"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application",
    u"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Security",
    u"SYSTEM\\CurrentControlSet\\Services\\EventLog\\System",
    u"SYSTEM\\CurrentControlSet\\Services\\LanmanServer\\Parameters",
    u"SYSTEM\\CurrentControlSet\\Services\\LanmanWorkstation\\Parameters",
    u"SYSTEM\\CurrentControlSet\\Services\\RpcSs",
    u"SYSTEM\\CurrentControlSet\\Services\\Schedule",
    u"SYSTEM\\CurrentControlSet\\Services\\Tcpip\\Parameters",
    u"SYSTEM\\CurrentControlSet\\Services\\Winmgmt",
    u"SYSTEM\\CurrentControlSet\\Services\\WinSock2\\Parameters",
    u"SYSTEM\\DriverDatabase",
    u"SYSTEM\\HardwareConfig",
    u"SYSTEM\\MountedDevices",
    u"SYSTEM\\RNG",
    u"SYSTEM\\Select",
    u"SYSTEM\\Setup",
    u"SYSTEM\\WPA",
};

/// Below a user's key.
constexpr std::u16string_view userKeys[] = {
    u"AppEvents",
    u"Console",
    u"Control Panel\\Colors",
    u"Control Panel\\Desktop",
    u"Control Panel\\International",
    u"Control Panel\\Mouse",
    u"Environment",
    u"EUDC",
    u"Keyboard Layout\\Preload",
    u"Network",
    u"Printers",
    u"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders",
    u"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
    u"Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings",
    u"Software\\Microsoft\\Windows\\CurrentVersion\\Policies",
    u"Software\\Microsoft\\Windows\\CurrentVersion\\Run",
    u"Software\\Microsoft\\Windows\\CurrentVersion\\RunOnce",
    u"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
    u"Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows",
    u"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon",
    u"Software\\Policies\\Microsoft",
    u"System\\CurrentControlSet\\Control",
    u"Volatile Environment",
};

Components split(std::u16string_view path) {
  Components names;
  while (!path.empty()) {
    std::size_t const end = std::min(path.find(u'\\'), path.size());
    names.push_back(path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return names;
}

bool startsWith(Components const& path, Components const& start) {
  return path.size() >= start.size() &&
         std::equal(start.begin(), start.end(), path.begin(), equalIgnoringCase);
}

/// What stands in the place of a start that is another name for it.
Components replaceStart(Components const& path, std::size_t length, Components replacement) {
  replacement.insert(replacement.end(), path.begin() + static_cast<std::ptrdiff_t>(length),
                     path.end());
  return replacement;
}

/// "ControlSet001" and its like, which CurrentControlSet is a link to one of.
bool isControlSet(std::u16string_view name) {
  constexpr std::u16string_view start = u"ControlSet";
  return name.size() > start.size() && equalIgnoringCase(name.substr(0, start.size()), start);
}

/// The key under its usual name, for keys of the machine and of a user alike.
Components canonical(Components path) {
  if (path.size() >= 2 && equalIgnoringCase(path[0], u"SYSTEM") && isControlSet(path[1])) {
    path[1] = u"CurrentControlSet";
  }
  if (equalIgnoringCase(path[0], u"SOFTWARE")) {
    std::erase_if(path, [](auto name) { return equalIgnoringCase(name, u"WOW6432Node"); });
  }
  return path;
}

bool isEqualOrAbove(std::u16string_view path, std::u16string_view protectedKey) {
  return equalIgnoringCase(path, protectedKey.substr(0, path.size())) &&
         (path.size() == protectedKey.size() || protectedKey[path.size()] == u'\\');
}

bool isInTable(Components const& path, std::span<std::u16string_view const> table) {
  machine::UString text;
  for (auto const name : path) {
    text += (text.empty() ? u"" : u"\\");
    text += name;
  }
  return std::any_of(table.begin(), table.end(),
                     [&](auto protectedKey) { return isEqualOrAbove(text, protectedKey); });
}

bool isProtectedMachineKey(Components const& names) {
  Components const path = canonical(names);
  return path.size() == 1 || isInTable(path, machineKeys);
}

bool isProtectedClass(Components const& path) {
  return isProtectedMachineKey(replaceStart(path, 0, {u"SOFTWARE", u"Classes"}));
}

bool isProtectedUserKey(Components const& names) {
  Components const path = canonical(names);
  Components const classes{u"Software", u"Classes"};
  if (startsWith(path, classes)) {
    return isProtectedClass(replaceStart(path, classes.size(), {}));
  }
  return isInTable(path, userKeys);
}

/// The first name is a user's, or a user's with "_Classes" for that user's Software\Classes.
bool isProtectedBelowUsers(Components const& path) {
  if (path.size() == 1) {
    return true;
  }
  Components const below = replaceStart(path, 1, {});
  constexpr std::u16string_view classes = u"_Classes";
  std::u16string_view const user = path.front();
  bool const isClasses = user.size() > classes.size() &&
                         equalIgnoringCase(user.substr(user.size() - classes.size()), classes);
  return isClasses ? isProtectedClass(below) : isProtectedUserKey(below);
}

}  // namespace

bool isProtectedKey(machine::RegistryKey const& key) {
  Components const path = split(key.path);
  if (path.empty()) {
    return true;
  }
  switch (key.root) {
    case RegistryRoot::classesRoot:
      return isProtectedClass(path);
    case RegistryRoot::currentUser:
      return isProtectedUserKey(path);
    case RegistryRoot::localMachine:
      return isProtectedMachineKey(path);
    case RegistryRoot::users:
      return isProtectedBelowUsers(path);
    case RegistryRoot::currentConfig:
      return isProtectedMachineKey(replaceStart(
          path, 0, {u"SYSTEM", u"CurrentControlSet", u"Hardware Profiles", u"Current"}));
  }
  return true;
}

}  // namespace install::postinstall
