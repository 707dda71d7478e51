#include "control/ControlAnswer.h"

#include <utility>

#include "control/ControlDocuments.h"
#include "platform/PrintedError.h"

namespace quillbay {

void ControlAnswer::more(std::string documents) {
    if (sink_) sink_(std::move(documents), Part::more);
}

void ControlAnswer::last(std::string document) {
    const Sink sink = std::exchange(sink_, {});
    if (!sink) return;
    end();
    sink(std::move(document), Part::last);
}

void ControlAnswer::refuse(std::string_view sentence) {
    if (sink_) last(control::errorDocument(sentence));
}

void ControlAnswer::abandon() {
    if (!std::exchange(sink_, {})) return;
    const Task onAbandon = std::exchange(onAbandon_, {});
    end();
    if (onAbandon) onAbandon();
}

void ControlAnswer::lastsWhileWanted(Task onAbandon) {
    lasting_ = true;
    onAbandon_ = std::move(onAbandon);
}

Task ControlAnswer::guarded(Task step) {
    return [self = shared_from_this(), step = std::move(step)] {
        if (self->isOver()) return;
        try {
            step();
        } catch (const std::exception& error) {
            self->refuse(printedError(error));
        }
    };
}

void ControlAnswer::end() {
    onAbandon_ = {};
    // Taken out first: what goes may come back here.
    const auto kept = std::exchange(kept_, {});
}

}  // namespace quillbay
