#include "ui/shell/ScreenReader.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QVariant>
#include <stdexcept>

#include "fakes/WaitUntil.h"

namespace quillbay::fakes {

namespace {

QString sessionName() {
    return QStringLiteral("screen-reader-session");
}
QString connectionName() {
    return QStringLiteral("screen-reader");
}
QString accessible() {
    return QStringLiteral("org.a11y.atspi.Accessible");
}

/// The bit of an element that can be seen, in the first word of its states (AtspiStateType).
constexpr unsigned showing = 1U << 25U;

QDBusMessage ask(const QDBusConnection& bus, const QString& service, const QString& path,
                 const QString& interface, const QString& member, const QVariantList& arguments = {}) {
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, member);
    call.setArguments(arguments);
    return bus.call(call);
}

QString nameOf(const QDBusConnection& bus, const QString& service, const QString& path) {
    const QDBusMessage reply = ask(bus, service, path, QStringLiteral("org.freedesktop.DBus.Properties"),
                                   QStringLiteral("Get"), {accessible(), QStringLiteral("Name")});
    return reply.arguments().value(0).value<QDBusVariant>().variant().toString();
}

bool isShowing(const QDBusConnection& bus, const QString& service, const QString& path) {
    const QDBusMessage reply = ask(bus, service, path, accessible(), QStringLiteral("GetState"));
    const auto states = qdbus_cast<QList<unsigned>>(reply.arguments().value(0));
    return !states.isEmpty() && (states.first() & showing) != 0;
}

QStringList childrenOf(const QDBusConnection& bus, const QString& service, const QString& path) {
    const QDBusMessage reply = ask(bus, service, path, accessible(), QStringLiteral("GetChildren"));
    QStringList children;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return children;
    const auto list = reply.arguments().constFirst().value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        QString owner;
        QDBusObjectPath child;
        list.beginStructure();
        list >> owner >> child;
        list.endStructure();
        children += child.path();
    }
    list.endArray();
    return children;
}

}  // namespace

ScreenReader::ScreenReader(const std::filesystem::path& folder)
    : session_(folder),
      environment_{{"DBUS_SESSION_BUS_ADDRESS", session_.address()},
                   {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"}},
      launcher_(ChildProcess::launch(
          {"/usr/libexec/at-spi-bus-launcher",
           {"--launch-immediately"},
           ChildCommand::Output::null,
           ChildCommand::Output::null,
           {{"DBUS_SESSION_BUS_ADDRESS", session_.address()}, {"XDG_RUNTIME_DIR", folder.string()}}})),
      bus_(QDBusConnection(connectionName())) {
    auto session = QDBusConnection::connectToBus(QString::fromStdString(session_.address()), sessionName());
    QString address;
    const bool isThere = waitUntil([&] {
        const QDBusMessage reply =
            ask(session, QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
                QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress"));
        address =
            reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toString() : QString();
        return !address.isEmpty();
    });
    session = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(sessionName());
    if (!isThere) throw std::runtime_error("the accessibility bus does not come");
    bus_ = QDBusConnection::connectToBus(address, connectionName());
}

ScreenReader::~ScreenReader() {
    bus_ = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(connectionName());
    launcher_.terminateAndWait();
}

QString ScreenReader::serviceOf(pid_t program) const {
    const QDBusConnectionInterface* const bus = bus_.interface();
    const QStringList services = bus->registeredServiceNames();
    for (const QString& service : services)
        if (service.startsWith(u':') && bus->servicePid(service) == static_cast<unsigned>(program))
            return service;
    return {};
}

QStringList ScreenReader::names(pid_t program) const {
    constexpr qsizetype most = 1000;
    const QString service = serviceOf(program);
    QStringList found;
    if (service.isEmpty()) return found;
    QStringList open{QStringLiteral("/org/a11y/atspi/accessible/root")};
    for (qsizetype at = 0; at < open.size() && at < most; ++at) {
        const QString path = open.at(at);
        if (at > 0 && isShowing(bus_, service, path)) found += nameOf(bus_, service, path);
        open += childrenOf(bus_, service, path);
    }
    return found;
}

}  // namespace quillbay::fakes
