#include "ui/WindowFixture.h"

#include <QAccessible>
#include <QQmlAbstractUrlInterceptor>
#include <QQmlComponent>
#include <QSignalSpy>
#include <QTest>
#include <utility>

#include "ui/design/QuillbayModule.h"

namespace quillbay {

namespace {

QStringList& messages() {
    static QStringList kept;
    return kept;
}

/// Takes the module's QML from a folder in place of what was built in: a change is tried without building.
class FilesFromFolder final : public QQmlAbstractUrlInterceptor {
 public:
    QUrl intercept(const QUrl& url, DataType type) override {
        const QString builtIn = QStringLiteral("/qt/qml/Quillbay/qml/");
        const QString folder = qEnvironmentVariable("QUILLBAY_QML");
        if (folder.isEmpty() || type != QmlFile || !url.path().startsWith(builtIn)) return url;
        return QUrl::fromLocalFile(folder + QLatin1Char('/') + url.path().mid(builtIn.size()));
    }
};

void keepMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtDebugMsg || type == QtInfoMsg) return;
    messages().append(message);
}

}  // namespace

void WindowFixture::catchQtMessages() {
    qInstallMessageHandler(keepMessage);
}

WindowFixture::WindowFixture() : engine(std::make_unique<QQmlEngine>()) {
    registerQuillbayModule();
    static FilesFromFolder files;
    engine->addUrlInterceptor(&files);
    engine->addImportPath(QStringLiteral(":/qt/qml"));
    const int type = qmlTypeId("Quillbay", 1, 0, "Appearance");
    appearance = engine->singletonInstance<Appearance*>(type);
    if (appearance == nullptr) throw std::logic_error("the module has no appearance");
    appearance->setFontFamily(QStringLiteral("Inter"));
    appearance->setFixedFontFamily(QStringLiteral("JetBrains Mono"));
    appearance->setReducedMotion(true);
    world.host.desktop = &desktop;
    // Controls have accessible names only while somebody listens; the tests find them by these.
    QAccessible::setActive(true);
}

WindowFixture::~WindowFixture() {
    window.reset();
    engine.reset();
    panel.reset();
    settingsModel.reset();
    mainWindow.reset();
    updates.reset();
    log.reset();
    profiles.reset();
    checker.reset();
    watching = {};
    coordinator.reset();
    world.until([this] { return world.background.pending() == 0; });
    world.settle();
}

void WindowFixture::TearDown() {
    EXPECT_EQ(messages().join(QStringLiteral("\n")).toStdString(), "");
    messages().clear();
}

void WindowFixture::makeModels() {
    coordinator = AppCoordinator::make(
        world.host,
        {.presenceCheck =
             [presence = presence_](const std::string&, std::chrono::milliseconds, const StopToken& token) {
                 while (presence->held && token.sleepFor(std::chrono::milliseconds(5))) {
                 }
                 return presence->near.load();
             },
         .serviceQuestion = network.question()});
    world.settle();
    updateServer_ = nullptr;
    settings = std::make_unique<SettingsStore>(world.host.files);
    UpdateService service{"https://updates.test/api/latest", "https://updates.test/api/latest", {}};
    if (!offeredVersion_.empty()) {
        updateServer_ = std::make_unique<fakes::UpdateServer>();
        offerNow(offeredVersion_);
        service.options = updateServer_->options();
    }
    checker = UpdateChecker::make(world.host, "1.4.2", service);
    profiles = std::make_unique<ProfilesModel>(*coordinator);
    log = std::make_unique<LogModel>(coordinator->logs());
    updates = std::make_unique<UpdateModel>(*checker, &desktop);
    notices = std::make_unique<NoticesModel>();
    actions = std::make_unique<AppActions>();
    const SharedModels shared{*profiles, *log, *updates, *notices, *actions};
    mainWindow = std::make_unique<MainWindowModel>(*coordinator, *settings, shared);
    settingsModel =
        std::make_unique<SettingsModel>(*coordinator, *settings, launchAtLogin, *profiles, *updates);
    panel = std::make_unique<PanelModel>(*coordinator, shared);
}

