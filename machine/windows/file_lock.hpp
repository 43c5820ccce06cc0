#pragma once

#include <windows.h>

namespace machine::windows {

/// Locks an open file against every other handle's lock, until the handle is closed. False with
/// ERROR_LOCK_VIOLATION when another one has it. The locked byte lies where no file has content,
/// because others can neither read nor write what is locked.
inline bool tryLock(HANDLE file) {
  OVERLAPPED place{};
  place.Offset = MAXDWORD - 1;
  place.OffsetHigh = MAXLONG;
  return LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) !=
         FALSE;
}

}  // namespace machine::windows
