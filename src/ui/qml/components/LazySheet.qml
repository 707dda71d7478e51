// A sheet that is made when it is wanted for the first time: most runs of the program need none.
import QtQuick
import Quillbay

Loader {
    id: place

    /// The sheet's file, from here.
    required property string file
    /// The sheet's own.
    required property QtObject model
    required property bool wanted

    function make() {
        if (place.wanted && place.status === Loader.Null)
            place.setSource(Qt.resolvedUrl(place.file), { model: place.model });
    }

    onWantedChanged: place.make()
    Component.onCompleted: place.make()
    onLoaded: {
        // Not before all of the sheet is there.
        (place.item as Sheet).open = Qt.binding(() => place.wanted);
    }
}
