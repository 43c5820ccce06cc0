#pragma once

#include "foundation/classpath/ClassPathService.hpp"

namespace classpath_services {

/// Keeps the class path of an installation in `bin\win64\vortan.classpath`: UTF-8, an entry a line,
/// each line ended by a line feed. Its entries are those of the metadata file `javaClassPath` in
/// the root folder whose file or folder exists, in that order, each once (A to Z and a to z do not
/// differ in a Windows path). Without a metadata file it is empty.
///
/// The new file takes the old one's place in one step.
class ClassPathFile final : public foundation::classpath::ClassPathService {
 public:
  fl::filesystem::Path getClassPathFile(fl::i18n::UString const& rootFolder) const override;
  void generateClassPath(fl::i18n::UString const& rootFolder) const override;
};

}  // namespace classpath_services