QObject* WindowFixture::modelOf(const QString& type) const {
    if (type == QLatin1String("SettingsWindow")) return settingsModel.get();
    if (type == QLatin1String("MenuBarPanel")) return panel.get();
    return mainWindow.get();
}

QQuickWindow* WindowFixture::show(const QString& type, QSize size) {
    if (!coordinator) makeModels();
    QQmlComponent component(engine.get());
    component.setData(QStringLiteral("import Quillbay\n%1 {}").arg(type).toUtf8(), QUrl());
    QObject* made = component.createWithInitialProperties(
        {{QStringLiteral("model"), QVariant::fromValue(modelOf(type))}});
    window.reset(qobject_cast<QQuickWindow*>(made));
    if (!window) throw std::logic_error(component.errorString().toStdString());
    if (size.isValid()) window->resize(size);
    window->show();
    window->requestActivate();
    EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
    settleWindow();
    return window.get();
}

void WindowFixture::setDark(bool dark) {
    appearance->setDark(dark);
    if (window) settleWindow();
}

bool WindowFixture::until(const std::function<bool()>& done, std::chrono::seconds limit) {
    return world.until(
        [&done] {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            return done();
        },
        limit);
}

void WindowFixture::settleWindow() {
    world.settle();
    if (!window || !window->isVisible()) return;
    // What the first picture lays out may ask for a second one.
    const QSignalSpy pictures(window.get(), &QQuickWindow::frameSwapped);
    for (int wanted = 1; wanted <= 3; ++wanted) {
        window->update();
        EXPECT_TRUE(until([&] { return pictures.count() >= wanted; }));
    }
}

DeviceProfile WindowFixture::save(const std::string& name, std::uint16_t port) {
    DeviceProfile made = profile(name, port);
    save(made);
    return made;
}

void WindowFixture::save(const DeviceProfile& profile) {
    if (!coordinator) makeModels();
    coordinator->saveProfile(profile, AppCoordinator::SaveAnnouncement::silent);
    if (window) settleWindow();
}

void WindowFixture::untilStatus(const DeviceProfile& profile, BridgeStatus::Kind kind) {
    ASSERT_TRUE(until([&] { return coordinator->status(profile.id()).kind == kind; }));
    if (window) settleWindow();
}

void WindowFixture::fail(const DeviceProfile& profile) {
    const std::optional<std::string> address = world.address();
    world.setAddress(std::nullopt);
    coordinator->start(profile);
    untilStatus(profile, BridgeStatus::Kind::error);
    world.setAddress(address);
}

void WindowFixture::pair(const DeviceProfile& profile) {
    presence_->held = true;
    coordinator->start(profile);
    untilStatus(profile, BridgeStatus::Kind::pairing);
}

DeviceProfile WindowFixture::saveAndBridge(const std::string& name) {
    phones_.push_back(std::make_unique<fakes::FakePhone>(world.phoneIP, fakes::FakePhone::Manner::answers));
    DeviceProfile made = save(name, phones_.back()->port());
    coordinator->start(made);
    untilStatus(made, BridgeStatus::Kind::on);
    return made;
}

void WindowFixture::offerUpdate(const std::string& version) {
    offeredVersion_ = version;
    ASSERT_EQ(coordinator, nullptr) << "the checker has its service already";
}

void WindowFixture::offerNow(const std::string& version) {
    updateServer_->set("updates.test", fakes::httpAnswer(R"({"version": ")" + version +
                                                         R"(", "download_url": )"
                                                         R"("https://quillbay.example/get"})"));
}

void WindowFixture::findUpdate() {
    bool checked = false;
    checker->check([&checked] { checked = true; });
    ASSERT_TRUE(until([&checked] { return checked; }));
    ASSERT_TRUE(checker->hasCheckedSuccessfully());
    if (window) settleWindow();
}

}  // namespace quillbay
