#include "tools/regplan/report/sequence_diff.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>

namespace regplan {
namespace {

/// More differing lines are not sorted out: time and memory grow with their square.
constexpr std::size_t mostEdits = 1000;

using Numbers = std::vector<std::size_t>;

/// Gives equal lines equal numbers.
class LineNumbers {
 public:
  Numbers of(std::vector<machine::UString> const& lines) {
    Numbers numbers;
    numbers.reserve(lines.size());
    for (machine::UString const& line : lines) {
      numbers.push_back(known_.try_emplace(line, known_.size()).first->second);
    }
    return numbers;
  }

 private:
  std::map<std::u16string_view, std::size_t> known_;
};

struct Range {
  std::size_t begin;
  std::size_t end;

  std::size_t size() const { return end - begin; }
};

std::vector<Edit> replaced(Range before, Range after) {
  std::vector<Edit> edits;
  for (std::size_t i = before.begin; i < before.end; ++i) {
    edits.push_back({Edit::Kind::remove, i});
  }
  for (std::size_t i = after.begin; i < after.end; ++i) edits.push_back({Edit::Kind::add, i});
  return edits;
}

/// E. Myers, "An O(ND) Difference Algorithm and Its Variations", Algorithmica 1 (1986):
/// furthest_[d] holds, for the diagonals k = -d, -d + 2, ..., d, how far along `before` d edits
/// reach. Diagonal k joins the points with before - after = k.
class ShortestEdit {
 public:
  ShortestEdit(Numbers const& before, Range beforeRange, Numbers const& after, Range afterRange)
      : before_(before), after_(after), b_(beforeRange), a_(afterRange) {}

  /// nullopt when there are too many edits.
  std::optional<std::vector<Edit>> find() {
    std::size_t const most = std::min(mostEdits, b_.size() + a_.size());
    for (std::size_t d = 0; d <= most; ++d) {
      if (reachesEnd(d)) return edits(d);
    }
    return std::nullopt;
  }

 private:
  using Signed = std::ptrdiff_t;

  static Signed toSigned(std::size_t number) { return static_cast<Signed>(number); }
  static std::size_t toIndex(Signed number) { return static_cast<std::size_t>(number); }

  Signed reach(std::size_t d, Signed k) const {
    return furthest_[d][toIndex((k + toSigned(d)) / 2)];
  }
  /// Whether the d-th edit of the way to diagonal k adds a line, rather than removes one.
  bool comesByAdding(std::size_t d, Signed k) const {
    return k == -toSigned(d) || (k != toSigned(d) && reach(d - 1, k - 1) < reach(d - 1, k + 1));
  }
  Signed start(std::size_t d, Signed k) const {
    if (d == 0) return 0;
    return comesByAdding(d, k) ? reach(d - 1, k + 1) : reach(d - 1, k - 1) + 1;
  }
  Signed followEqualLines(Signed x, Signed k) const {
    Signed y = x - k;
    while (x < toSigned(b_.size()) && y < toSigned(a_.size()) &&
           before_[b_.begin + toIndex(x)] == after_[a_.begin + toIndex(y)]) {
      ++x;
      ++y;
    }
    return x;
  }

  bool reachesEnd(std::size_t d) {
    furthest_.emplace_back(d + 1);
    bool found = false;
    for (Signed k = -toSigned(d); k <= toSigned(d); k += 2) {
      Signed const x = start(d, k);
      // Outside the two lists nothing equal follows.
      bool const isInside = x <= toSigned(b_.size()) && x >= k;
      Signed const far = isInside ? followEqualLines(x, k) : x;
      furthest_[d][toIndex((k + toSigned(d)) / 2)] = far;
      found = found || (far == toSigned(b_.size()) && far - k == toSigned(a_.size()));
    }
    return found;
  }

  std::vector<Edit> edits(std::size_t d) const {
    std::vector<Edit> reversed;
    Signed x = toSigned(b_.size());
    Signed k = x - toSigned(a_.size());
    for (;; --d) {
      Signed const from = start(d, k);
      for (; x > from; --x) reversed.push_back({Edit::Kind::keep, a_.begin + toIndex(x - k - 1)});
      if (d == 0) break;
      if (comesByAdding(d, k)) {
        reversed.push_back({Edit::Kind::add, a_.begin + toIndex(x - k - 1)});
        ++k;
      } else {
        reversed.push_back({Edit::Kind::remove, b_.begin + toIndex(x - 1)});
        --x;
        --k;
      }
    }
    return {reversed.rbegin(), reversed.rend()};
  }

  Numbers const& before_;
  Numbers const& after_;
  Range b_;
  Range a_;
  std::vector<std::vector<Signed>> furthest_;
};

void appendKept(std::vector<Edit>& edits, Range lines) {
  for (std::size_t i = lines.begin; i < lines.end; ++i) edits.push_back({Edit::Kind::keep, i});
}

}  // namespace

std::vector<Edit> sequenceDiff(std::vector<machine::UString> const& before,
                               std::vector<machine::UString> const& after) {
  LineNumbers known;
  Numbers const b = known.of(before);
  Numbers const a = known.of(after);
  auto const shorter = static_cast<std::ptrdiff_t>(std::min(b.size(), a.size()));
  auto const same = std::mismatch(b.begin(), b.begin() + shorter, a.begin());
  auto const head = static_cast<std::size_t>(same.first - b.begin());
  auto const rest = static_cast<std::ptrdiff_t>(std::min(b.size(), a.size()) - head);
  auto const sameEnd = std::mismatch(b.rbegin(), b.rbegin() + rest, a.rbegin());
  auto const tail = static_cast<std::size_t>(sameEnd.first - b.rbegin());

  Range const beforeRange{head, b.size() - tail};
  Range const afterRange{head, a.size() - tail};
  std::vector<Edit> edits;
  appendKept(edits, {0, head});
  auto const middle = ShortestEdit(b, beforeRange, a, afterRange).find();
  for (Edit const& edit : middle ? *middle : replaced(beforeRange, afterRange)) {
    edits.push_back(edit);
  }
  appendKept(edits, {a.size() - tail, a.size()});
  return edits;
}

}  // namespace regplan
