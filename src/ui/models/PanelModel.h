#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

#include "core/AppCoordinator.h"
#include "platform/Observers.h"
#include "ui/models/SharedModels.h"
#include "ui/models/Status.h"

namespace quillbay {

/// The menu-bar panel, and the item that opens it. Main thread; what it is made of must outlive it.
class PanelModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    /// One status for all bridges.
    Q_PROPERTY(quillbay::StatusPresentation overall READ overall NOTIFY overallChanged)
    Q_PROPERTY(quillbay::ProfilesModel* profiles READ profiles CONSTANT)
    Q_PROPERTY(quillbay::LogModel* log READ log CONSTANT)
    Q_PROPERTY(quillbay::UpdateModel* updates READ updates CONSTANT)
    Q_PROPERTY(quillbay::AppActions* actions READ actions CONSTANT)

 public:
    PanelModel(AppCoordinator& coordinator, const SharedModels& shared, QObject* parent = nullptr);

    [[nodiscard]] StatusPresentation overall() const { return overall_; }
    [[nodiscard]] ProfilesModel* profiles() const { return &shared_.profiles; }
    [[nodiscard]] LogModel* log() const { return &shared_.log; }
    [[nodiscard]] UpdateModel* updates() const { return &shared_.updates; }
    [[nodiscard]] AppActions* actions() const { return &shared_.actions; }

 Q_SIGNALS:
    void overallChanged();

 private:
    void update();

    AppCoordinator& coordinator_;
    SharedModels shared_;
    StatusPresentation overall_;
    Subscription published_;
};

}  // namespace quillbay
