#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace quillbay::fakes {

/// The time zone of the process, for as long as the object exists.
class InTimeZone {
 public:
    explicit InTimeZone(const char* zone) {
        if (const char* before = std::getenv("TZ")) before_ = before;
        ::setenv("TZ", zone, 1);
    }
    ~InTimeZone() {
        if (before_)
            ::setenv("TZ", before_->c_str(), 1);
        else
            ::unsetenv("TZ");
    }
    InTimeZone(const InTimeZone&) = delete;
    InTimeZone& operator=(const InTimeZone&) = delete;

 private:
    std::optional<std::string> before_;
};

}  // namespace quillbay::fakes
