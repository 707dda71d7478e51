#include "ui/models/LogModel.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "ui/models/ShownText.h"

namespace quillbay {

namespace {

constexpr auto mostLines = static_cast<std::size_t>(AppLogStore::maxUserLines);

}  // namespace

LogModel::LogModel(AppLogStore& logs, QObject* parent) : QAbstractListModel(parent) {
    for (const std::string& line : logs.userLines())
        lines_.push_back(shownLine(line));
    added_ = logs.userLineAdded.add([this](const std::string& line) { receive(shownLine(line)); });
}

void LogModel::receive(QString line) {
    // The views hear of all lines of a turn at once.
    if (arrived_.empty()) QMetaObject::invokeMethod(this, "take", Qt::QueuedConnection);
    arrived_.push_back(std::move(line));
    if (arrived_.size() > mostLines) arrived_.pop_front();
}

void LogModel::take() {
    if (arrived_.empty()) return;
    const std::size_t total = lines_.size() + arrived_.size();
    if (total > mostLines) removeOldest(total - mostLines);
    const int first = count();
    beginInsertRows({}, first, first + static_cast<int>(arrived_.size()) - 1);
    std::move(arrived_.begin(), arrived_.end(), std::back_inserter(lines_));
    arrived_.clear();
    endInsertRows();
    Q_EMIT changed();
}

void LogModel::removeOldest(std::size_t number) {
    beginRemoveRows({}, 0, static_cast<int>(number) - 1);
    lines_.erase(lines_.begin(), lines_.begin() + static_cast<std::ptrdiff_t>(number));
    endRemoveRows();
}

void LogModel::clear() {
    arrived_.clear();
    if (lines_.empty()) return;
    removeOldest(lines_.size());
    Q_EMIT changed();
}

int LogModel::count() const {
    return static_cast<int>(lines_.size());
}

QStringList LogModel::recent() const {
    const auto number = std::min<std::ptrdiff_t>(recentLines, std::ssize(lines_));
    return {lines_.end() - number, lines_.end()};
}

int LogModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant LogModel::data(const QModelIndex& index, int role) const {
    if (role != LineRole || !index.isValid() || index.row() >= count()) return {};
    return lines_[static_cast<std::size_t>(index.row())];
}

QHash<int, QByteArray> LogModel::roleNames() const {
    return {{LineRole, "line"}};
}

}  // namespace quillbay
