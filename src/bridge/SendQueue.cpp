#include "bridge/SendQueue.h"

#include <sys/uio.h>

#include <algorithm>
#include <cassert>
#include <cstring>

namespace quillbay {

std::deque<std::unique_ptr<SendQueue::Block>>& SendQueue::blocks() {
    if (!blocks_) blocks_ = std::make_unique<std::deque<std::unique_ptr<Block>>>();
    return *blocks_;
}

std::span<char> SendQueue::prepare(std::size_t limit) {
    assert(limit > 0);
    auto& all = blocks();
    if (all.empty() || all.back()->end == all.back()->bytes.size()) {
        // Not value-initialised: the bytes are about to be written.
        all.push_back(std::make_unique_for_overwrite<Block>());
    }
    Block& last = *all.back();
    return {last.bytes.data() + last.end, std::min(limit, last.bytes.size() - last.end)};
}

void SendQueue::commit(std::size_t count) {
    assert(blocks_ && !blocks_->empty());
    blocks_->back()->end += count;
    size_ += count;
    if (size_ == 0) clear();
}

void SendQueue::append(std::span<const char> bytes) {
    while (!bytes.empty()) {
        const std::span<char> room = prepare(bytes.size());
        std::memcpy(room.data(), bytes.data(), room.size());
        commit(room.size());
        bytes = bytes.subspan(room.size());
    }
}

std::size_t SendQueue::front(std::span<iovec> pieces) const {
    std::size_t filled = 0;
    if (!blocks_) return 0;
    for (const auto& block : *blocks_) {
        if (filled == pieces.size()) break;
        pieces[filled++] = {block->bytes.data() + block->begin, block->end - block->begin};
    }
    return filled;
}

void SendQueue::consume(std::size_t count) {
    assert(count <= size_);
    size_ -= count;
    while (count > 0) {
        Block& first = *blocks_->front();
        const std::size_t taken = std::min(count, first.end - first.begin);
        first.begin += taken;
        count -= taken;
        if (first.begin == first.end) blocks_->pop_front();
    }
    if (size_ == 0) clear();
}

void SendQueue::clear() {
    blocks_.reset();
    size_ = 0;
}

}  // namespace quillbay
