// A zone dump as it arrives from a pipe. However the text is cut, what was published of each host in the end,
// and what was logged, is what the rules give when they are applied to one whole line after the other,
// spelled out here once more with plain means.

#include <arpa/inet.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/ZoneDumpReader.h"
#include "fuzz/Fuzz.h"
#include "platform/Text.h"

using namespace quillbay;
using fuzz::require;

namespace {

const std::string type = "_t._tcp";
const std::set<std::string> proxies{"own.local", "phone-7.local"};

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> pieces(1);
    for (const char c : text) {
        if (c == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += c;
        }
    }
    return pieces;
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::optional<unsigned> portOf(std::string digits) {
    if (!digits.empty() && digits[0] == '+') digits.erase(0, 1);
    if (digits.empty()) return std::nullopt;
    unsigned value = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + static_cast<unsigned>(c - '0');
        if (value > 65535) return std::nullopt;
    }
    return value;
}

bool isAddress(const std::string& host) {
    unsigned char bytes[sizeof(in6_addr)];
    return ::inet_pton(AF_INET, host.c_str(), bytes) == 1 || ::inet_pton(AF_INET6, host.c_str(), bytes) == 1;
}

/// The host without "-" and a number from 2 on before its domain, unless it is nothing else.
std::string recovered(const std::string& host) {
    std::string end;
    std::string name = host;
    for (const std::string& part : {std::string("."), std::string(".local")}) {
        if (!endsWith(name, part)) continue;
        name.resize(name.size() - part.size());
        end = part + end;
    }
    std::string digits;
    while (!name.empty() && name.back() >= '0' && name.back() <= '9') {
        digits = name.back() + digits;
        name.pop_back();
    }
    const bool conflict =
        !digits.empty() && digits[0] != '0' && digits != "1" && name.size() > 1 && name.back() == '-';
    return conflict ? name.substr(0, name.size() - 1) + end : host;
}

/// The rules, a line at a time.
struct Plain {
    std::map<std::string, std::pair<std::string, unsigned>> srv;
    std::map<std::string, std::map<std::string, std::string>> txt;
    std::map<std::string, CapturedBonjourService> byHost;
    bool rejectedAny = false;

    void line(const std::string& text) {
        std::vector<std::string> words = split(text, ' ');
        std::erase(words, "");
        if (words.size() < 2 || !endsWith(words[0], "." + type)) return;
        const std::string name = words[0].substr(0, words[0].size() - type.size() - 1);
        if (name.size() > ZoneDumpReader::maximumNameBytes) return;
        if (words[1] == "SRV") {
            if (words.size() < 6) return;
            const auto port = portOf(words[4]);
            std::string host = words[5];
            if (host.back() == '.') host.pop_back();
            if (!port || host.empty() || host.size() > ZoneDumpReader::maximumNameBytes) return;
            srv[name] = {host, *port};
        } else if (words[1] == "TXT") {
            std::map<std::string, std::string> entries;
            for (std::size_t i = 2; i < words.size(); ++i) {
                std::string word = words[i];
                if (!word.empty() && word.front() == '"') word.erase(0, 1);
                if (!word.empty() && word.back() == '"') word.pop_back();
                const std::size_t at = word.find('=');
                if (at != std::string::npos) entries[word.substr(0, at)] = word.substr(at + 1);
            }
            txt[name] = entries;
        } else {
            return;
        }
        publish(name);
    }

    void publish(const std::string& name) {
        if (!srv.contains(name)) return;
        const auto& [host, port] = srv[name];
        if (host.find('%') != std::string::npos || isAddress(host)) return;
        const std::string own = recovered(host);
        rejectedAny = rejectedAny || name.find('\\') != std::string::npos || own != host ||
                      proxies.contains(lowercased(host));
        if (name.find('\\') != std::string::npos || proxies.contains(lowercased(host)) ||
            proxies.contains(lowercased(own)))
            return;
        const auto known = txt.find(name);
        byHost[own] = {name,
                       type,
                       "local",
                       own,
                       static_cast<std::uint16_t>(port),
                       known == txt.end() ? std::map<std::string, std::string>() : known->second,
                       {},
                       std::nullopt};
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    std::vector<std::size_t> cuts;
    for (std::size_t count = input.ConsumeIntegralInRange<std::size_t>(0, 8); count > 0; --count)
        cuts.push_back(input.ConsumeIntegralInRange<std::size_t>(0, 128));
    const bool everyByte = input.ConsumeBool();
    const std::string text = input.ConsumeRemainingBytesAsString();
    // What is cut into single bytes is published after every line, and everything else only when a piece
    // ends.
    if (everyByte) cuts.assign(text.size(), 1);

    ZoneDumpReader reader(type, "local");
    std::map<std::string, CapturedBonjourService> byHost;
    std::vector<std::string> log;
    const auto feed = [&](std::string_view chunk) {
        auto output = reader.consume(chunk, {}, [] { return proxies; });
        std::set<std::string> names;
        for (auto& service : output.services) {
            require(names.insert(service.name).second, "a piece publishes an instance once");
            byHost[service.host] = std::move(service);
        }
        log.insert(log.end(), output.logLines.begin(), output.logLines.end());
    };
    std::string_view rest = text;
    for (const std::size_t cut : cuts) {
        feed(rest.substr(0, cut));
        rest.remove_prefix(std::min(cut, rest.size()));
    }
    feed(rest);

    Plain plain;
    std::vector<std::string> lines = split(text, '\n');
    lines.pop_back();
    for (const std::string& line : lines)
        if (line.size() <= LineBuffer::defaultLimitBytes) plain.line(line);

    require(reader.records().count() <= lines.size(), "an instance takes a line");
    require(std::set<std::string>(log.begin(), log.end()).size() == log.size(), "nothing is said twice");
    for (const std::string& line : log)
        require(line.starts_with("Bonjour: ") && line.find('\n') == std::string::npos,
                "a message is one line");
    for (const auto& [host, service] : byHost)
        require(plain.byHost.contains(host), "only what the rules publish is published");
    if (!everyByte) return 0;
    require(byHost == plain.byHost, "what is published last is the same");
    require(log.empty() != plain.rejectedAny, "a rejection is said");
    return 0;
}
