#include "phone/Announcement.h"

#include <avahi-client/client.h>
#include <avahi-client/publish.h>
#include <avahi-common/address.h>
#include <avahi-common/domain.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/strlst.h>
#include <avahi-common/thread-watch.h>
#include <net/if.h>

#include <stdexcept>
#include <utility>

namespace quillbay::lab {

namespace {

constexpr const char* serviceType = "_remotepairing._tcp";

struct FreeStrings {
    void operator()(AvahiStringList* list) const { avahi_string_list_free(list); }
};
using Strings = std::unique_ptr<AvahiStringList, FreeStrings>;

/// Adding puts a text in front, and the daemon publishes a list from its end to its beginning.
Strings stringList(const std::vector<std::string>& texts) {
    AvahiStringList* list = nullptr;
    for (const auto& text : texts) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
        list = avahi_string_list_add_arbitrary(list, bytes, text.size());
    }
    return Strings(list);
}

}  // namespace

/// Everything in it is touched with Avahi's loop locked, or on its thread.
struct Announcement::State {
    Record record;
    Listener listener;
    AvahiIfIndex interfaceIndex = AVAHI_IF_UNSPEC;
    AvahiThreadedPoll* poll = nullptr;
    AvahiClient* client = nullptr;
    AvahiEntryGroup* group = nullptr;
    std::uint16_t port = 0;
    bool wanted = false;
    bool running = false;

    void fail() const { listener("failure", avahi_strerror(avahi_client_errno(client))); }

    void clientChanged(AvahiClientState change) {
        running = change == AVAHI_CLIENT_S_RUNNING;
        if (change == AVAHI_CLIENT_FAILURE) {
            if (avahi_client_errno(client) != AVAHI_ERR_DISCONNECTED) return fail();
            // The daemon is gone, and everything that it knew of this client. A new client waits for the next
            // one.
            avahi_client_free(client);
            connect();
        }
        if (running && wanted) update();
    }

    void connect() {
        client = nullptr;
        group = nullptr;
        const auto changed = [](AvahiClient* changedClient, AvahiClientState change, void* self) {
            static_cast<State*>(self)->client = changedClient;
            static_cast<State*>(self)->clientChanged(change);
        };
        int problem = 0;
        client =
            avahi_client_new(avahi_threaded_poll_get(poll), AVAHI_CLIENT_NO_FAIL, changed, this, &problem);
        if (client == nullptr) listener("failure", avahi_strerror(problem));
    }

    void groupChanged(AvahiEntryGroupState change) const {
        if (change == AVAHI_ENTRY_GROUP_ESTABLISHED) listener("announced", record.name);
        if (change == AVAHI_ENTRY_GROUP_COLLISION) listener("collision", record.name);
        if (change == AVAHI_ENTRY_GROUP_FAILURE) fail();
    }

    bool addAddress() const {
        AvahiAddress address;
        if (avahi_address_parse(record.address.c_str(), AVAHI_PROTO_INET, &address) == nullptr) return false;
        return avahi_entry_group_add_address(group, interfaceIndex, AVAHI_PROTO_INET,
                                             AVAHI_PUBLISH_NO_REVERSE, record.host.c_str(), &address) == 0;
    }

    void update() {
        if (group == nullptr) {
            const auto changed = [](AvahiEntryGroup* changedGroup, AvahiEntryGroupState change, void* self) {
                // The first call comes before the group's address is known to its owner.
                static_cast<State*>(self)->group = changedGroup;
                static_cast<State*>(self)->groupChanged(change);
            };
            group = avahi_entry_group_new(client, changed, this);
        }
        if (group == nullptr || avahi_entry_group_reset(group) != 0) return fail();
        const char* daemonHost = avahi_client_get_host_name_fqdn(client);
        const bool foreign = !record.host.empty() && (daemonHost == nullptr || record.host != daemonHost);
        if (foreign && !addAddress()) return fail();
        const Strings txt = stringList(record.txt);
        if (avahi_entry_group_add_service_strlst(
                group, interfaceIndex, AVAHI_PROTO_INET, AvahiPublishFlags{}, record.name.c_str(),
                serviceType, nullptr, foreign ? record.host.c_str() : nullptr, port, txt.get()) != 0 ||
            avahi_entry_group_commit(group) != 0) {
            fail();
        }
    }

    void tearDown() {
        if (poll == nullptr) return;
        avahi_threaded_poll_stop(poll);
        if (client != nullptr) avahi_client_free(client);
        avahi_threaded_poll_free(poll);
    }
};

Announcement::Announcement(Record record, Listener listener) : state_(std::make_unique<State>()) {
    State& state = *state_;
    state.record = std::move(record);
    state.listener = std::move(listener);
    const unsigned index = if_nametoindex(state.record.interface.c_str());
    if (index == 0) throw std::runtime_error("no interface " + state.record.interface);
    state.interfaceIndex = static_cast<AvahiIfIndex>(index);
    state.poll = avahi_threaded_poll_new();
    if (state.poll == nullptr) throw std::runtime_error("out of memory");
    state.connect();
    if (state.client == nullptr || avahi_threaded_poll_start(state.poll) != 0) {
        state.tearDown();
        throw std::runtime_error("Avahi's client does not start");
    }
}

Announcement::~Announcement() {
    state_->tearDown();
}

void Announcement::publish(std::uint16_t port) {
    avahi_threaded_poll_lock(state_->poll);
    state_->port = port;
    state_->wanted = true;
    if (state_->running) state_->update();
    avahi_threaded_poll_unlock(state_->poll);
}

void Announcement::withdraw() {
    avahi_threaded_poll_lock(state_->poll);
    state_->wanted = false;
    if (state_->group != nullptr) avahi_entry_group_reset(state_->group);
    avahi_threaded_poll_unlock(state_->poll);
}

}  // namespace quillbay::lab
