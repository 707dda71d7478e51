// How a test looks at a window and works it: as a person with eyes, a mouse and a keyboard would.

#include <QAccessible>
#include <QDir>
#include <QTest>
#include <cmath>
#include <map>

#include "ui/WindowFixture.h"

namespace quillbay {

namespace {

QString accessibleName(QQuickItem* item) {
    QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(item);
    return seen == nullptr ? QString() : seen->text(QAccessible::Name);
}

bool isText(const QQuickItem* item) {
    return item->inherits("QQuickText");
}

bool isOfType(const QObject* object, const QString& type) {
    for (const QMetaObject* meta = object->metaObject(); meta != nullptr; meta = meta->superClass()) {
        const QString name = QString::fromLatin1(meta->className());
        if (name == type || name.endsWith(QStringLiteral("::") + type)) return true;
        if (name.startsWith(type + QStringLiteral("_QML"))) return true;
    }
    return false;
}

double seenOpacity(const QQuickItem* item) {
    double opacity = 1;
    for (; item != nullptr; item = item->parentItem())
        opacity *= item->opacity();
    return opacity;
}

bool isAncestor(const QQuickItem* above, const QQuickItem* item) {
    for (; item != nullptr; item = item->parentItem())
        if (item == above) return true;
    return false;
}

/// Every visible item below `item`, in the order in which they are drawn.
void collect(QQuickItem* item, std::vector<QQuickItem*>& into) {
    if (!item->isVisible()) return;
    into.push_back(item);
    // Of two at one height the later one is drawn above.
    std::multimap<double, QQuickItem*> byHeight;
    for (QQuickItem* child : item->childItems())
        byHeight.emplace(child->z(), child);
    for (const auto& [height, child] : byHeight)
        collect(child, into);
}

std::vector<QQuickItem*> visibleItems(QQuickItem* root) {
    std::vector<QQuickItem*> all;
    collect(root, all);
    return all;
}

QRectF sceneRect(const QQuickItem* item) {
    return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
}

/// Where the letters are: a text's own rectangle may be wider.
QRectF inkRect(const QQuickItem* item) {
    if (!isText(item)) return sceneRect(item);
    const double width = std::min(item->property("contentWidth").toDouble(), item->width());
    const double height = std::min(item->property("contentHeight").toDouble(), item->height());
    const int across = item->property("effectiveHorizontalAlignment").toInt();
    const int down = item->property("verticalAlignment").toInt();
    const double x = across == Qt::AlignRight     ? item->width() - width
                     : across == Qt::AlignHCenter ? (item->width() - width) / 2
                                                  : 0;
    const double y = down == Qt::AlignBottom    ? item->height() - height
                     : down == Qt::AlignVCenter ? (item->height() - height) / 2
                                                : 0;
    return item->mapRectToScene(QRectF(x, y, width, height));
}

QString described(const QQuickItem* item) {
    const QRectF rect = sceneRect(item);
    const QString what = isText(item) ? item->property("text").toString()
                                      : QString::fromLatin1(item->metaObject()->className()) +
                                            QLatin1Char(' ') + item->property("name").toString();
    return QStringLiteral("\"%1\" (%2, %3, %4 × %5)")
        .arg(what.left(60))
        .arg(rect.x())
        .arg(rect.y())
        .arg(rect.width())
        .arg(rect.height());
}

/// The popup that the item is part of: one covers what is below it, and that is well.
const QQuickItem* popupOf(const QQuickItem* item) {
    while (item != nullptr && !item->inherits("QQuickPopupItem"))
        item = item->parentItem();
    return item;
}

constexpr double tolerance = 1;

/// What is wrong with one text or symbol where it stands.
QStringList faultsOf(const QQuickItem* item) {
    QStringList faults;
    if (isText(item) && item->property("elide").toInt() == Qt::ElideNone) {
        if (item->property("contentWidth").toDouble() > item->width() + tolerance)
            faults.append(described(item) + QStringLiteral(" is wider than its place"));
        if (item->property("contentHeight").toDouble() > item->height() + tolerance)
            faults.append(described(item) + QStringLiteral(" is higher than its place"));
    }
    const QRectF rect = inkRect(item);
    for (const QQuickItem* parent = item->parentItem(); parent != nullptr; parent = parent->parentItem()) {
        // What is scrolled stands where it likes.
        if (parent->parentItem() != nullptr && parent->parentItem()->inherits("QQuickFlickable"))
            return faults;
        const QRectF around = sceneRect(parent).adjusted(-tolerance, -tolerance, tolerance, tolerance);
        if (parent->width() > 0 && parent->height() > 0 && !around.contains(rect)) {
            faults.append(described(item) + QStringLiteral(" stands out of ") + described(parent));
            return faults;
        }
    }
    return faults;
}

}  // namespace

QQuickItem* WindowFixture::control(const QString& name, QQuickItem* within) const {
    for (QQuickItem* item : visibleItems(within != nullptr ? within : window->contentItem()))
        if (accessibleName(item) == name) return item;
    return nullptr;
}

QQuickItem* WindowFixture::text(const QString& shown, QQuickItem* within) const {
    for (QQuickItem* item : visibleItems(within != nullptr ? within : window->contentItem()))
        if (isText(item) && seenOpacity(item) > 0 && item->property("text").toString() == shown) return item;
    return nullptr;
}

QQuickItem* WindowFixture::ofType(const QString& type, QQuickItem* within) const {
    const std::vector<QQuickItem*> all = allOfType(type, within);
    return all.empty() ? nullptr : all.front();
}

std::vector<QQuickItem*> WindowFixture::allOfType(const QString& type, QQuickItem* within) const {
    std::vector<QQuickItem*> all = visibleItems(within != nullptr ? within : window->contentItem());
    std::erase_if(all, [&type](const QQuickItem* item) { return !isOfType(item, type); });
    return all;
}

QStringList WindowFixture::texts(QQuickItem* within) const {
    QStringList all;
    for (const QQuickItem* item : visibleItems(within != nullptr ? within : window->contentItem()))
        if (isText(item) && seenOpacity(item) > 0 && !item->property("text").toString().isEmpty())
            all.append(item->property("text").toString());
    return all;
}

QString WindowFixture::focused() const {
    for (QQuickItem* item = window->activeFocusItem(); item != nullptr; item = item->parentItem())
        if (const QString name = accessibleName(item); !name.isEmpty()) return name;
    return {};
}

QRectF WindowFixture::visibleRect(const QQuickItem* item) const {
    QRectF rect = inkRect(item);
    for (const QQuickItem* parent = item->parentItem(); parent != nullptr; parent = parent->parentItem())
        if (parent->clip()) rect &= sceneRect(parent);
    return rect & QRectF(0, 0, window->width(), window->height());
}

QStringList WindowFixture::layoutFaults(QQuickItem* within) const {
    std::vector<QQuickItem*> shown = visibleItems(within != nullptr ? within : window->contentItem());
    std::erase_if(shown, [](const QQuickItem* item) {
        const bool drawn = (isText(item) && !item->property("text").toString().isEmpty()) ||
                           isOfType(item, QStringLiteral("SymbolImage")) ||
                           isOfType(item, QStringLiteral("ToggleSwitch"));
        return !drawn || seenOpacity(item) < 0.01;
    });
    QStringList faults;
    for (const QQuickItem* item : shown)
        faults += faultsOf(item);
    for (std::size_t i = 0; i < shown.size(); ++i) {
        for (std::size_t j = i + 1; j < shown.size(); ++j) {
            if (isAncestor(shown[i], shown[j]) || popupOf(shown[i]) != popupOf(shown[j])) continue;
            const QRectF both = visibleRect(shown[i]) & visibleRect(shown[j]);
            if (both.width() > tolerance && both.height() > tolerance)
                faults.append(described(shown[i]) + QStringLiteral(" overlaps ") + described(shown[j]));
        }
    }
    return faults;
}

void WindowFixture::click(QQuickItem* item, Qt::MouseButton button) {
    ASSERT_NE(item, nullptr);
    const QPoint place = sceneRect(item).center().toPoint();
    QTest::mouseMove(window.get(), place);
    QTest::mouseClick(window.get(), button, Qt::NoModifier, place);
    settleWindow();
}

void WindowFixture::doubleClick(QQuickItem* item) {
    ASSERT_NE(item, nullptr);
    const QPoint place = sceneRect(item).center().toPoint();
    QTest::mouseMove(window.get(), place);
    QTest::mouseDClick(window.get(), Qt::LeftButton, Qt::NoModifier, place);
    settleWindow();
}

void WindowFixture::hover(QQuickItem* item) {
    ASSERT_NE(item, nullptr);
    // From beside it: a pointer that has not moved since the last test hovers over nothing.
    const QPoint place = sceneRect(item).center().toPoint();
    QTest::mouseMove(window.get(), place + QPoint(2, 0));
    QTest::mouseMove(window.get(), place);
    settleWindow();
}

void WindowFixture::press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(window.get(), key, modifiers);
    settleWindow();
}

void WindowFixture::type(const QString& text) {
    for (const QChar character : text)
        QTest::sendKeyEvent(QTest::Click, window.get(), Qt::Key_unknown, QString(character), Qt::NoModifier);
    settleWindow();
}

QStringList WindowFixture::tabStops(int count) {
    QStringList stops;
    for (int i = 0; i < count; ++i) {
        press(Qt::Key_Tab);
        stops.append(focused());
    }
    return stops;
}

QImage WindowFixture::grab(const QString& name) {
    settleWindow();
    QImage picture = window->grabWindow();
    const QString folder = qEnvironmentVariable("QUILLBAY_GRABS");
    if (!folder.isEmpty()) picture.save(QDir(folder).filePath(name + QStringLiteral(".png")));
    return picture;
}

}  // namespace quillbay
