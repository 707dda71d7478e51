#pragma once

#include <functional>
#include <system_error>
#include <utility>

#include "platform/BackgroundWork.h"
#include "platform/MainQueue.h"

namespace quillbay {

/// Runs `ask` in the background and `done` with its answer on the main queue afterwards; with `otherwise`
/// when the system has no thread to give. After a stop there is nobody left to be told.
template <typename Answer>
void answerInBackground(MainQueue& mainQueue, BackgroundWork& background,
                        std::function<Answer(const StopToken&)> ask, const std::function<void(Answer)>& done,
                        Answer otherwise) {
    try {
        background.run([&mainQueue, ask = std::move(ask), done](const StopToken& token) {
            const Answer answer = ask(token);
            if (!token.stopRequested()) mainQueue.post([done, answer] { done(answer); });
        });
    } catch (const std::system_error&) {
        mainQueue.post([done, otherwise] { done(otherwise); });
    }
}

}  // namespace quillbay
