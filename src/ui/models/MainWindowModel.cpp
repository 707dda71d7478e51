#include "ui/models/MainWindowModel.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <iterator>
#include <utility>

#include "core/Version.h"
#include "platform/PrintedError.h"
#include "ui/models/Status.h"
#include "ui/models/StoredProfile.h"

namespace quillbay {

namespace {

constexpr std::string_view selectionKey = "window.selection";
constexpr std::string_view sidebarWidthKey = "window.sidebarWidth";

/// Until a selection is kept: someone who goes through the list with the arrow keys writes no file at each
/// step.
constexpr std::chrono::milliseconds rememberDelay(500);

double boundedWidth(double width) {
    return std::clamp(std::round(width), MainWindowModel::minSidebarWidth, MainWindowModel::maxSidebarWidth);
}

double rememberedWidth(const SettingsStore& settings) {
    bool isNumber = false;
    const double width =
        QString::fromStdString(settings.string(sidebarWidthKey).value_or("")).toDouble(&isNumber);
    return isNumber && std::isfinite(width) ? boundedWidth(width) : MainWindowModel::defaultSidebarWidth;
}

std::vector<QString> idsOf(const AppCoordinator& coordinator) {
    std::vector<QString> ids;
    for (const DeviceProfile& profile : coordinator.profiles())
        ids.push_back(QString::fromStdString(profile.id()));
    return ids;
}

}  // namespace

MainWindowModel::MainWindowModel(AppCoordinator& coordinator, SettingsStore& settings,
                                 const SharedModels& shared, QObject* parent)
    : QObject(parent),
      coordinator_(coordinator),
      settings_(settings),
      shared_(shared),
      published_(coordinator.published.add([this](const AppCoordinator::Published& part) {
          if (part == AppCoordinator::Published::profiles) followProfiles();
      })),
      detail_(coordinator),
      addDevice_(coordinator),
      rename_(coordinator),
      removal_(coordinator),
      profileIDs_(idsOf(coordinator)),
      sidebarWidth_(rememberedWidth(settings)) {
    rememberLater_.setSingleShot(true);
    rememberLater_.setInterval(rememberDelay);
    connect(&rememberLater_, &QTimer::timeout, this, &MainWindowModel::rememberSelection);
    connect(&addDevice_, &AddDeviceModel::saved, this, &MainWindowModel::followSaved);
    select(QString::fromStdString(settings.string(selectionKey).value_or("")));
    rememberLater_.stop();
}

MainWindowModel::~MainWindowModel() {
    if (rememberLater_.isActive()) rememberSelection();
}

QString MainWindowModel::footer() const {
    return QStringLiteral("Quillbay - v%1 Build(%2)")
        .arg(QString::fromUtf8(applicationVersion()), QString::fromUtf8(applicationBuildNumber()));
}

void MainWindowModel::setSelection(const QString& profileID) {
    selectionThatWent_.clear();
    select(profileID);
}

void MainWindowModel::select(const QString& profileID) {
    const QString selection = storedProfile(coordinator_, profileID) == nullptr ? QString() : profileID;
    if (selection == selection_) return;
    selection_ = selection;
    detail_.show(selection_);
    rememberLater_.start();
    Q_EMIT selectionChanged();
}

void MainWindowModel::followProfiles() {
    const std::vector<QString> former = std::exchange(profileIDs_, idsOf(coordinator_));
    if (selection_.isEmpty() || storedProfile(coordinator_, selection_) != nullptr) return;
    selectionThatWent_ = selection_;
    const auto isLeft = [this](const QString& id) { return storedProfile(coordinator_, id) != nullptr; };
    const auto place = std::find(former.begin(), former.end(), selection_);
    const auto next = std::find_if(place, former.end(), isLeft);
    const auto before = std::find_if(std::make_reverse_iterator(place), former.rend(), isLeft);
    select(next != former.end() ? *next : before != former.rend() ? *before : QString());
}

void MainWindowModel::followSaved(const QString& profileID, const QString& formerProfileID) {
    const bool isNew = formerProfileID.isEmpty();
    const bool wasSelected = formerProfileID == selectionThatWent_;
    if (isNew || wasSelected) setSelection(profileID);
}

void MainWindowModel::setLogExpanded(bool expanded) {
    if (expanded == logExpanded_) return;
    logExpanded_ = expanded;
    Q_EMIT logExpandedChanged();
}

void MainWindowModel::setSidebarWidth(double width) {
    if (!std::isfinite(width)) return;
    const double bounded = boundedWidth(width);
    if (bounded == sidebarWidth_) return;
    sidebarWidth_ = bounded;
    Q_EMIT sidebarWidthChanged();
}

void MainWindowModel::dragSidebar(double startWidth, double distance) {
    setSidebarWidth(startWidth + distance);
}

void MainWindowModel::endSidebarDrag() {
    remember(sidebarWidthKey, QString::number(sidebarWidth_).toStdString());
}

void MainWindowModel::resetSidebarWidth() {
    setSidebarWidth(defaultSidebarWidth);
    endSidebarDrag();
}

void MainWindowModel::rememberSelection() {
    rememberLater_.stop();
    remember(selectionKey, selection_.toStdString());
}

void MainWindowModel::remember(std::string_view key, const std::string& value) {
    if (settings_.string(key).value_or("") == value) return;
    try {
        settings_.setString(key, value);
    } catch (const std::exception& error) {
        // The window works without; only the next run does not know.
        coordinator_.logs().diagnostic("The window's layout is not remembered: " + printedError(error));
    }
}

void MainWindowModel::beginAdd() {
    // Asked from elsewhere, it takes the place of what the window is asking.
    rename_.cancel();
    removal_.cancel();
    addDevice_.openToAdd();
}

void MainWindowModel::beginEdit(const QString& profileID) {
    const DeviceProfile* profile = storedProfile(coordinator_, profileID);
    if (profile == nullptr || isRunning(presentationOf(coordinator_.status(profile->id())).kind)) return;
    addDevice_.openToEdit(profileID);
}

void MainWindowModel::beginRename(const QString& profileID) {
    rename_.begin(profileID);
}

void MainWindowModel::askRemoval(const QString& profileID) {
    removal_.ask(profileID, RemovalModel::Origin::deviceList);
}

void MainWindowModel::askRemovalOfSelected() {
    removal_.ask(selection_, RemovalModel::Origin::dangerZone);
}

}  // namespace quillbay
