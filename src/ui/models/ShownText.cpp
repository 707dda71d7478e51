#include "ui/models/ShownText.h"

#include <algorithm>
#include <string>

#include "platform/PrintableText.h"

namespace quillbay {

QString shownLine(std::string_view text) {
    constexpr std::string_view breaks = "\n\r\t\v\f";
    std::string line(text);
    std::replace_if(
        line.begin(), line.end(), [&](char byte) { return breaks.find(byte) != std::string_view::npos; },
        ' ');
    return QString::fromStdString(printable(line));
}

QString shownLines(std::string_view text) {
    QString lines;
    while (true) {
        const std::size_t lineFeed = text.find('\n');
        lines += shownLine(text.substr(0, lineFeed));
        if (lineFeed == std::string_view::npos) return lines;
        lines += u'\n';
        text.remove_prefix(lineFeed + 1);
    }
}

}  // namespace quillbay
