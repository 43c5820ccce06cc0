#pragma once

#include <memory>
#include <string>
#include <typeinfo>
#include <unordered_map>

#include "cppmicroservices/GlobalConfig.h"
#include "cppmicroservices/ServiceException.h"

namespace cppmicroservices {

/// A service's objects by interface id. Each pointer was made from a pointer to that interface.
using InterfaceMap = std::unordered_map<std::string, std::shared_ptr<void>>;
using InterfaceMapPtr = std::shared_ptr<InterfaceMap>;
using InterfaceMapConstPtr = std::shared_ptr<InterfaceMap const>;

namespace detail {
/// The type's name as C++ source spells it: "foundation::classpath::ClassPathService".
US_Framework_EXPORT std::string GetDemangledName(std::type_info const& typeInfo);
}  // namespace detail

}  // namespace cppmicroservices

/// The id under which services of interface T are registered and looked up: the type's name, or
/// what CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE gave it.
template <class T>
std::string const& us_service_interface_iid() {
  static std::string const id = cppmicroservices::detail::GetDemangledName(typeid(T));
  return id;
}

/// Empty: no interface in particular.
template <>
inline std::string const& us_service_interface_iid<void>() {
  static std::string const id;
  return id;
}

/// Gives an interface an id of its own. Stands outside of every namespace.
#define CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE(type, interfaceId) \
  template <>                                                         \
  inline std::string const& us_service_interface_iid<type>() {        \
    static std::string const id(interfaceId);                         \
    return id;                                                        \
  }

namespace cppmicroservices {

/// Makes the map of an object's interfaces: MakeInterfaceMap<I1, I2>(object).
template <class... Interfaces>
class MakeInterfaceMap {
 public:
  template <class Implementation>
  // NOLINTNEXTLINE(google-explicit-constructor): as in CppMicroServices
  MakeInterfaceMap(std::shared_ptr<Implementation> const& object)
      : map_(std::make_shared<InterfaceMap>()) {
    (map_->emplace(us_service_interface_iid<Interfaces>(),
                   std::static_pointer_cast<Interfaces>(object)),
     ...);
  }
  // NOLINTNEXTLINE(google-explicit-constructor): as in CppMicroServices
  operator InterfaceMapPtr() { return map_; }
  // NOLINTNEXTLINE(google-explicit-constructor): as in CppMicroServices
  operator InterfaceMapConstPtr() { return map_; }

 private:
  InterfaceMapPtr map_;
};

/// Null when the map has no such interface.
template <class Interface>
std::shared_ptr<Interface> ExtractInterface(InterfaceMapConstPtr const& map) {
  auto const found = map->find(us_service_interface_iid<Interface>());
  return found == map->end() ? nullptr : std::static_pointer_cast<Interface>(found->second);
}

}  // namespace cppmicroservices
