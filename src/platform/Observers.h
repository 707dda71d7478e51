#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace quillbay {

/// Keeps an observer registered; dropping it ends the registration. May outlive what it observes.
class [[nodiscard]] Subscription {
 public:
    Subscription() = default;
    /// `end` runs once, when the subscription is dropped.
    explicit Subscription(std::function<void()> end) : end_(std::move(end)) {}
    ~Subscription() { reset(); }
    Subscription(Subscription&& other) noexcept : end_(std::exchange(other.end_, {})) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            end_ = std::exchange(other.end_, {});
        }
        return *this;
    }

    void reset() {
        if (const auto end = std::exchange(end_, {})) end();
    }

 private:
    std::function<void()> end_;
};

/// Those who want to be told of one kind of event, in the order in which they came. Belongs to one queue, and
/// so do its subscriptions. An observer may end any subscription, its own too, while it is being told; one
/// that is added meanwhile hears of the next event.
template <typename... Arguments>
class Observers {
 public:
    using Observer = std::function<void(const Arguments&...)>;

    Subscription add(Observer observer) {
        const std::size_t id = list_->nextID++;
        list_->observers.emplace(id, std::make_shared<Observer>(std::move(observer)));
        return Subscription([weak = std::weak_ptr<List>(list_), id] {
            if (const auto list = weak.lock()) list->observers.erase(id);
        });
    }

    void notify(const Arguments&... arguments) const {
        if (list_->observers.empty()) return;
        // Kept here, because an observer may drop the owner of the list.
        const std::shared_ptr<const List> list = list_;
        const auto told = list->observers;
        for (const auto& [id, observer] : told)
            if (list->observers.contains(id)) (*observer)(arguments...);
    }

 private:
    struct List {
        std::map<std::size_t, std::shared_ptr<Observer>> observers;
        std::size_t nextID = 0;
    };
    std::shared_ptr<List> list_ = std::make_shared<List>();
};

}  // namespace quillbay
