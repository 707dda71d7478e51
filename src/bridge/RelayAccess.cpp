#include "bridge/RelayAccess.h"

#include <arpa/inet.h>

#include <array>
#include <utility>

namespace quillbay {

namespace {

bool isLoopback(in_addr address) {
    constexpr unsigned hostBits = 24;
    return ntohl(address.s_addr) >> hostBits == IN_LOOPBACKNET;
}

std::string printed(in_addr address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    return ::inet_ntop(AF_INET, &address, text.data(), text.size()) != nullptr ? text.data() : "";
}

}  // namespace

bool RelayAccess::mayUse(in_addr source, in_addr relay) const {
    return !onlyThisComputer_ || source.s_addr == relay.s_addr || isLoopback(source);
}

bool RelayAccess::admits(Kind kind, in_addr source, in_addr relay) {
    if (mayUse(source, relay)) return true;
    count(kind, source);
    return false;
}

void RelayAccess::count(Kind kind, in_addr source) {
    ++(kind == Kind::connection ? connections_ : datagrams_);
    lastSource_ = source.s_addr;
    if (!somebodyListens_) return;
    const std::lock_guard lock(telling_);
    somebodyListens_ = false;
    if (const auto told = std::exchange(told_, {})) told();
}

RelayAccess::Refused RelayAccess::refused() const {
    Refused refused{connections_, datagrams_, {}};
    if (refused.total() != 0) refused.lastSource = printed({lastSource_});
    return refused;
}

void RelayAccess::tellNextRefusal(std::function<void()> told) {
    const std::lock_guard lock(telling_);
    told_ = std::move(told);
    somebodyListens_ = told_ != nullptr;
}

}  // namespace quillbay
