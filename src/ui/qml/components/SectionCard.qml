// A card: a header with a symbol and a title, and below it what it holds, in a column layout: what should be as wide as
// the card says `Layout.fillWidth: true`.
import QtQuick
import QtQuick.Layouts
import Quillbay

Item {
    id: card

    required property string title
    required property string symbol
    property color titleColor: DS.textPrimary
    property color symbolColor: DS.textSecondary
    property alias fill: surface.fill
    property alias border: surface.border
    property alias outline: surface.outline
    default property alias content: column.data
    /// At the trailing edge of the header.
    property alias accessory: accessories.data

    readonly property bool empty: column.visibleChildren.length === 0

    implicitWidth: Math.max(header.implicitWidth, column.implicitWidth) + 2 * DS.space16
    implicitHeight: header.height + 2 * DS.space16 + (empty ? 0 : DS.space12 + column.implicitHeight)
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    GlassSurface {
        id: surface
        anchors.fill: parent
    }
    Item {
        id: header

        // What stands at the trailing edge may be higher than the header; it is centred on it.
        x: DS.space16
        y: DS.space16
        width: card.width - 2 * DS.space16
        height: 16
        implicitWidth: titleText.x + titleText.implicitWidth + DS.space12 + accessories.implicitWidth

        SymbolImage {
            anchors.verticalCenter: parent.verticalCenter
            size: 14
            name: card.symbol
            color: card.symbolColor
            Accessible.ignored: true
        }
        StyledText {
            id: titleText
            objectName: "title"
            x: 14 + 6
            width: Math.max(0, accessories.x - x - (accessories.width > 0 ? DS.space12 : 0))
            anchors.verticalCenter: parent.verticalCenter
            textStyle: DS.subheadline
            text: card.title
            color: card.titleColor
            elide: Text.ElideRight
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        RowLayout {
            id: accessories
            anchors { right: parent.right; verticalCenter: parent.verticalCenter }
            spacing: DS.space8
        }
    }
    ColumnLayout {
        id: column
        objectName: "column"
        x: DS.space16
        y: DS.space16 + header.height + DS.space12
        width: card.width - 2 * DS.space16
        height: card.height - y - DS.space16
        spacing: DS.space12
    }
}
