#include "ui/shell/TrayWatch.h"

namespace quillbay {

namespace {

/// The menu bar is always there.
class MenuBar final : public TrayWatch {
 public:
    [[nodiscard]] bool isAvailable() const override { return true; }
};

}  // namespace

std::unique_ptr<TrayWatch> TrayWatch::system() {
    return std::make_unique<MenuBar>();
}

}  // namespace quillbay
