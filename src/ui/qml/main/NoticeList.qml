// The notices below each other, as high as they are.
import QtQuick
import Quillbay

ListView {
    id: list

    required property NoticesModel notices

    implicitHeight: contentHeight
    interactive: false
    // All of them have a height, so that together they have one.
    cacheBuffer: 10000
    model: notices.sentences
    delegate: NoticeBanner {
        id: banner

        required property int index
        required property string modelData
        readonly property NoticeList list: ListView.view as NoticeList

        width: banner.list?.width ?? 0
        height: implicitHeight
        sentence: banner.modelData
        onClosed: banner.list.notices.close(banner.index)
    }
}
