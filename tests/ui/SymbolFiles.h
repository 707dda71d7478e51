#pragma once

#include <QString>
#include <QStringList>

namespace quillbay::test {

/// Every symbol there is, by name.
inline const QStringList& symbolNames() {
    static const QStringList names{
        "antenna.radiowaves.left.and.right",
        "antenna.radiowaves.left.and.right.slash",
        "arrow.down.circle",
        "arrow.down.circle.fill",
        "checkmark",
        "checkmark.circle",
        "chevron.down",
        "chevron.right",
        "chevron.up",
        "chevron.up.chevron.down",
        "circle",
        "circle.fill",
        "ellipsis",
        "exclamationmark.triangle.fill",
        "gearshape",
        "info.circle",
        "iphone",
        "iphone.and.arrow.forward",
        "iphone.gen3",
        "keyboard",
        "lifepreserver",
        "network",
        "paperplane",
        "pencil",
        "plus",
        "plus.circle",
        "power",
        "provider.mesh",
        "provider.ring",
        "provider.star",
        "stethoscope",
        "stop.circle",
        "text.alignleft",
        "textformat",
        "trash",
        "wifi",
        "xmark",
    };
    return names;
}

}  // namespace quillbay::test
