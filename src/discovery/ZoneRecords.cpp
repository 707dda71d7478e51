#include "discovery/ZoneRecords.h"

#include <utility>

namespace quillbay {

namespace {

/// What a node of a map and two strings take beside their text, roughly.
constexpr std::size_t entryBytes = 128;

std::size_t cost(const std::map<std::string, std::string>& txt) {
    std::size_t bytes = 0;
    for (const auto& [key, value] : txt)
        bytes += key.size() + value.size() + entryBytes;
    return bytes;
}

std::size_t costOfInstance(std::string_view recordName) {
    return 3 * (recordName.size() + entryBytes);
}

template <typename Map>
auto* found(Map& records, std::string_view recordName) {
    const auto entry = records.find(recordName);
    return entry == records.end() ? nullptr : &entry->second;
}

}  // namespace

void ZoneRecords::storeSRV(std::string_view recordName, ZoneDumpSRV srv) {
    touch(recordName);
    ZoneDumpSRV& stored = srvByRecordName_[std::string(recordName)];
    bytes_ -= stored.host.size();
    stored = std::move(srv);
    bytes_ += stored.host.size();
    makeRoom();
}

void ZoneRecords::storeTXT(std::string_view recordName, std::map<std::string, std::string> txt) {
    touch(recordName);
    auto& stored = txtByRecordName_[std::string(recordName)];
    bytes_ -= cost(stored);
    stored = std::move(txt);
    bytes_ += cost(stored);
    makeRoom();
}

const ZoneDumpSRV* ZoneRecords::srv(std::string_view recordName) const {
    return found(srvByRecordName_, recordName);
}

const std::map<std::string, std::string>* ZoneRecords::txt(std::string_view recordName) const {
    return found(txtByRecordName_, recordName);
}

void ZoneRecords::clear() {
    srvByRecordName_.clear();
    txtByRecordName_.clear();
    byAge_.clear();
    ageByRecordName_.clear();
    bytes_ = 0;
    overflowed_ = false;
}

void ZoneRecords::touch(std::string_view recordName) {
    if (const auto* place = found(ageByRecordName_, recordName)) {
        byAge_.splice(byAge_.end(), byAge_, *place);
        return;
    }
    const auto entry = ageByRecordName_.emplace(recordName, byAge_.end()).first;
    entry->second = byAge_.insert(byAge_.end(), entry->first);
    bytes_ += costOfInstance(recordName);
}

void ZoneRecords::makeRoom() {
    while (count() > maximumInstances || bytes_ > maximumBytes) {
        overflowed_ = true;
        // A copy: the name lies in what is forgotten.
        forget(std::string(byAge_.front()));
    }
}

void ZoneRecords::forget(std::string_view recordName) {
    bytes_ -= costOfInstance(recordName);
    if (const auto srv = srvByRecordName_.find(recordName); srv != srvByRecordName_.end()) {
        bytes_ -= srv->second.host.size();
        srvByRecordName_.erase(srv);
    }
    if (const auto txt = txtByRecordName_.find(recordName); txt != txtByRecordName_.end()) {
        bytes_ -= cost(txt->second);
        txtByRecordName_.erase(txt);
    }
    const auto age = ageByRecordName_.find(recordName);
    byAge_.erase(age->second);
    ageByRecordName_.erase(age);
}

}  // namespace quillbay
