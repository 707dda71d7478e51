// The connectors, four to a row: one stop for Tab, in which the arrows choose, as in every group of radio buttons.
import QtQuick
import Quillbay

Grid {
    id: group

    required property ProviderTilesModel tiles
    /// The chosen tile's identifier; empty for none.
    required property string selected

    readonly property real tileWidth: (group.width - 3 * group.spacing) / 4
    /// The tile that Tab reaches, which has the focus while the group has it.
    readonly property int tabStopRow: tileItems.count > 0 ? Math.max(0, group.tiles.rowOf(group.selected)) : 0
    readonly property Item tabStopItem: tileItems.count > 0 ? tileItems.itemAt(group.tabStopRow) : null

    signal chosen(string tileID)

    function choose(row: int) {
        if (row < 0 || row >= tileItems.count)
            return;
        tileItems.itemAt(row).forceActiveFocus(Qt.TabFocusReason);
        group.chosen(group.tiles.tileIDAt(row));
    }

    columns: 4
    spacing: DS.space8

    Accessible.role: Accessible.Grouping
    Accessible.name: "Network connector"

    Repeater {
        id: tileItems

        model: group.tiles

        ProviderTileButton {
            id: tile

            required property int index
            required property string tileID
            required property string label
            readonly property ProviderTiles group: tile.parent as ProviderTiles

            width: tile.group?.tileWidth ?? 0
            text: tile.label
            selected: tile.tileID === tile.group?.selected
            tabStop: tile.index === tile.group?.tabStopRow
            onClicked: tile.group.chosen(tile.tileID)
            Keys.onLeftPressed: tile.group.choose(tile.index - 1)
            Keys.onRightPressed: tile.group.choose(tile.index + 1)
            Keys.onUpPressed: tile.group.choose(tile.index - tile.group.columns)
            Keys.onDownPressed: tile.group.choose(tile.index + tile.group.columns)
        }
    }
}
