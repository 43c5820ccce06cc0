#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "cppmicroservices/AnyMap.h"
#include "cppmicroservices/GlobalConfig.h"

namespace cppmicroservices {

class Bundle;
class LDAPFilterData;
class ServiceReferenceBase;

/// A filter over properties in LDAP's string form (RFC 1960, RFC 4515):
///
///   (name=Babs Jensen)  (name=B*n)  (name=*)  (service.ranking>=5)  (name<=x)  (name~=babs jensen)
///   (&(a=1)(b=2))  (|(a=1)(b=2))  (!(a=1))
///
/// A backslash takes ( ) * and \ in a value as they are. Property names are compared without regard
/// to case, values with it, except by ~=, which ignores case and white space. A list matches when
/// one of its elements does; numbers compare as numbers; a property that is not there matches
/// nothing.
class US_Framework_EXPORT LDAPFilter {
 public:
  /// No filter: ToString() is empty, which every look-up takes as matching all. By itself it
  /// matches nothing.
  LDAPFilter();
  /// Throws std::invalid_argument with the place from which the text cannot be read.
  LDAPFilter(std::string const& filter);  // NOLINT: so in the framework's interface
  LDAPFilter(LDAPFilter const&);
  LDAPFilter& operator=(LDAPFilter const&);
  ~LDAPFilter();

  explicit operator bool() const;
  bool Match(ServiceReferenceBase const& reference) const;
  bool Match(Bundle const& bundle) const;
  bool Match(AnyMap const& properties) const;
  /// Property names with regard to case.
  bool MatchCase(AnyMap const& properties) const;
  /// The filter without the white space that means nothing.
  std::string ToString() const;
  bool operator==(LDAPFilter const& other) const;

 private:
  std::shared_ptr<LDAPFilterData const> d;
};

US_Framework_EXPORT std::ostream& operator<<(std::ostream& out, LDAPFilter const& filter);

}  // namespace cppmicroservices
