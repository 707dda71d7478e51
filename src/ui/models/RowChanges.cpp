#include "ui/models/RowChanges.h"

#include <QSet>
#include <algorithm>

namespace quillbay {

namespace {

/// Each range moves all rows behind it, in the model and in whatever shows it.
constexpr std::size_t mostRanges = 64;

/// The places of the keys that are not in `others`, as few ranges as there are.
std::vector<RowRange> rangesMissingIn(const QSet<QString>& others, std::span<const QString> keys) {
    std::vector<RowRange> ranges;
    for (std::size_t place = 0; place < keys.size(); ++place) {
        if (others.contains(keys[place])) continue;
        const int row = static_cast<int>(place);
        if (!ranges.empty() && ranges.back().last == row - 1)
            ranges.back().last = row;
        else
            ranges.push_back({row, row});
    }
    return ranges;
}

}  // namespace

std::optional<RowChanges> rowChanges(std::span<const QString> before, std::span<const QString> after) {
    const QSet<QString> old(before.begin(), before.end());
    const QSet<QString> wanted(after.begin(), after.end());
    if (std::size_t(old.size()) != before.size() || std::size_t(wanted.size()) != after.size()) return {};

    const auto stays = [](const QSet<QString>& there) {
        return [&there](const QString& key) { return there.contains(key); };
    };
    std::vector<QString> staying;
    std::ranges::copy_if(before, std::back_inserter(staying), stays(wanted));
    std::vector<QString> stayed;
    std::ranges::copy_if(after, std::back_inserter(stayed), stays(old));
    if (staying != stayed) return {};

    RowChanges changes{rangesMissingIn(wanted, before), rangesMissingIn(old, after)};
    if (changes.removals.size() + changes.insertions.size() > mostRanges) return {};
    // From the back, so that a removal leaves the places of the next ones as they are.
    std::ranges::reverse(changes.removals);
    return changes;
}

}  // namespace quillbay
