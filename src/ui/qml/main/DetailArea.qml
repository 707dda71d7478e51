// The right-hand side: what everybody should know at the top, the selected device, and the version.
import QtQuick
import QtQuick.Layouts
import Quillbay

Item {
    id: area

    required property MainWindowModel model
    readonly property bool empty: model.detail.profileID === ""

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: Appearance.titleStripHeight
        spacing: 0

        // Before the rest in the order of the Tab key too.
        UpdateAvailableBanner {
            model: area.model.updates
            Layout.fillWidth: true
        }

        NoticeList {
            notices: area.model.notices
            Layout.fillWidth: true
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ProfileDetailView {
                anchors.fill: parent
                model: area.model
                visible: !area.empty
            }

            StyledText {
                anchors.centerIn: parent
                width: Math.min(284, parent.width - 2 * DS.space24)
                visible: area.empty
                textStyle: DS.body
                lineHeight: 20
                color: DS.textSecondary
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignHCenter
                text: "Select a device from the list on the left to see its details, live status, and logs."
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }

        DetailFooter {
            text: area.model.footer
            Layout.fillWidth: true
        }
    }
}
