#include "machine/journal/origin.hpp"

namespace machine::journal {

namespace {

bool isSame(UString const& id, UString const& otherId, UString const& name,
            UString const& otherName) {
  bool const bothHaveOne = !id.empty() && !otherId.empty();
  return bothHaveOne ? equalIgnoringCase(id, otherId) : equalIgnoringCase(name, otherName);
}

}  // namespace

Origin originOf(Machine& machine) {
  auto const variable = [&](std::u16string_view name) {
    return machine.environment().variable(name).value_or(UString());
  };
  Origin origin;
  origin.computer = variable(u"COMPUTERNAME");
  auto const id = machine.registry().value(
      {RegistryRoot::localMachine, u"SOFTWARE\\Microsoft\\Cryptography"}, u"MachineGuid");
  if (id) origin.computerId = id->text();
  auto const domain = variable(u"USERDOMAIN");
  origin.account = domain.empty() ? variable(u"USERNAME") : domain + u'\\' + variable(u"USERNAME");
  origin.accountId = machine.environment().account();
  return origin;
}

bool sameComputer(Origin const& a, Origin const& b) {
  return isSame(a.computerId, b.computerId, a.computer, b.computer);
}

bool sameAccount(Origin const& a, Origin const& b) {
  return isSame(a.accountId, b.accountId, a.account, b.account);
}

}  // namespace machine::journal
