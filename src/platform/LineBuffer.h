#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace quillbay {

/// Cuts a stream of text into lines. A line longer than the limit is dropped whole, however it arrives, so
/// the memory held never exceeds the limit.
class LineBuffer {
 public:
    /// `limitBytes`: the longest line kept, without its line feed.
    explicit LineBuffer(std::size_t limitBytes = defaultLimitBytes) : limitBytes_(limitBytes) {}

    /// The longest log or zone-dump line that means anything is well below this.
    static constexpr std::size_t defaultLimitBytes = std::size_t{64} * 1024;

    /// Takes more text and calls `onLine` with every line that it completes, without the line feed, in order.
    void append(std::string_view text, const std::function<void(std::string_view)>& onLine);

    /// The unfinished last line.
    [[nodiscard]] const std::string& unfinished() const { return unfinished_; }

    /// Forgets the unfinished line.
    void clear();

 private:
    std::size_t limitBytes_;
    std::string unfinished_;
    bool dropping_ = false;
};

}  // namespace quillbay
