#include "machine/journal/restore.hpp"

#include <algorithm>
#include <array>
#include <functional>
#include <stdexcept>

#include "machine/error.hpp"
#include "machine/host/host_file.hpp"
#include "machine/journal/entry_rules.hpp"
#include "machine/path_grammar.hpp"
#include "machine/sha256.hpp"

namespace machine::journal {

namespace {

using Outcome = RestoreStep::Outcome;

constexpr std::chrono::seconds serviceTimeout(30);
constexpr std::u16string_view temporaryEnd = u".journal-restore.tmp";

bool isFolder(ItemState const& state) {
  return std::holds_alternative<Existing>(state);
}

bool runs(ServiceCondition const& service) {
  return service.state != ServiceState::stopped && service.state != ServiceState::stopPending;
}

/// The item is as it was, so far as it matters.
bool isBefore(Image const& now, Image const& before) {
  auto const* const running = std::get_if<ServiceCondition>(&now.state);
  auto const* const wanted = std::get_if<ServiceCondition>(&before.state);
  if (running && wanted) {
    return running->definition == wanted->definition && runs(*running) == runs(*wanted);
  }
  return sameImage(now, before);
}

/// Both are links, and lead to one place as far as is known.
bool isSameLink(Image const& a, Image const& b) {
  return isLink(a) && isLink(b) && a.link == b.link;
}

/// Equal but for what may differ without anybody's doing: whether a service runs, attributes that
/// an interrupted restore has put back already or not yet, and what is behind a link.
bool isStill(Image now, Image other) {
  auto const* const service = std::get_if<ServiceCondition>(&now.state);
  auto const* const otherService = std::get_if<ServiceCondition>(&other.state);
  if (service && otherService) return service->definition == otherService->definition;
  if (now.link && isSameLink(now, other)) return true;
  now.attributes = other.attributes = {};
  return sameImage(now, other);
}

/// Whether the item is what the journal's changes left, or what an interrupted restore did.
bool isExpected(Image const& now, Entry const& entry) {
  if (!entry.after || isStill(now, *entry.after) || isStill(now, entry.before)) return true;
  // Between a folder or link and a file of its name there is nothing for a moment.
  bool const changesKind = isFolder(entry.before.state) != isFolder(entry.after->state) ||
                           isLink(entry.before) || isLink(*entry.after);
  return isNothing(now.state) && changesKind && !isNothing(entry.after->state) &&
         !isNothing(entry.before.state);
}

/// Whether a value lies where a system keeps environment variables.
bool isEnvironment(Item const& item) {
  for (auto const* const key :
       {u"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment",
        u"HKEY_CURRENT_USER\\Environment"}) {
    if (equalIgnoringCase(item.where, key)) return true;
  }
  return false;
}

/// Whether a key or value lies where file associations do.
bool isAssociation(Item const& item) {
  bool const isRegistry =
      item.kind == Item::Kind::registryKey || item.kind == Item::Kind::registryValue;
  auto const where = foldCase(item.where) + u'\\';
  return isRegistry && (where.starts_with(u"hkey_classes_root\\") ||
                        where.find(u"\\software\\classes\\") != UString::npos);
}

/// Both are files of the same content.
bool hasContentOf(Image const& a, Image const& b) {
  auto const* const one = std::get_if<FileContent>(&a.state);
  auto const* const other = std::get_if<FileContent>(&b.state);
  return one && other && !one->sha256.empty() && one->sha256 == other->sha256;
}

std::string named(UString const& name, UString const& id) {
  if (name.empty() && id.empty()) return "one without a name";
  if (name.empty() || id.empty()) return toUtf8(name + id);
  return toUtf8(name + u" (" + id + u")");
}

class Restoring {
 public:
  Restoring(Journal const& journal, Machine& machine, RestoreOptions const& options)
      : journal_(journal), machine_(machine), options_(options) {}

  RestoreReport run() {
    requireOrigin(journal_, machine_, options_);
    for (auto entry = journal_.entries.rbegin(); entry != journal_.entries.rend(); ++entry) {
      report_.steps.push_back(step(*entry));
    }
    tellWhatWasWrittenThroughLinks();
    announce();
    report_.handOvers = journal_.handOvers;
    report_.damage = journal_.damage;
    return std::move(report_);
  }

 private:
  RestoreStep step(Entry const& entry) {
    RestoreStep step;
    step.item = entry.item;
    step.before = entry.before.state;
    if (entry.after) step.after = entry.after->state;
    try {
      requireSound(entry);
      auto const now = imageOf(machine_, entry.item);
      step.found = now.state;
      decide(entry, now, step);
    } catch (std::exception const& error) {
      step.outcome = Outcome::failed;
      step.reason = error.what();
    }
    return step;
  }

  /// A journal need not come from readJournal.
  static void requireSound(Entry const& entry) {
    requireItem(entry.item);
    requireState(entry.item.kind, entry.before);
  }

