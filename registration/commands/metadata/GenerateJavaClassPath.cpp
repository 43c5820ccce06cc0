#include "registration/commands/GenerateJavaClassPath.hpp"

#include "foundation/classpath/ClassPathService.hpp"
#include "install/cpputil/logger.hpp"
#include "registration/commands/component_service.hpp"
#include "registration/commands/start_bundles.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

namespace {

/// Runs one step of an installation in `root` between its lines in the log.
template <typename Log, typename Step>
void generating(Log&& log, UString const& started, UString const& succeeded, UString const& failed,
                UString const& root, Step&& step) {
  utility::reportingFailure(
      [&] {
        log(started + root);
        step();
        log(succeeded + root);
      },
      [&](UString const& text) {
        utility::logTrouble(log, failed + root + u". Error: " + text, root);
      });
}

}  // namespace

GenerateJavaClassPath::GenerateJavaClassPath(utility::Options const& given) : options(given) {}
GenerateJavaClassPath::GenerateJavaClassPath(GenerateJavaClassPath const&) = default;
GenerateJavaClassPath::~GenerateJavaClassPath() = default;

void GenerateJavaClassPath::execute() const {
  generating([this](UString const& message) { log_message(message); },
             u"Generating Java class path for ", u"Successfully generated Java class path for ",
             u"Failed to generate Java classpath for ", options.getRootPath(),
             [this] { invokeClassPathService(); });
}

void GenerateJavaClassPath::undo() const {
  generating([this](UString const& message) { log_message(message); },
             u"Regenerating Java class path for ", u"Successfully regenerated Java class path for ",
             u"Failed to regenerate Java classpath for ", options.getRootPath(),
             [this] { invokeClassPathService(); });
}

void GenerateJavaClassPath::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

void GenerateJavaClassPath::invokeClassPathService() const {
  using foundation::classpath::ClassPathService;
  startBundles(options, u"classpath_services");
  componentService<ClassPathService>()->generateClassPath(options.getRootPath());
}

}  // namespace registration::commands
