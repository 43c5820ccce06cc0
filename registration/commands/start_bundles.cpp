#include "registration/commands/start_bundles.hpp"

#include "cppmicroservices/Bundle.h"
#include "foundation/cppmicroservices/framework.hpp"

namespace registration::commands {

void startBundles(utility::Options const& options, UString const& name) {
  Path const root = Path(options.getBundleRootPath()).make_native();
  // The framework keeps them running; the result need not.
  foundation::cppmicroservices::installAndStart(root / u"bin" / u"win64" / name);
}

}  // namespace registration::commands
