#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

namespace quillbay::dnssd {

/// The data of one kind of record of one name, as the network shows it at the moment.
///
/// A changed record appears beside the old one, which is taken away about a second later, and several
/// interfaces may show the same one: what holds is the newest that is still there.
class RecordHistory {
 public:
    void add(int interface, int protocol, std::string_view data);
    void remove(int interface, int protocol, std::string_view data);

    /// Null when there is none.
    [[nodiscard]] const std::string* current() const {
        return entries_.empty() ? nullptr : &entries_.back().data;
    }

    /// A name has one such record on each interface; more than these are somebody's flood, and the oldest go.
    static constexpr std::size_t maximumEntries = 32;

 private:
    struct Entry {
        int interface;
        int protocol;
        std::string data;
        bool operator==(const Entry&) const = default;
    };
    std::deque<Entry> entries_;
};

}  // namespace quillbay::dnssd
