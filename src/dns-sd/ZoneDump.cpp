#include "dns-sd/ZoneDump.h"

#include <avahi-common/defs.h>
#include <avahi-common/domain.h>
#include <avahi-common/error.h>
#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

#include "dns-sd/RecordHistory.h"
#include "dns-sd/SRVRecord.h"
#include "dns-sd/TXTRecord.h"
#include "dns-sd/ZoneText.h"

namespace quillbay::dnssd {

namespace {

constexpr std::uint16_t classInternet = 1;
constexpr std::uint16_t typeTXT = 16;
constexpr std::uint16_t typeSRV = 33;

}  // namespace

struct ZoneDump::Instance {
    ZoneDump& dump;
    std::string name;
    std::set<Place> places;
    RecordHistory services;
    RecordHistory texts;
    std::string printed;
    AvahiRecordBrowser* serviceBrowser = nullptr;
    AvahiRecordBrowser* textBrowser = nullptr;

    Instance(ZoneDump& owner, std::string instanceName) : dump(owner), name(std::move(instanceName)) {}
    ~Instance() {
        if (serviceBrowser != nullptr) avahi_record_browser_free(serviceBrowser);
        if (textBrowser != nullptr) avahi_record_browser_free(textBrowser);
    }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    void browse(AvahiClient* client, const char* fullName) {
        serviceBrowser = browseRecord(client, fullName, typeSRV);
        textBrowser = browseRecord(client, fullName, typeTXT);
    }

    AvahiRecordBrowser* browseRecord(AvahiClient* client, const char* fullName, std::uint16_t type) {
        AvahiRecordBrowser* const made =
            avahi_record_browser_new(client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, fullName, classInternet,
                                     type, AVAHI_LOOKUP_USE_MULTICAST, handleRecord, this);
        // An instance that cannot be looked at is not printed; the others are.
        if (made == nullptr)
            std::fputs(fmt::format("{}: {}\n", fullName, avahi_strerror(avahi_client_errno(client))).c_str(),
                       stderr);
        return made;
    }

    static void handleRecord(AvahiRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                             AvahiBrowserEvent event, const char*, std::uint16_t, std::uint16_t type,
                             const void* data, std::size_t size, AvahiLookupResultFlags, void* self) {
        if (event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE) return;
        auto& instance = *static_cast<Instance*>(self);
        RecordHistory& records = type == typeSRV ? instance.services : instance.texts;
        const std::string_view bytes(static_cast<const char*>(data), size);
        if (event == AVAHI_BROWSER_NEW) {
            records.add(interface, protocol, bytes);
        } else {
            records.remove(interface, protocol, bytes);
            // What has gone altogether is news when it comes back, even if it is as it was.
            if (records.current() == nullptr) instance.printed.clear();
        }
        instance.dump.print(instance);
    }
};

ZoneDump::ZoneDump(DumpCommand command)
    : command_(std::move(command)),
      session_({[this](AvahiClient* client) { browse(client); }, [this] { forget(); }}) {
    // An error or hang-up is reported without being asked for: the other end of the pipe is gone.
    session_.watch(STDOUT_FILENO, AVAHI_WATCH_ERR, [this] { session_.finish(1); });
}

ZoneDump::~ZoneDump() {
    forget();
}

int ZoneDump::run() {
    return session_.run();
}

void ZoneDump::forget() {
    instances_.clear();
    if (browser_ != nullptr) avahi_service_browser_free(browser_);
    browser_ = nullptr;
}

void ZoneDump::browse(AvahiClient* client) {
    const auto callback = [](AvahiServiceBrowser* browser, AvahiIfIndex interface, AvahiProtocol protocol,
                             AvahiBrowserEvent event, const char* name, const char*, const char*,
                             AvahiLookupResultFlags, void* self) {
        auto* const dump = static_cast<ZoneDump*>(self);
        if (event == AVAHI_BROWSER_FAILURE) {
            const int code = avahi_client_errno(avahi_service_browser_get_client(browser));
            dump->session_.fail(AvahiError("browsing for " + dump->command_.serviceType, code));
        } else if (name != nullptr) {
            dump->handleInstance(event, {interface, protocol}, name);
        }
    };
    browser_ =
        avahi_service_browser_new(client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, command_.serviceType.c_str(),
                                  command_.domain.c_str(), AVAHI_LOOKUP_USE_MULTICAST, callback, this);
    if (browser_ == nullptr)
        session_.check("browsing for " + command_.serviceType, avahi_client_errno(client));
}

void ZoneDump::handleInstance(AvahiBrowserEvent event, Place place, const std::string& name) {
    if (event == AVAHI_BROWSER_NEW) add(place, name);
    if (event == AVAHI_BROWSER_REMOVE) remove(place, name);
}

void ZoneDump::add(Place place, const std::string& name) {
    const auto known = instances_.find(name);
    if (known != instances_.end()) {
        known->second->places.insert(place);
        return;
    }
    if (instances_.size() >= maximumInstances) {
        if (!std::exchange(overflowReported_, true))
            std::fputs(
                fmt::format("more than {} instances: the others are left out\n", maximumInstances).c_str(),
                stderr);
        return;
    }
    std::array<char, AVAHI_DOMAIN_NAME_MAX> fullName{};
    const int joined = avahi_service_name_join(fullName.data(), fullName.size(), name.c_str(),
                                               command_.serviceType.c_str(), command_.domain.c_str());
    if (joined < 0) return;
    auto instance = std::make_unique<Instance>(*this, name);
    instance->places.insert(place);
    instance->browse(session_.client(), fullName.data());
    instances_.emplace(name, std::move(instance));
}

void ZoneDump::remove(Place place, const std::string& name) {
    const auto known = instances_.find(name);
    if (known == instances_.end()) return;
    known->second->places.erase(place);
    if (known->second->places.empty()) instances_.erase(known);
}

void ZoneDump::print(Instance& instance) {
    const std::string* const serviceData = instance.services.current();
    const std::string* const textData = instance.texts.current();
    if (serviceData == nullptr || textData == nullptr) return;
    const auto service = SRVRecord::decode(*serviceData);
    const auto strings = TXTRecord::decode(*textData);
    if (!service || !strings) return;
    std::string lines = ZoneText::instanceLines(command_.serviceType, instance.name, *service, *strings);
    if (lines == instance.printed) return;
    // A pipe whose reader is gone ends the process at this write; any other error ends it here.
    const bool written = std::fputs(lines.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    instance.printed = std::move(lines);
    if (!written) session_.finish(1);
}

}  // namespace quillbay::dnssd
