// The files of the symbols themselves, and that every name that the windows use has one.

#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QXmlStreamReader>

#include "ui/SymbolFiles.h"

namespace quillbay {
namespace {

using test::symbolNames;

const QString sources = QStringLiteral(QUILLBAY_UI_SOURCES);

QString textOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return QString::fromUtf8(file.readAll());
}

QString svgOf(const QString& name) {
    return textOf(sources + "/symbols/" + name + ".svg");
}

/// Calls `look` with each element of a symbol's file, of which there is at least one besides the root.
template <typename Look>
void forEachElement(const QString& name, const Look& look) {
    QXmlStreamReader reader(svgOf(name));
    int elements = 0;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement) continue;
        ++elements;
        look(reader.name().toString(), reader.attributes());
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    EXPECT_GT(elements, 1) << name.toStdString();
}

TEST(SymbolFiles, there_is_one_for_every_symbol_and_no_other) {
    QStringList found = QDir(sources + "/symbols").entryList({"*.svg"}, QDir::Files, QDir::Name);
    found.replaceInStrings(QRegularExpression("\\.svg$"), "");
    QStringList expected = symbolNames();
    found.sort();
    expected.sort();
    EXPECT_EQ(found.join('\n').toStdString(), expected.join('\n').toStdString());
}

TEST(SymbolFiles, are_on_a_grid_of_24_units) {
    for (const QString& name : symbolNames()) {
        forEachElement(name, [&](const QString& element, const QXmlStreamAttributes& attributes) {
            if (element == "svg") {
                EXPECT_EQ(attributes.value("viewBox").toString(), "0 0 24 24") << name.toStdString();
            }
        });
    }
}

TEST(SymbolFiles, use_plain_shapes_and_no_masks) {
    const QSet<QString> plain{"svg", "path", "circle", "ellipse", "rect"};
    for (const QString& name : symbolNames()) {
        forEachElement(name, [&](const QString& element, const QXmlStreamAttributes&) {
            EXPECT_TRUE(plain.contains(element)) << name.toStdString() << ": " << element.toStdString();
        });
    }
}

TEST(SymbolFiles, use_black_and_nothing_else) {
    const QSet<QString> known{"", "#000", "none"};
    for (const QString& name : symbolNames()) {
        forEachElement(name, [&](const QString&, const QXmlStreamAttributes& attributes) {
            for (const char* paint : {"fill", "stroke", "color", "style", "opacity", "class"})
                EXPECT_TRUE(known.contains(attributes.value(QLatin1String(paint)).toString()))
                    << name.toStdString() << ": " << paint;
        });
    }
}

TEST(SymbolFiles, have_round_strokes_of_one_weight) {
    for (const QString& name : symbolNames()) {
        forEachElement(name, [&](const QString& element, const QXmlStreamAttributes& attributes) {
            const bool stroked = attributes.value("stroke") == QLatin1String("#000");
            EXPECT_TRUE(element == "svg" || !stroked) << name.toStdString() << " strokes a shape of its own";
            EXPECT_EQ(attributes.value("stroke-width").toString(), stroked ? "1.75" : "")
                << name.toStdString();
            EXPECT_EQ(attributes.value("stroke-linecap").toString(), stroked ? "round" : "");
            EXPECT_EQ(attributes.value("stroke-linejoin").toString(), stroked ? "round" : "");
        });
    }
}

TEST(SymbolFiles, make_holes_by_the_even_odd_rule) {
    for (const QString name : {"exclamationmark.triangle.fill", "arrow.down.circle.fill"}) {
        forEachElement(name, [&](const QString& element, const QXmlStreamAttributes& attributes) {
            if (element == "path") {
                EXPECT_EQ(attributes.value("fill-rule").toString(), "evenodd") << name.toStdString();
            }
        });
    }
}

/// The names in a source that are meant for a symbol: texts where a symbol is asked for, and texts that begin
/// as the name of one does.
QSet<QString> symbolsNamedIn(const QString& text) {
    static const QRegularExpression asked(R"(\b\w*[sS]ymbol\w*\s*[:=(]|SymbolImage\s*\{[^}]*\bname\s*:)");
    static const QRegularExpression literal(R"re("([a-z][a-z0-9]*(?:\.[a-z0-9]+)*)")re");
    static const QSet<QString> beginnings = [] {
        QSet<QString> words;
        for (const QString& name : symbolNames())
            if (name.contains('.')) words.insert(name.section('.', 0, 0));
        return words;
    }();
    QSet<QString> names;
    for (const QString& line : text.split('\n')) {
        if (line.contains("#include")) continue;
        const bool wanted = line.contains(asked);
        for (auto match = literal.globalMatch(line); match.hasNext();) {
            const QString name = match.next().captured(1);
            if (wanted || (name.contains('.') && beginnings.contains(name.section('.', 0, 0))))
                names.insert(name);
        }
    }
    return names;
}

TEST(SymbolFiles, the_search_for_names_finds_them) {
    EXPECT_EQ(symbolsNamedIn("PushButton { text: \"Send\" }\n    symbol: \"paperplane\"\n"),
              QSet<QString>{"paperplane"});
    EXPECT_EQ(symbolsNamedIn("symbol: open ? \"chevron.up\" : \"chevron.down\""),
              (QSet<QString>{"chevron.up", "chevron.down"}));
    EXPECT_EQ(symbolsNamedIn("SymbolImage { name: \"plus\"; size: 14 }"), QSet<QString>{"plus"});
    EXPECT_EQ(symbolsNamedIn("return {QStringLiteral(\"iphone.gen9\")};"), QSet<QString>{"iphone.gen9"});
    EXPECT_EQ(symbolsNamedIn("objectName: \"window\""), QSet<QString>{});
}

TEST(SymbolFiles, every_name_that_the_windows_use_has_one) {
    QSet<QString> used;
    QDirIterator files(sources, {"*.qml", "*.cpp", "*.h"}, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        for (const QString& name : symbolsNamedIn(textOf(path))) {
            EXPECT_TRUE(symbolNames().contains(name)) << name.toStdString() << " in " << path.toStdString();
            used.insert(name);
        }
    }
    EXPECT_TRUE(used.contains("antenna.radiowaves.left.and.right"));
    EXPECT_TRUE(used.contains("provider.mesh"));
}

}  // namespace
}  // namespace quillbay
