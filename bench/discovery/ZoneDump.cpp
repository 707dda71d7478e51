#include "discovery/ZoneDump.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

#include "discovery/ZoneDumpReader.h"
#include "platform/Utf8.h"

namespace quillbay::bench {

namespace {

/// What one read of a child's pipe gives at most.
constexpr std::size_t chunkBytes = std::size_t{16} * 1024;
/// As many as the bundled tool follows, each told about again and again.
constexpr int instances = 400;
constexpr int lines = 300'000;

std::string dump() {
    std::string text;
    for (int i = 0; i < lines / 3; ++i) {
        const std::string record = fmt::format("5D3A8B01{:04X}._remotepairing._tcp", i % instances);
        text += fmt::format("{:<47} PTR     {}\n", "_remotepairing._tcp", record);
        text +=
            fmt::format("{:<47} SRV     0 0 {} Phone{}.local. ; Replace with unicast FQDN of target host\n",
                        record, 49152 + i % 1000, i % instances);
        text += fmt::format(
            "{:<47} TXT     \"identifier=8A3F6C1E-52D4-4B0E-9B57-{:012X}\" "
            "\"authTag=q83vEjRWeJA=\" \"flags=0\" \"minVer=17\" \"ver=19\"\n",
            record, i);
    }
    return text;
}

template <typename Work>
double linesPerSecond(const Work& work) {
    const auto began = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    return lines / took.count();
}

/// The services that the dump gives.
std::size_t readAll(std::string_view text) {
    Utf8ChunkDecoder decoder;
    ZoneDumpReader reader("_remotepairing._tcp", "local");
    const ZoneDumpReader::ProxyHosts proxies = [] { return std::set<std::string>{"phone.local"}; };
    std::size_t services = 0;
    for (; !text.empty(); text.remove_prefix(std::min(chunkBytes, text.size()))) {
        const auto piece = decoder.decode(text.substr(0, chunkBytes));
        if (piece) services += reader.consume(*piece, {}, proxies).services.size();
    }
    return services;
}

std::size_t lineFeeds(std::string_view text) {
    std::size_t count = 0;
    const char* at = text.data();
    const char* const end = at + text.size();
    while ((at = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)))) !=
           nullptr) {
        ++count;
        ++at;
    }
    return count;
}

std::vector<Row> zoneDump(int runs) {
    // Each of the tool's sets of three lines is read in a few microseconds, and the next one comes when
    // something has changed on the network: far more than any network can cause.
    Row row{
        "zone-dump lines per second", "1000/s", {}, Wanted{Wanted::Direction::atLeast, 200, {}}, "reader"};
    const std::string text = dump();
    for (int i = 0; i < runs; ++i) {
        row.values["reader"].push_back(linesPerSecond([&text] {
                                           if (readAll(text) < instances)
                                               throw std::runtime_error("the dump was not read");
                                       }) /
                                       1000);
        row.values["bare"].push_back(linesPerSecond([&text] {
                                         if (lineFeeds(text) != lines)
                                             throw std::runtime_error("the dump has other lines");
                                     }) /
                                     1000);
    }
    return {row};
}

}  // namespace

std::vector<Measurement> zoneDumpMeasurements() {
    return {{"zone-dump", zoneDump}};
}

}  // namespace quillbay::bench
