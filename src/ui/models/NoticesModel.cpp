#include "ui/models/NoticesModel.h"

namespace quillbay {

void NoticesModel::add(const QString& sentence) {
    if (sentences_.contains(sentence)) return;
    sentences_.append(sentence);
    Q_EMIT changed();
}

void NoticesModel::remove(const QString& sentence) {
    if (sentences_.removeAll(sentence) > 0) Q_EMIT changed();
}

void NoticesModel::close(int index) {
    if (index < 0 || index >= sentences_.size()) return;
    sentences_.removeAt(index);
    Q_EMIT changed();
}

}  // namespace quillbay
