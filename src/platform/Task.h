#pragma once

#include <functional>

namespace quillbay {

/// A piece of work that a queue runs once.
using Task = std::function<void()>;

}  // namespace quillbay
