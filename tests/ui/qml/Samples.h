#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QStringList>
#include <memory>

#include "core/AppLogStore.h"
#include "fakes/ManualClock.h"
#include "fakes/TemporaryFolder.h"
#include "ui/models/LogModel.h"
#include "ui/models/PeersModel.h"
#include "ui/models/Status.h"

namespace quillbay {

/// What the components show, for tests in QML: values and models that only C++ can make.
class Samples : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(quillbay::LogModel* log READ log CONSTANT)
    Q_PROPERTY(quillbay::PeersModel* peers READ peers CONSTANT)

 public:
    explicit Samples(QObject* parent = nullptr);
    ~Samples() override;

    [[nodiscard]] LogModel* log() { return log_.get(); }
    [[nodiscard]] PeersModel* peers() { return &peers_; }

    Q_INVOKABLE quillbay::StatusPresentation off() const;
    Q_INVOKABLE quillbay::StatusPresentation pairing() const;
    Q_INVOKABLE quillbay::StatusPresentation on() const;
    Q_INVOKABLE quillbay::StatusPresentation error(const QString& message) const;

    Q_INVOKABLE void addLogLine(const QString& line);
    /// "Select", then one entry per name; those that begin with "+" are online.
    Q_INVOKABLE void setPeers(const QStringList& names);

    /// As accessibility software hears them.
    Q_INVOKABLE QString accessibleName(QObject* item) const;
    /// By the name that Qt gives it: "Button".
    Q_INVOKABLE QString accessibleRole(QObject* item) const;

    /// Where the galleries' pictures go, for somebody to look at; empty when nobody asked for them.
    Q_INVOKABLE QString pictureFolder() const;

 private:
    fakes::TemporaryFolder folder_;
    fakes::ManualClock clock_;
    std::unique_ptr<AppLogStore> logs_;
    std::unique_ptr<LogModel> log_;
    PeersModel peers_;
};

}  // namespace quillbay