  void decide(Entry const& entry, Image const& now, RestoreStep& step) {
    bool const expected = isExpected(now, entry);
    // What the run itself left as it was may have been changed by others: that is theirs.
    bool const wasChanged = !entry.after || !isBefore(*entry.after, entry.before);
    if (!wasChanged || isBefore(now, entry.before) || isSameLink(now, entry.before)) {
      step.outcome = Outcome::already;
    } else if (isLink(entry.before) && !entry.before.link) {
      step.outcome = Outcome::notRestorable;
      step.reason = "links of its kind are not put back";
    } else if (entry.item.kind == Item::Kind::variable && !expected) {
      step.outcome = Outcome::already;
      step.reason = "it is gone with the process that it belonged to";
    } else if (!expected && !options_.force) {
      step.outcome = Outcome::left;
      step.reason = "it was changed since";
    } else if (!put(entry, now)) {
      step.outcome = Outcome::left;
      step.reason = "it is not empty";
    } else {
      step.outcome = expected ? Outcome::restored : Outcome::forced;
    }
  }

  /// False for a folder or key that cannot go because of what is in it.
  bool put(Entry const& entry, Image const& now) {
    switch (entry.item.kind) {
      case Item::Kind::file:
      case Item::Kind::folder:
      case Item::Kind::shortcut:
        return putPath(entry.item.where, entry.before, now);
      case Item::Kind::registryKey:
        return putKey(keyOf(entry.item), entry.before.state);
      case Item::Kind::registryValue:
        putValue(entry.item, entry.before.state);
        return true;
      case Item::Kind::variable:
        putVariable(entry.item.where, entry.before.state);
        return true;
      case Item::Kind::task:
        putTask(entry.item.where, entry.before);
        return true;
      case Item::Kind::taskFolder:
        return putTaskFolder(entry.item.where, entry.before.state);
      case Item::Kind::service:
        putService(entry.item.where, entry.before.state, now.state);
        return true;
    }
    return true;
  }

  bool putPath(UString const& path, Image const& before, Image const& now) {
    bool const isFile = std::holds_alternative<FileContent>(before.state) && !isLink(before);
    bool const replacesFile = isFile && !isFolder(now.state) && !isLink(now);
    if (!replacesFile && !removePresent(path, now)) return false;
    if (isFolder(before.state)) {
      makeFolders(path);
    } else if (replacesFile && hasContentOf(now, before)) {
      // It may be in use: a file is not replaced by its like.
      machine_.files().setAttributes(path, before.attributes);
    } else if (isFile) {
      if (now.attributes.isReadOnly) machine_.files().setReadOnly(path, false);
      putFile(path, std::get<FileContent>(before.state), before.attributes);
    } else if (isLink(before)) {
      makeFolderFor(path);
      machine_.files().createLink(path, before.link.value());
    }
    return true;
  }

  /// False for a folder with something in it. Of a link the link itself goes.
  bool removePresent(UString const& path, Image const& now) {
    bool const isFolderLink = isLink(now) && now.link && now.link->isDirectory;
    if (isFolder(now.state) || isFolderLink) return removeFolder(path);
    machine_.files().removeFile(path);
    return true;
  }

  bool removeFolder(UString const& path) {
    return unlessNotEmpty([&] { machine_.files().removeDirectory(path); });
  }

  /// False when `remove` finds something in the folder.
  template <class Remove>
  bool unlessNotEmpty(Remove const& remove) {
    try {
      remove();
      return true;
    } catch (SystemError const& error) {
      if (!error.is(ErrorCode::directoryNotEmpty)) throw;
      return false;
    }
  }

  void makeFolderFor(UString const& path) {
    UString const above(path_grammar::parent(path));
    if (!machine_.files().status(above)) makeFolders(above);
  }

  /// The folder, and those above it that are missing.
  void makeFolders(UString const& path) {
    UString const above(path_grammar::parent(path));
    if (above != path && !machine_.files().status(above)) makeFolders(above);
    machine_.files().createDirectory(path);
  }

  void putFile(UString const& path, FileContent const& content, FileAttributes const& attributes) {
    auto const temporary = path + UString(temporaryEnd);
    makeFolderFor(path);
    // Made anew, never written through: somebody may have put a link there.
    machine_.files().removeFile(temporary);
    try {
      writeContent(temporary, content);
      machine_.files().rename(temporary, path, true);
    } catch (std::exception const&) {
      removeIfPossible(temporary);
      throw;
    }
    // Not before: for a while a system gives a name that comes back the old time of making.
    machine_.files().setAttributes(path, attributes);
  }

  void removeIfPossible(UString const& path) {
    try {
      machine_.files().removeFile(path);
    } catch (SystemError const&) {
      // The failure before this one is the one to tell.
    }
  }

  void writeContent(UString const& path, FileContent const& content) {
    auto const writer = machine_.files().openForWriting(path, WriteMode::createNew);
    Sha256 hash;
    readContent(content, [&](std::string_view bytes) {
      hash.add(bytes);
      writer->write(bytes);
    });
    if (hash.finish() != content.sha256) {
      throw std::runtime_error("the content kept with the journal is not the one that was kept");
    }
    writer->flushToDisk();
    writer->close();
  }

