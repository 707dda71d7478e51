#include "discovery/NamingConflict.h"

#include "platform/Text.h"

namespace quillbay {

namespace {

/// `host` without a final dot and without ".local".
std::string_view ownName(std::string_view host) {
    constexpr std::string_view localDomain = ".local";
    if (host.ends_with('.')) host.remove_suffix(1);
    if (host.ends_with(localDomain)) host.remove_suffix(localDomain.size());
    return host;
}

}  // namespace

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
    if (hyphen == std::string_view::npos || hyphen == 0 || name[hyphen] != '-') return std::nullopt;
    const std::string_view digits = name.substr(hyphen + 1);
    if (digits.empty() || digits.front() == '0' || digits == "1") return std::nullopt;
    return std::string(name.substr(0, hyphen));
}

bool hasNamingConflictSuffix(std::string_view host) {
    return withoutConflictSuffix(ownName(host)).has_value();
}

std::string stripNamingConflictSuffix(std::string_view host) {
    const std::string_view name = ownName(host);
    const auto recovered = withoutConflictSuffix(name);
    return recovered ? *recovered + std::string(host.substr(name.size())) : std::string(host);
}

}  // namespace quillbay
