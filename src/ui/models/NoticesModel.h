#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QStringList>

namespace quillbay {

/// What does not work on this computer right now although the program runs: a home that cannot be written, a
/// control socket that cannot be made. One sentence each, shown at the top of the main window until it is
/// closed or no longer true. Main thread.
class NoticesModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QStringList sentences READ sentences NOTIFY changed)

 public:
    using QObject::QObject;

    [[nodiscard]] QStringList sentences() const { return sentences_; }
    /// Once only, however often it is said.
    void add(const QString& sentence);
    void remove(const QString& sentence);
    /// The user has read it.
    Q_INVOKABLE void close(int index);

 Q_SIGNALS:
    void changed();

 private:
    QStringList sentences_;
};

}  // namespace quillbay