  void readContent(FileContent const& content, std::function<void(std::string_view)> const& take) {
    if (content.bytes) return take(*content.bytes);
    HostFile file(journal_.files / content.sha256,
                  journal_.weakness.empty() ? host::OpenMode::readTrusted : host::OpenMode::read);
    std::array<char, 65536> part;
    while (std::size_t const count = file.read(part)) take({part.data(), count});
  }

  /// False when it has to go and is not empty.
  bool putKey(RegistryKey const& key, ItemState const& before) {
    auto& registry = machine_.registry();
    if (!isNothing(before)) {
      registry.createKey(key);
      return true;
    }
    return registry.removeEmptyKey(key);
  }

  void putValue(Item const& item, ItemState const& before) {
    if (isNothing(before)) {
      machine_.registry().removeValue(keyOf(item), item.value);
    } else {
      machine_.registry().setValue(keyOf(item), item.value, std::get<RegistryValue>(before));
    }
  }

  void putVariable(UString const& name, ItemState const& before) {
    auto& environment = machine_.environment();
    bool const done = isNothing(before) ? environment.removeVariable(name)
                                        : environment.setVariable(name, std::get<UString>(before));
    if (!done) {
      throw SystemError("set the variable", name, environment.lastError(), "it was refused");
    }
  }

  void putTask(UString const& name, Image const& before) {
    if (isNothing(before.state)) {
      machine_.tasks().remove(name);
    } else {
      machine_.tasks().registerDocument(name, before.taskDocument.value());
    }
  }

  /// False when it has to go and is not empty.
  bool putTaskFolder(UString const& name, ItemState const& before) {
    if (!isNothing(before)) throw std::runtime_error("task folders are made with a task only");
    return unlessNotEmpty([&] { machine_.tasks().removeFolder(name); });
  }

  void putService(UString const& name, ItemState const& before, ItemState const& now) {
    auto& services = machine_.services();
    auto const* const wanted = std::get_if<ServiceCondition>(&before);
    auto const* const found = std::get_if<ServiceCondition>(&now);
    bool const isDefined = wanted && found && wanted->definition == found->definition;
    if (found && runs(*found) && !(isDefined && runs(*wanted))) services.stop(name, serviceTimeout);
    if (!wanted) {
      services.remove(name);
      return;
    }
    if (!isDefined) services.set(name, wanted->definition);
    if (runs(*wanted)) services.start(name, serviceTimeout);
  }

  /// Known at the end only: what a link leads to may be an item of its own.
  void tellWhatWasWrittenThroughLinks() {
    for (std::size_t i = 0; i < report_.steps.size(); ++i) {
      auto const& entry = journal_.entries[journal_.entries.size() - 1 - i];
      auto& step = report_.steps[i];
      bool const isPutBack = step.outcome == Outcome::restored || step.outcome == Outcome::forced ||
                             step.outcome == Outcome::already;
      bool const isOthers = entry.after && sameImage(*entry.after, entry.before);
      if (!isPutBack || !isLink(entry.before) || isOthers || isAsBefore(entry)) continue;
      step.outcome = Outcome::notRestorable;
      step.reason = "what was written through a link is not put back";
    }
  }

  bool isAsBefore(Entry const& entry) {
    try {
      return sameImage(imageOf(machine_, entry.item), entry.before);
    } catch (SystemError const&) {
      return false;
    }
  }

  void announce() {
    auto const anyChanged = [&](auto const& predicate) {
      return std::any_of(report_.steps.begin(), report_.steps.end(), [&](auto const& step) {
        return (step.outcome == Outcome::restored || step.outcome == Outcome::forced) &&
               predicate(step.item);
      });
    };
    if (anyChanged(isEnvironment)) machine_.environment().broadcastSettingChange();
    if (anyChanged(isAssociation)) machine_.shell().announceAssociationsChanged();
  }

  Journal const& journal_;
  Machine& machine_;
  RestoreOptions options_;
  RestoreReport report_;
};

}  // namespace

bool RestoreReport::allRestored() const {
  return std::all_of(steps.begin(), steps.end(), [](RestoreStep const& step) {
    return step.outcome == Outcome::restored || step.outcome == Outcome::already ||
           step.outcome == Outcome::forced;
  });
}

void requireOrigin(Journal const& journal, Machine& machine, RestoreOptions const& options) {
  if (options.otherComputer) return;
  auto const here = originOf(machine);
  auto const& there = journal.origin;
  if (!sameComputer(there, here)) {
    throw ForeignJournal("the journal was written on the computer " +
                         named(there.computer, there.computerId) + ", and this is " +
                         named(here.computer, here.computerId));
  }
  if (!options.otherAccount && !sameAccount(there, here)) {
    throw ForeignJournal("the journal was written by the account " +
                         named(there.account, there.accountId) + ", and this is " +
                         named(here.account, here.accountId));
  }
}

RestoreReport restore(Journal const& journal, Machine& machine, RestoreOptions const& options) {
  return Restoring(journal, machine, options).run();
}

}  // namespace machine::journal
