#include <fstream>
#include <memory>
#include <string>
#include <tuple>

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "fl/i18n/ustring.hpp"
#include "foundation/cppmicroservices/framework.hpp"
#include "tests/component_framework/bundles/interfaces.hpp"

namespace {

class FileJournal final : public component_tests::Journal {
 public:
  explicit FileJournal(std::string file) : file_(std::move(file)) {}
  void record(std::string const& event) override {
    std::ofstream(file_, std::ios::app | std::ios::binary) << event << '\n';
  }

 private:
  std::string file_;
};

}  // namespace

/// end_of_process FOLDER RECORD: starts the bundles in FOLDER and ends. They record in RECORD.
int main(int, char** arguments) {
  using namespace foundation::cppmicroservices;
  std::ignore = getFramework().GetBundleContext().RegisterService<component_tests::Journal>(
      std::make_shared<FileJournal>(arguments[2]));
  installAndStart(fl::filesystem::Path(fl::i18n::to_ustring(arguments[1])));
}
