#include "machine/simulated/simulated_shell.hpp"

#include "machine/error.hpp"

namespace machine::simulated {

UString SimulatedShell::knownFolder(KnownFolder folder) {
  switch (folder) {
    case KnownFolder::desktop:
      return u"C:\\Users\\User\\Desktop";
    case KnownFolder::startMenu:
      return u"C:\\Users\\User\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs";
    case KnownFolder::publicDesktop:
      return u"C:\\Users\\Public\\Desktop";
    case KnownFolder::commonStartMenu:
      return u"C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs";
    case KnownFolder::programData:
      return u"C:\\ProgramData";
    case KnownFolder::system:
      return u"C:\\Windows\\System32";
  }
  throw SystemError("find the known folder", u"", ErrorCode::fileNotFound);
}

}  // namespace machine::simulated
