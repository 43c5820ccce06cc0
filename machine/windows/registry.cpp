#include <windows.h>

#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

// Microsoft, "Registry element size limits".
constexpr std::size_t maxKeyName = 255;
constexpr std::size_t maxValueName = 16383;

HKEY handleOf(RegistryRoot root) {
  switch (root) {
    case RegistryRoot::classesRoot:
      return HKEY_CLASSES_ROOT;
    case RegistryRoot::currentUser:
      return HKEY_CURRENT_USER;
    case RegistryRoot::localMachine:
      return HKEY_LOCAL_MACHINE;
    case RegistryRoot::users:
      return HKEY_USERS;
    case RegistryRoot::currentConfig:
      return HKEY_CURRENT_CONFIG;
  }
  return nullptr;
}

SystemError registryError(std::string_view operation, RegistryKey const& key, LSTATUS status) {
  UString subject(registryRootName(key.root));
  if (!key.path.empty()) {
    subject += u'\\' + key.path;
  }
  return systemError(operation, subject, static_cast<DWORD>(status));
}

/// True for done, false for nothing there; throws for all else.
bool wasFound(std::string_view operation, RegistryKey const& key, LSTATUS status) {
  switch (status) {
    case ERROR_SUCCESS:
      return true;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_KEY_DELETED:
      return false;
    default:
      throw registryError(operation, key, status);
  }
}

LSTATUS readValue(HKEY key, UString const& name, RegistryValue& value) {
  DWORD type = REG_NONE;
  value.data.resize(256);
  for (;;) {
    auto size = static_cast<DWORD>(value.data.size());
    LSTATUS const status = RegQueryValueExW(key, wide(name), nullptr, &type,
                                            reinterpret_cast<BYTE*>(value.data.data()), &size);
    if (status == ERROR_MORE_DATA && size > largestRegistryValue) {
      return ERROR_FILE_TOO_LARGE;
    }
    if (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
      value.data.resize(size);
    }
    if (status != ERROR_MORE_DATA) {
      value.type = static_cast<RegistryType>(type);
      return status;
    }
  }
}

LSTATUS readSubkeys(HKEY key, std::vector<UString>& names) {
  UString name;
  for (;;) {
    name.resize(maxKeyName + 1);
    auto length = static_cast<DWORD>(name.size());
    LSTATUS const status = RegEnumKeyExW(key, static_cast<DWORD>(names.size()), wideBuffer(name),
                                         &length, nullptr, nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS) {
      return status == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : status;
    }
    name.resize(length);
    names.push_back(name);
  }
}

LSTATUS readValues(HKEY key, std::vector<std::pair<UString, RegistryValue>>& values) {
  UString name(maxValueName + 1, u'\0');
  std::string data(256, '\0');
  for (;;) {
    auto length = static_cast<DWORD>(name.size());
    auto size = static_cast<DWORD>(data.size());
    DWORD type = REG_NONE;
    LSTATUS const status =
        RegEnumValueW(key, static_cast<DWORD>(values.size()), wideBuffer(name), &length, nullptr,
                      &type, reinterpret_cast<BYTE*>(data.data()), &size);
    if (status == ERROR_MORE_DATA && size > largestRegistryValue) {
      return ERROR_FILE_TOO_LARGE;
    }
    if (status == ERROR_MORE_DATA && size > data.size()) {
      data.resize(size);
    } else if (status == ERROR_SUCCESS) {
      values.emplace_back(name.substr(0, length),
                          RegistryValue{static_cast<RegistryType>(type), data.substr(0, size)});
    } else {
      return status == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : status;
    }
  }
}

/// The open key was removed by someone else, or its handle closed.
bool isStale(LSTATUS status) {
  return status == ERROR_KEY_DELETED || status == ERROR_INVALID_HANDLE;
}

/// Asks for the default value, whether there is one or not: the cheapest question to an open key.
LSTATUS checkAlive(HKEY key) {
  LSTATUS const status = RegQueryValueExW(key, L"", nullptr, nullptr, nullptr, nullptr);
  return isStale(status) ? status : ERROR_SUCCESS;
}

/// The registry's 64-bit view. Opening a key costs more than reading or writing a value, so the key
/// last opened for writing stays open for the next operation on it.
class WindowsRegistry final : public Registry {
 public:
  bool createKey(RegistryKey const& key) override {
    if (isOpen(key) && checkAlive(open_.get()) == ERROR_SUCCESS) {
      return false;
    }
    return openForWriting(key) == REG_CREATED_NEW_KEY;
  }

  bool keyExists(RegistryKey const& key) override {
    return onExistingKey("look for", key, KEY_READ, checkAlive);
  }

  std::optional<RegistryValue> value(RegistryKey const& key, std::u16string_view name) override {
    if (hasNul(name)) {
      return std::nullopt;
    }
    RegistryValue result;
    UString const terminated(name);
    bool const found = onExistingKey("read a value of", key, KEY_READ, [&](HKEY handle) {
      return readValue(handle, terminated, result);
    });
    return found ? std::optional(std::move(result)) : std::nullopt;
  }

  void setValue(RegistryKey const& key, std::u16string_view name,
                RegistryValue const& value) override {
    if (hasNul(name)) {
      throw registryError("write a value of", key, ERROR_INVALID_PARAMETER);
    }
    requireValueSize(key, value);
    UString const terminated(name);
    // The call reads one unit beyond a string that has no terminator, and takes a NUL there along;
    // what follows here is none.
    std::string const guarded = value.data + "\xFF\xFF";
    auto const write = [&] {
      return RegSetValueExW(open_.get(), wide(terminated), 0, static_cast<DWORD>(value.type),
                            reinterpret_cast<BYTE const*>(guarded.data()),
                            static_cast<DWORD>(value.data.size()));
    };
    LSTATUS status = isOpen(key) ? write() : ERROR_INVALID_HANDLE;
    if (isStale(status)) {
      openForWriting(key);
      status = write();
    }
    if (status != ERROR_SUCCESS) {
      throw registryError("write a value of", key, status);
    }
  }

