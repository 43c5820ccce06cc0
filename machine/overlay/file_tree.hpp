#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "machine/error.hpp"
#include "machine/files.hpp"
#include "machine/overlay/written_content.hpp"

namespace machine::overlay {

/// What memory knows of a name: one of
///   removed                     nothing is there, whatever the inner folder has of that name
///   inner                       this inner file, folder or link, wherever it was moved from; of a
///                               folder, what `children` does not name is seen in it
///   content                     a file that was written
///   content, inner              a link that was written through: itself an inner link still
///   none of them                a folder that was made
struct Node {
  UString name;
  /// The inner folder has this name too, and the name stays spelled as there.
  bool isInnerName = false;
  bool removed = false;
  UString inner;
  std::shared_ptr<WrittenContent> content;
  std::optional<FileAttributes> attributes;           ///< a file's, where they were set
  std::map<UString, std::unique_ptr<Node>> children;  // by folded name
};

/// Where a path leads.
struct Place {
  ErrorCode problem = ErrorCode::success;  ///< why there can be no such name
  Node* node = nullptr;                    ///< what memory knows of the name
  UString inner;                           ///< else the name in the inner machine; or empty
};

/// A path's volume and names, folded: equal for the names of one file.
using PathKey = std::vector<UString>;

/// The changed part of a file system, and where the rest is in the inner one. Only names that
/// changes led to are in memory; reading adds none. Paths are absolute.
class FileTree {
 public:
  /// `inner` must outlive this object.
  explicit FileTree(Files& inner) : inner_(inner) {}

  static PathKey keyOf(std::u16string_view path);

  Place find(std::u16string_view path);
  std::optional<FileStatus> status(Place const& place);
  std::optional<FileStatus> status(Node const& node);

  /// Puts a node under the path's name, in the place of what is there. REQUIRES: the folder exists;
  /// `replaces` tells whether something of that name does.
  void put(std::u16string_view path, std::unique_ptr<Node> node, bool replaces);
  /// Takes away what is at the path, and hands it out. REQUIRES: it exists.
  std::unique_ptr<Node> take(std::u16string_view path);

  std::size_t names() const;
  /// Of written contents.
  std::uint64_t bytes() const;

 private:
  Node& folder(std::u16string_view path);

  Files& inner_;
  std::map<UString, Node> volumes_;  // by folded root
};

}  // namespace machine::overlay
