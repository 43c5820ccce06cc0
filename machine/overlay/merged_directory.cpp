#include "machine/overlay/merged_directory.hpp"

namespace machine::overlay {

namespace {

class MergedDirectory final : public DirectoryStream {
 public:
  MergedDirectory(std::unique_ptr<DirectoryStream> inner, std::map<UString, ListedNode> nodes)
      : inner_(std::move(inner)), nodes_(std::move(nodes)), nextNode_(nodes_.begin()) {}

  bool next(DirectoryEntry& entry) override {
    bool const hasInner = peekInner();
    bool const hasNode = peekNode();
    if (!hasInner && !hasNode) return false;
    if (hasInner && (!hasNode || innerKey_ < nextNode_->first)) {
      entry = innerEntry_;
      innerIsPeeked_ = false;
    } else {
      auto const& node = (nextNode_++)->second;
      entry = {node.name, node.status->isDirectory, node.status->isLink};
    }
    return true;
  }

 private:
  /// Moves to the next inner name that is seen, if that is not done yet; false at the end.
  bool peekInner() {
    while (!innerIsPeeked_ && inner_) {
      if (!inner_->next(innerEntry_)) {
        inner_.reset();
        break;
      }
      innerKey_ = foldCase(innerEntry_.name);
      innerIsPeeked_ = isSeen();
    }
    return innerIsPeeked_;
  }

  /// Whether the inner entry is one of the folder's; memory may know better what it is.
  bool isSeen() {
    auto const node = nodes_.find(innerKey_);
    if (node == nodes_.end()) return true;
    if (!node->second.isInnerName || !node->second.status) return false;
    innerEntry_.isDirectory = node->second.status->isDirectory;
    innerEntry_.isLink = node->second.status->isLink;
    return true;
  }

  /// Moves to the next name that only memory has; false at the end.
  bool peekNode() {
    while (nextNode_ != nodes_.end() &&
           (nextNode_->second.isInnerName || !nextNode_->second.status))
      ++nextNode_;
    return nextNode_ != nodes_.end();
  }

  std::unique_ptr<DirectoryStream> inner_;
  std::map<UString, ListedNode> nodes_;
  std::map<UString, ListedNode>::const_iterator nextNode_;
  DirectoryEntry innerEntry_;
  UString innerKey_;
  bool innerIsPeeked_ = false;
};

}  // namespace

std::unique_ptr<DirectoryStream> mergeDirectory(std::unique_ptr<DirectoryStream> inner,
                                                std::map<UString, ListedNode> nodes) {
  return std::make_unique<MergedDirectory>(std::move(inner), std::move(nodes));
}

}  // namespace machine::overlay
