#pragma once

#include "fl/filesystem/path.hpp"

namespace foundation::classpath {

/// What a bundle offers that keeps an installation's Java class path. Registered in the component
/// framework under this class's name. The order of the virtual operations is part of the interface.
class ClassPathService {
 public:
  virtual ~ClassPathService() = default;
  /// The file that generateClassPath writes for this installation folder.
  virtual fl::filesystem::Path getClassPathFile(fl::i18n::UString const& rootFolder) const = 0;
  /// Writes the class path of what is installed in this folder now. Throws a std::exception when it
  /// cannot; the old file is then as it was.
  virtual void generateClassPath(fl::i18n::UString const& rootFolder) const = 0;
};

}  // namespace foundation::classpath
