// A titled group of a gallery.
import QtQuick
import Quillbay

Column {
    id: section

    required property string title

    spacing: 12

    StyledText {
        textStyle: DS.subheadline
        text: section.title
        color: DS.textSecondary
    }
}