  void setText(RegistryKey const& key, std::u16string_view name,
               std::u16string_view text) override {
    DWORD type = REG_SZ;
    // A key just made has no value to ask for; an open one that is stale counts as none.
    if (isOpen(key) || openForWriting(key) != REG_CREATED_NEW_KEY) {
      UString const terminated(name);
      LSTATUS const status =
          RegQueryValueExW(open_.get(), wide(terminated), nullptr, &type, nullptr, nullptr);
      if (status != ERROR_SUCCESS || type != REG_EXPAND_SZ) {
        type = REG_SZ;
      }
    }
    setValue(key, name, RegistryValue::ofText(text, static_cast<RegistryType>(type)));
  }

  bool removeValue(RegistryKey const& key, std::u16string_view name) override {
    if (hasNul(name)) {
      return false;
    }
    UString const terminated(name);
    return onExistingKey("remove a value of", key, KEY_SET_VALUE,
                         [&](HKEY handle) { return RegDeleteValueW(handle, wide(terminated)); });
  }

  bool removeKey(RegistryKey const& key) override {
    // Without a name below the root the call would empty the whole root.
    if (key.path.find_first_not_of(u'\\') == UString::npos || hasNul(key.path)) {
      throw registryError("remove", key, ERROR_INVALID_PARAMETER);
    }
    open_.reset();
    return wasFound("remove", key, RegDeleteTreeW(handleOf(key.root), wide(key.path)));
  }

  bool removeEmptyKey(RegistryKey const& key) override {
    if (key.path.find_first_not_of(u'\\') == UString::npos || hasNul(key.path)) {
      throw registryError("remove", key, ERROR_INVALID_PARAMETER);
    }
    open_.reset();
    bool empty = false;
    // Looked at through a handle, and removed at once: the call itself refuses a key with subkeys.
    bool const isThere = onExistingKey("remove", key, KEY_QUERY_VALUE, [&](HKEY handle) {
      auto const isEmpty = [&](LSTATUS& status) {
        DWORD keys = 0;
        DWORD values = 0;
        status = RegQueryInfoKeyW(handle, nullptr, nullptr, nullptr, &keys, nullptr, nullptr,
                                  &values, nullptr, nullptr, nullptr, nullptr);
        return status == ERROR_SUCCESS && keys == 0 && values == 0;
      };
      LSTATUS status = ERROR_SUCCESS;
      if (!(empty = isEmpty(status))) return status;
      LSTATUS const removed =
          RegDeleteKeyExW(handleOf(key.root), wide(key.path), KEY_WOW64_64KEY, 0);
      if (removed == ERROR_SUCCESS || (empty = isEmpty(status)) || status != ERROR_SUCCESS) {
        return removed;
      }
      return status;  // somebody has put a subkey into it
    });
    return !isThere || empty;
  }

  std::vector<UString> subkeys(RegistryKey const& key) override {
    std::vector<UString> names;
    onExistingKey("list the subkeys of", key, KEY_READ, [&](HKEY handle) {
      names.clear();
      return readSubkeys(handle, names);
    });
    return names;
  }

  std::vector<std::pair<UString, RegistryValue>> values(RegistryKey const& key) override {
    std::vector<std::pair<UString, RegistryValue>> result;
    onExistingKey("list the values of", key, KEY_READ, [&](HKEY handle) {
      result.clear();
      return readValues(handle, result);
    });
    return result;
  }

 private:
  bool isOpen(RegistryKey const& key) const { return open_ && openKey_ == key; }

  /// Makes the key when it is missing and keeps it open. The disposition.
  DWORD openForWriting(RegistryKey const& key) {
    open_.reset();
    if (hasNul(key.path)) {
      throw registryError("create", key, ERROR_INVALID_PARAMETER);
    }
    HKEY handle = nullptr;
    DWORD disposition = 0;
    LSTATUS const status =
        RegCreateKeyExW(handleOf(key.root), wide(key.path), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_READ | KEY_WRITE | KEY_WOW64_64KEY, nullptr, &handle, &disposition);
    if (status != ERROR_SUCCESS) {
      throw registryError("create", key, status);
    }
    open_.reset(handle);
    openKey_ = key;
    return disposition;
  }

  /// Runs `operation`, which answers a status, on the key. False when it found nothing, or when
  /// there is no such key.
  template <class Operation>
  bool onExistingKey(std::string_view what, RegistryKey const& key, REGSAM access,
                     Operation operation) {
    if (isOpen(key)) {
      LSTATUS const status = operation(open_.get());
      if (!isStale(status)) {
        return wasFound(what, key, status);
      }
      open_.reset();
    }
    if (hasNul(key.path)) {
      return false;
    }
    HKEY handle = nullptr;
    LSTATUS const status =
        RegOpenKeyExW(handleOf(key.root), wide(key.path), 0, access | KEY_WOW64_64KEY, &handle);
    UniqueKey const owner(handle);
    return wasFound(what, key, status == ERROR_SUCCESS ? operation(handle) : status);
  }

  RegistryKey openKey_;
  UniqueKey open_;  ///< openKey_ for reading and writing, or nothing
};

}  // namespace

std::unique_ptr<Registry> makeRegistry() {
  return std::make_unique<WindowsRegistry>();
}

}  // namespace machine::windows
