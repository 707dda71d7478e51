#pragma once

#include <QString>
#include <optional>
#include <span>
#include <vector>

namespace quillbay {

/// Neighbouring rows, first and last included.
struct RowRange {
    int first = 0;
    int last = 0;
    bool operator==(const RowRange&) const = default;
};

/// The way from one list of rows to another, for those that show it: first the removals, in their order, then
/// the insertions, in theirs. Each range is in the rows as they stand when its turn comes.
struct RowChanges {
    std::vector<RowRange> removals;
    std::vector<RowRange> insertions;
};

/// Tells the rows by their keys. Nothing when there is no short way: the rows that stay change their order, a
/// key is there twice, or so many places change that showing the list anew is less work.
std::optional<RowChanges> rowChanges(std::span<const QString> before, std::span<const QString> after);

}  // namespace quillbay
