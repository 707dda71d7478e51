#include "dns-sd/ProxyRegistration.h"

#include <avahi-common/address.h>
#include <avahi-common/error.h>
#include <avahi-common/strlst.h>
#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "dns-sd/ZoneText.h"

namespace quillbay::dnssd {

namespace {

/// A registration that is just being ended by its process still holds the name for up to 0.2 s (seen with
/// SIGKILL), so a name taken on this computer is asked for again for three seconds.
constexpr unsigned collisionRetryMilliseconds = 150;
constexpr unsigned collisionRetries = 20;

using StringList = std::unique_ptr<AvahiStringList, decltype(&avahi_string_list_free)>;

StringList stringList(const std::vector<std::string>& strings) {
    StringList list(nullptr, avahi_string_list_free);
    // The list grows at its front, and the daemon turns it round once more: the record then has the order
    // given.
    for (const std::string& string : strings) {
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(string.data());
        AvahiStringList* const longer = avahi_string_list_add_arbitrary(list.get(), bytes, string.size());
        if (longer == nullptr) throw std::bad_alloc();
        static_cast<void>(list.release());
        list.reset(longer);
    }
    return list;
}

}  // namespace

ProxyRegistration::ProxyRegistration(ProxyCommand command, unsigned interfaceIndex)
    : command_(std::move(command)),
      interfaceIndex_(static_cast<AvahiIfIndex>(interfaceIndex)),
      session_({[this](AvahiClient* client) { publish(client); }, [this] { group_ = nullptr; }}) {
    session_.watch(signals_.descriptor(), AVAHI_WATCH_IN, [this] { session_.finish(0); });
}

ProxyRegistration::~ProxyRegistration() {
    withdraw();
}

int ProxyRegistration::run() {
    const int status = session_.run();
    withdraw();
    return status;
}

void ProxyRegistration::withdraw() {
    // What the daemon answers does not matter: it withdraws the records of a client that goes away in any
    // case.
    if (group_ != nullptr) avahi_entry_group_free(group_);
    group_ = nullptr;
}

void ProxyRegistration::publish(AvahiClient* client) {
    withdraw();
    const auto callback = [](AvahiEntryGroup* group, AvahiEntryGroupState state, void* data) {
        auto* const self = static_cast<ProxyRegistration*>(data);
        self->group_ = group;
        self->handleState(state);
    };
    group_ = avahi_entry_group_new(client, callback, this);
    if (group_ == nullptr) {
        session_.check("a new entry group", avahi_client_errno(client));
        return;
    }
    if (addRecords()) session_.check("the registration", avahi_entry_group_commit(group_));
}

bool ProxyRegistration::addRecords() {
    AvahiAddress address{};
    if (avahi_address_parse(command_.address.c_str(), AVAHI_PROTO_INET, &address) == nullptr)
        throw AvahiError("the address " + command_.address, AVAHI_ERR_INVALID_ADDRESS);
    // No reverse record: the address is that of this computer and keeps its own name.
    const int added = avahi_entry_group_add_address(
        group_, interfaceIndex_, AVAHI_PROTO_INET, AVAHI_PUBLISH_NO_REVERSE, command_.host.c_str(), &address);
    if (!session_.check("the address of " + command_.host, added)) return false;

    const StringList txt = stringList(command_.txt);
    const int result = avahi_entry_group_add_service_strlst(
        group_, interfaceIndex_, AVAHI_PROTO_INET, AVAHI_PUBLISH_NO_COOKIE, command_.instanceName.c_str(),
        command_.serviceType.c_str(), command_.domain.c_str(), command_.host.c_str(), command_.port,
        txt.get());
    if (result != AVAHI_ERR_COLLISION) return session_.check("the service", result);
    if (++localCollisions_ > collisionRetries) {
        endInConflict("another program on this computer has registered it");
    } else {
        session_.callLater(collisionRetryMilliseconds, [this] { publish(session_.client()); });
    }
    return false;
}

void ProxyRegistration::handleState(AvahiEntryGroupState state) {
    switch (state) {
        case AVAHI_ENTRY_GROUP_ESTABLISHED: {
            localCollisions_ = 0;
            const std::string line = fmt::format(
                "Registered {}.{}.{} on {}: {} {} port {}\n", ZoneText::escapedLabel(command_.instanceName),
                command_.serviceType, command_.domain, command_.interfaceName, command_.host,
                command_.address, command_.port);
            // Nobody has to listen: the registration is what counts.
            std::fputs(line.c_str(), stdout);
            std::fflush(stdout);
            break;
        }
        case AVAHI_ENTRY_GROUP_COLLISION:
            endInConflict("the device itself is on this network");
            break;
        case AVAHI_ENTRY_GROUP_FAILURE:
            session_.fail(AvahiError("the registration", avahi_client_errno(session_.client())));
            break;
        case AVAHI_ENTRY_GROUP_UNCOMMITED:
        case AVAHI_ENTRY_GROUP_REGISTERING:
            break;
    }
}

void ProxyRegistration::endInConflict(const char* reason) {
    const std::string line =
        fmt::format("Name conflict: {}.{}.{} at {} is in use; {}. The registration is withdrawn.\n",
                    ZoneText::escapedLabel(command_.instanceName), command_.serviceType, command_.domain,
                    command_.host, reason);
    std::fputs(line.c_str(), stderr);
    session_.finish(1);
}

}  // namespace quillbay::dnssd
