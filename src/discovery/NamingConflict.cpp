#include "discovery/NamingConflict.h"

#include "platform/Text.h"

namespace quillbay {

std::string hostBaseName(std::string_view host) {
    std::string name = lowercased(host);
    if (name.ends_with('.')) name.pop_back();
    for (const std::string_view suffix : {".coredevice.local", ".local"}) {
        if (!name.ends_with(suffix)) continue;
        name.resize(name.size() - suffix.size());
        break;
    }
    return name;
}

std::optional<std::string> withoutConflictSuffix(std::string_view name) {
    const std::size_t hyphen = name.find_last_not_of("0123456789");
    if (hyphen == std::string_view::npos || name[hyphen] != '-') return std::nullopt;
    const std::string_view digits = name.substr(hyphen + 1);
    if (digits.empty() || digits.front() < '2') return std::nullopt;
    return std::string(name.substr(0, hyphen));
}

}  // namespace quillbay
