// The notices below each other, as high as they are.
import QtQuick
import Quillbay

ListView {
    id: list

    required property NoticesModel notices

    /// The keyboard goes on to the notice that takes the place of the closed one, then to the one before, and after the
    /// last one to what follows the notices.
    function close(banner: NoticeBanner, row: int) {
        const had = banner.hasKeyboard;
        const reason = banner.focusReason;
        list.notices.close(row);
        if (!had)
            return;
        list.forceLayout();
        const next = list.itemAtIndex(Math.min(row, list.count - 1)) as NoticeBanner;
        if (next)
            next.takeKeyboard(reason);
        else
            list.nextItemInFocusChain(true).forceActiveFocus(reason);
    }

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
        onClosed: banner.list.close(banner, banner.index)
    }
}
