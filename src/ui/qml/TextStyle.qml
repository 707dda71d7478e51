// One of the design system's text styles.
import QtQuick

QtObject {
    id: style

    required property string family
    required property int pixelSize
    required property int lineHeight
    property int weight: Font.Normal

    readonly property font font: Qt.font({
        family: style.family,
        pixelSize: style.pixelSize,
        weight: style.weight
    })
}
