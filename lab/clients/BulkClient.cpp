// Moves bytes through a tunnel port and says what arrived, as one JSON line:
//
//     quillbay-lab-client get|put HOST PORT SEED BYTES
//
// Exit status: 0 when the digests of both ends and of the stream as it should be are equal, 1 otherwise, 2
// for wrong usage.

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <cstring>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "phone/SeededStream.h"
#include "phone/Sha256.h"
#include "phone/Words.h"

namespace quillbay::lab {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

constexpr std::size_t chunkBytes = std::size_t{256} * 1024;
constexpr std::size_t digestCharacters = 64;

struct Transfer {
    std::uint64_t seed = 0;
    std::uint64_t bytes = 0;
};

struct Outcome {
    std::string ourDigest;
    std::string theirDigest;
    bool streamEqual = true;
};

std::string readDigest(tcp::socket& socket) {
    std::string line(digestCharacters + 1, '\0');
    asio::read(socket, asio::buffer(line));
    line.pop_back();
    return line;
}

Outcome get(tcp::socket& socket, const Transfer& transfer) {
    asio::write(socket, asio::buffer("GET " + std::to_string(transfer.seed) + " " +
                                     std::to_string(transfer.bytes) + "\n"));
    SeededStream stream(transfer.seed);
    Sha256 hash;
    Outcome outcome;
    std::vector<std::byte> chunk(chunkBytes);
    std::vector<std::byte> expected(chunkBytes);
    for (std::uint64_t left = transfer.bytes; left > 0;) {
        const auto count =
            socket.read_some(asio::buffer(chunk.data(), std::min<std::uint64_t>(left, chunk.size())));
        const auto part = std::span(chunk).first(count);
        hash.update(part);
        stream.fill(std::span(expected).first(count));
        outcome.streamEqual = outcome.streamEqual && std::memcmp(expected.data(), part.data(), count) == 0;
        left -= count;
    }
    outcome.ourDigest = hash.finish();
    outcome.theirDigest = readDigest(socket);
    return outcome;
}

Outcome put(tcp::socket& socket, const Transfer& transfer) {
    asio::write(socket, asio::buffer("PUT " + std::to_string(transfer.bytes) + "\n"));
    SeededStream stream(transfer.seed);
    Sha256 hash;
    std::vector<std::byte> chunk(chunkBytes);
    for (std::uint64_t left = transfer.bytes; left > 0;) {
        const auto part = std::span(chunk).first(std::min<std::uint64_t>(left, chunk.size()));
        stream.fill(part);
        hash.update(part);
        asio::write(socket, asio::buffer(part.data(), part.size()));
        left -= part.size();
    }
    Outcome outcome;
    outcome.ourDigest = hash.finish();
    outcome.theirDigest = readDigest(socket);
    return outcome;
}

int run(const std::vector<std::string>& words) {
    const bool known = words.size() == 5 && (words[0] == "get" || words[0] == "put");
    const auto port = known ? parseNumber<std::uint16_t>(words[2]) : std::nullopt;
    const auto seed = known ? parseNumber<std::uint64_t>(words[3]) : std::nullopt;
    const auto bytes = known ? parseNumber<std::uint64_t>(words[4]) : std::nullopt;
    if (!port || !seed || !bytes) {
        std::cerr << "usage: quillbay-lab-client get|put HOST PORT SEED BYTES\n";
        return 2;
    }
    asio::io_context context;
    tcp::socket socket(context);
    socket.connect(tcp::endpoint(asio::ip::make_address(words[1]), *port));
    const auto start = std::chrono::steady_clock::now();
    const Transfer transfer{*seed, *bytes};
    const auto outcome = words[0] == "get" ? get(socket, transfer) : put(socket, transfer);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    const bool equal = outcome.streamEqual && outcome.ourDigest == outcome.theirDigest;
    const nlohmann::json document = {{"bytes", *bytes},
                                     {"seconds", taken.count()},
                                     {"sha256", outcome.ourDigest},
                                     {"sha256OfPhone", outcome.theirDigest},
                                     {"equal", equal}};
    std::cout << document.dump() << '\n';
    return equal ? 0 : 1;
}

}  // namespace

}  // namespace quillbay::lab

int main(int argumentCount, char** arguments) {
    try {
        return quillbay::lab::run({arguments + 1, arguments + argumentCount});
    } catch (const std::exception& error) {
        std::cerr << "quillbay-lab-client: " << error.what() << '\n';
        return 1;
    }
}
