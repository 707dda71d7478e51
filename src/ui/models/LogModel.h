#pragma once

#include <QAbstractListModel>
#include <QQmlEngine>
#include <QStringList>
#include <cstddef>
#include <deque>

#include "core/AppLogStore.h"
#include "platform/Observers.h"

namespace quillbay {

/// The user lines as the windows show them: those of the log store, without the ones that were cleared away.
/// Lines that arrive in one turn of the event loop are one change of the model. Each line of the log is one
/// row, whatever it contains.
///
/// Main thread. The log store must outlive it.
class LogModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(int count READ count NOTIFY changed)
    /// The newest three lines, oldest first: what a console that is not expanded shows, and the panel.
    Q_PROPERTY(QStringList recent READ recent NOTIFY changed)

 public:
    static constexpr int recentLines = 3;
    enum Role { LineRole = Qt::UserRole + 1 };  ///< line: QString

    explicit LogModel(AppLogStore& logs, QObject* parent = nullptr);

    [[nodiscard]] int count() const;
    [[nodiscard]] QStringList recent() const;
    /// Takes the lines away from the windows; the log file keeps them.
    Q_INVOKABLE void clear();

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

 Q_SIGNALS:
    void changed();

 private Q_SLOTS:
    void take();

 private:
    void receive(QString line);
    void removeOldest(std::size_t number);

    std::deque<QString> lines_;
    /// In this turn of the event loop.
    std::deque<QString> arrived_;
    Subscription added_;
};

}  // namespace quillbay
