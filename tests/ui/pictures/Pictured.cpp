#include "ui/pictures/Pictured.h"

#include <QDir>
#include <QProcess>
#include <stdexcept>

#include "ui/pictures/PictureComparison.h"

namespace quillbay {

namespace {

void write(const QImage& picture, const QString& path) {
    if (!picture.save(path)) throw std::runtime_error(path.toStdString() + " cannot be written");
}

/// Qt's own files are half as large again.
void commit(const QImage& picture, const QString& path) {
    write(kept(picture), path);
    const QStringList small = {path,           "-strip",
                               "-define",      "png:compression-level=9",
                               "-define",      "png:compression-filter=1",
                               "-define",      "png:compression-strategy=0",
                               "-define",      "png:exclude-chunks=date,time",
                               "PNG24:" + path};
    if (QProcess::execute("convert", small) != 0) throw std::runtime_error("ImageMagick's convert failed");
}

}  // namespace

QString pictureFault(const QImage& came, const QString& name) {
    const QString file = name + QStringLiteral(".png");
    const QString committed = QDir(QStringLiteral(QUILLBAY_PICTURES_FOLDER)).filePath(file);
    if (qEnvironmentVariable("QUILLBAY_PICTURES") == QLatin1String("write")) {
        commit(came, committed);
        return {};
    }
    const QImage expected(committed);
    const PictureComparison comparison = compare(came, expected);
    if (comparison.isSame()) return {};
    const QDir folder(QStringLiteral(QUILLBAY_DIFFERENCES_FOLDER));
    folder.mkpath(QStringLiteral("."));
    const QString path = folder.filePath(name);
    write(came, path + QStringLiteral("-came.png"));
    if (expected.isNull()) return QStringLiteral("there is no %1; see %2-came.png").arg(committed, path);
    write(expected, path + QStringLiteral("-expected.png"));
    write(comparison.difference, path + QStringLiteral("-difference.png"));
    return QStringLiteral("%1: %2; see %3-came.png, -expected.png and -difference.png")
        .arg(file, comparison.words(), path);
}

}  // namespace quillbay
