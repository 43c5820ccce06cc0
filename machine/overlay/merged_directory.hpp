#pragma once

#include <map>

#include "machine/overlay/file_tree.hpp"

namespace machine::overlay {

/// What a folder's list says of a name that memory knows.
struct ListedNode {
  UString name;
  bool isInnerName = false;
  std::optional<FileStatus> status;
};

/// The names of an inner folder with those of memory in their place: as the inner folder has them,
/// those of memory before the first that comes after them. `inner` is null when there is none;
/// `nodes` are by folded name.
std::unique_ptr<DirectoryStream> mergeDirectory(std::unique_ptr<DirectoryStream> inner,
                                                std::map<UString, ListedNode> nodes);

}  // namespace machine::overlay
