#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Task.h"

namespace quillbay {

/// The answer to one request while it is being made. Lives on the main queue; shared by the client's side and
/// by whatever the answer waits for.
///
/// An answer is over after its last document, or when nobody wants it any more; from then on everything here
/// does nothing.
class ControlAnswer : public std::enable_shared_from_this<ControlAnswer> {
 public:
    /// Whether more documents follow.
    enum class Part { more, last };
    using Sink = std::function<void(std::string documents, Part part)>;

    /// `sink` takes the documents.
    explicit ControlAnswer(Sink sink) : sink_(std::move(sink)) {}
    ControlAnswer(const ControlAnswer&) = delete;
    ControlAnswer& operator=(const ControlAnswer&) = delete;

    /// Sends documents, whole lines, and expects more.
    void more(std::string documents);
    /// Sends the last document.
    void last(std::string document);
    /// Ends with an error document.
    void refuse(std::string_view sentence);

    [[nodiscard]] bool isOver() const { return !sink_; }

    /// Nobody wants the answer any more: ends what only served it.
    void abandon();

    /// Marks an answer that goes on for as long as the client listens, so that one which has closed its side
    /// does not want it any more. `onAbandon` (may be empty) ends what makes it.
    void lastsWhileWanted(Task onAbandon);
    [[nodiscard]] bool isLasting() const { return lasting_; }

    /// Keeps a timer or a subscription until the answer is over.
    void keep(std::shared_ptr<void> kept) { kept_.push_back(std::move(kept)); }

    /// `step` as a task that does nothing once the answer is over, and whose failure becomes the answer.
    [[nodiscard]] Task guarded(Task step);

 private:
    void end();
    Sink sink_;
    Task onAbandon_;
    bool lasting_ = false;
    std::vector<std::shared_ptr<void>> kept_;
};

}  // namespace quillbay
