#include "platform/reg/file_associations.hpp"

#include <stdexcept>
#include <string>
#include <vector>

#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"

namespace platform::reg {

using machine::RegistryKey;
using machine::RegistryRoot;
using machine::RegistryType;
using machine::RegistryValue;

namespace {

struct FileType {
  unsigned long productCode;
  char16_t const* extension;
  char16_t const* programId;
  char16_t const* description;
  char16_t const* iconIndex;  ///< in the program's file
};

constexpr FileType fileTypes[] = {
    // The desktop product
    {4, u".vtn", u"Vortan.Document", u"Vortan Document", u"1"},
    {4, u".vtproj", u"Vortan.Project", u"Vortan Project", u"2"},
    {4, u".vtdata", u"Vortan.Data", u"Vortan Data", u"3"},
    {4, u".vsc", u"Vortan.Script", u"Vortan Script", u"4"},
    // The viewer
    {8, u".vtview", u"Vortan.View", u"Vortan View", u"5"},
    {8, u".vtreport", u"Vortan.Report", u"Vortan Report", u"6"},
    // The package manager
    {16, u".vtpkg", u"Vortan.Package", u"Vortan Package", u"7"},
    {16, u".vtlic", u"Vortan.License", u"Vortan License", u"8"},
};

constexpr char16_t previousProgram[] = u"Vortan.Previous";
constexpr char16_t defaultValue[] = u"";

std::vector<FileType> typesOf(unsigned long productCode) {
  std::vector<FileType> types;
  for (FileType const& type : fileTypes) {
    if (type.productCode == productCode) {
      types.push_back(type);
    }
  }
  if (types.empty()) {
    throw std::runtime_error("no file types for the product code " + std::to_string(productCode));
  }
  return types;
}

UString programOf(UString const& installationRoot) {
  bool const isPlainPath =
      machine::path_grammar::isAbsolute(installationRoot) &&
      installationRoot.find_first_of(std::u16string_view(u"\"\0", 2)) == installationRoot.npos;
  if (!isPlainPath) {
    throw std::invalid_argument("file associations: no installation root: \"" +
                                fl::i18n::to_string(installationRoot) + "\"");
  }
  return machine::path_grammar::absolute(installationRoot + u"\\bin\\win64\\vortan.exe", u"");
}

machine::Registry& registry() {
  return machine::current().registry();
}

RegistryKey classKey(UString const& path) {
  return {RegistryRoot::localMachine, u"SOFTWARE\\Classes\\" + path};
}

UString textOf(RegistryKey const& key, std::u16string_view name) {
  auto const value = registry().value(key, name);
  return value ? value->text() : UString();
}

void setText(RegistryKey const& key, std::u16string_view name, UString const& text) {
  registry().setValue(key, name, RegistryValue::ofText(text));
}

void removeIfEmpty(RegistryKey const& key) {
  if (registry().values(key).empty() && registry().subkeys(key).empty()) {
    registry().removeKey(key);
  }
}

/// One file type as an installation has it.
class Association {
 public:
  Association(FileType const& type, UString const& program)
      : programId_(type.programId),
        description_(type.description),
        icon_(program + u"," + type.iconIndex),
        command_(u"\"" + program + u"\" \"%1\""),
        programKey_(classKey(programId_)),
        iconKey_(classKey(programId_ + u"\\DefaultIcon")),
        commandKey_(classKey(programId_ + u"\\shell\\open\\command")),
        extensionKey_(classKey(type.extension)),
        openWithKey_(classKey(UString(type.extension) + u"\\OpenWithProgids")) {}

  void add() const {
    // First what tells whose the program identifier is, so that a half-written one can be removed.
    setText(commandKey_, defaultValue, command_);
    setText(programKey_, defaultValue, description_);
    setText(iconKey_, defaultValue, icon_);
    registry().setValue(openWithKey_, programId_, {RegistryType::none, {}});
    UString const before = textOf(extensionKey_, defaultValue);
    if (!before.empty() && !isOurProgram(before)) {
      setText(extensionKey_, previousProgram, before);
    }
    setText(extensionKey_, defaultValue, programId_);
  }

  /// True when it changed anything.
  bool remove() const {
    bool const isOurs = machine::equalIgnoringCase(textOf(commandKey_, defaultValue), command_);
    if (!isOurs && registry().keyExists(programKey_)) {
      return false;  // another installation's
    }
    bool const wasThere = removeFromExtension() || isOurs;
    if (wasThere) {
      removeIfEmpty(openWithKey_);
      removeIfEmpty(extensionKey_);
    }
    if (isOurs) {
      // Last, for it tells whose the rest is: a removal that failed half-way can be repeated.
      registry().removeKey(programKey_);
    }
    return wasThere;
  }

 private:
  bool isOurProgram(UString const& name) const {
    return machine::equalIgnoringCase(name, programId_);
  }

  bool removeFromExtension() const {
    bool const hadDefault = giveBackDefault();
    bool const hadPrevious = registry().removeValue(extensionKey_, previousProgram);
    bool const hadOpenWith = registry().removeValue(openWithKey_, programId_);
    return hadDefault || hadPrevious || hadOpenWith;
  }

  bool giveBackDefault() const {
    if (!isOurProgram(textOf(extensionKey_, defaultValue))) {
      return false;
    }
    UString const previous = textOf(extensionKey_, previousProgram);
    if (!previous.empty() && registry().keyExists(classKey(previous))) {
      setText(extensionKey_, defaultValue, previous);
    } else {
      registry().removeValue(extensionKey_, defaultValue);
    }
    return true;
  }

  UString programId_;
  UString description_;
  UString icon_;
  UString command_;
  RegistryKey programKey_;
  RegistryKey iconKey_;
  RegistryKey commandKey_;
  RegistryKey extensionKey_;
  RegistryKey openWithKey_;
};

std::vector<Association> associationsOf(UString const& installationRoot,
                                        unsigned long productCode) {
  std::vector<FileType> const types = typesOf(productCode);
  UString const program = programOf(installationRoot);
  std::vector<Association> associations;
  for (FileType const& type : types) {
    associations.emplace_back(type, program);
  }
  return associations;
}

}  // namespace

void registerFileAssociations(UString const& installationRoot, unsigned long productCode) {
  for (Association const& association : associationsOf(installationRoot, productCode)) {
    association.add();
  }
  machine::current().shell().announceAssociationsChanged();
}

void unregisterFileAssociations(UString const& installationRoot, unsigned long productCode) {
  bool changed = false;
  for (Association const& association : associationsOf(installationRoot, productCode)) {
    changed = association.remove() || changed;
  }
  if (changed) {
    machine::current().shell().announceAssociationsChanged();
  }
}

}  // namespace platform::reg
