#include "ui/models/PanelModel.h"

#include <utility>

namespace quillbay {

PanelModel::PanelModel(AppCoordinator& coordinator, const SharedModels& shared, QObject* parent)
    : QObject(parent),
      coordinator_(coordinator),
      shared_(shared),
      overall_(presentationOf(coordinator.overallStatus())),
      published_(coordinator.published.add([this](const AppCoordinator::Published& part) {
          if (part == AppCoordinator::Published::statuses) update();
      })) {}

void PanelModel::update() {
    StatusPresentation overall = presentationOf(coordinator_.overallStatus());
    if (overall == overall_) return;
    overall_ = std::move(overall);
    Q_EMIT overallChanged();
}

}  // namespace quillbay
