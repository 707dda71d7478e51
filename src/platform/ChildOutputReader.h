#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/SerialQueue.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// Reads a child's pipe as UTF-8 text while the child runs, and hands every chunk to its handler on a queue.
///
/// A character that is split over two reads arrives whole; a chunk that is not valid UTF-8 is dropped. The
/// next read waits until the handler has returned, so a child that floods is slowed down instead of filling
/// memory. `stop` (or dropping the reader) closes the pipe; no handler starts after `stop` was called on the
/// queue itself, and at most the one that is running elsewhere.
class ChildOutputReader {
 public:
    using Handler = std::function<void(std::string text)>;

    /// Starts to read `pipe`, which must be non-blocking. `atEnd` (may be empty) runs once at the end of the
    /// output.
    ChildOutputReader(const SerialQueue& queue, UniqueDescriptor pipe, Handler handler, Task atEnd = {});
    ~ChildOutputReader();
    ChildOutputReader(const ChildOutputReader&) = delete;
    ChildOutputReader& operator=(const ChildOutputReader&) = delete;

    /// May be called more than once, on any thread.
    void stop();

 private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace quillbay
