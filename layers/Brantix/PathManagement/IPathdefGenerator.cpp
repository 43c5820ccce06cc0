#include "Brantix/PathManagement/IPathdefGenerator.hpp"

namespace Brantix::PathManagement {

IPathdefGenerator::~IPathdefGenerator() = default;

}  // namespace Brantix::PathManagement
