#include "platform/NetworkThreads.h"

#include <algorithm>
#include <future>
#include <utility>

#include "platform/EventLoopThread.h"

namespace quillbay {

NetworkThreads::NetworkThreads(unsigned count) {
    const unsigned wanted = count != 0 ? count : std::max(1U, std::thread::hardware_concurrency());
    threads_.reserve(wanted);
    for (unsigned i = 0; i < wanted; ++i)
        threads_.push_back(std::make_unique<WorkerThread>("network-" + std::to_string(i)));
    relayThreads_.reserve(wanted);
    for (unsigned i = 0; i < wanted; ++i)
        relayThreads_.push_back(std::make_unique<EventLoopThread>("relay-" + std::to_string(i)));
}

NetworkThreads::~NetworkThreads() {
    stop();
    for (const auto& thread : relayThreads_)
        thread->loop().clear();
    // All of them before the first loop goes: what waits on one may own a socket of another.
    for (const auto& thread : threads_)
        thread->dropPending();
}

void NetworkThreads::stop() {
    for (const auto& thread : threads_)
        thread->abandon();
    for (const auto& thread : relayThreads_)
        thread->abandon();
}

EventLoop& NetworkThreads::relayLoopFor(std::uint16_t port) {
    return relayThreads_[port % relayThreads_.size()]->loop();
}

boost::asio::io_context& NetworkThreads::contextFor(std::uint16_t port) {
    return threads_[port % threads_.size()]->context();
}

SerialQueue NetworkThreads::queueFor(std::uint16_t port, std::string label) {
    return SerialQueue(std::move(label), contextFor(port));
}

void NetworkThreads::drain() {
    for (const auto& thread : threads_)
        SerialQueue("drain", thread->context()).sync([] {});
    for (const auto& thread : relayThreads_) {
        const auto done = std::make_shared<std::promise<void>>();
        thread->loop().post([done] { done->set_value(); });
        done->get_future().wait();
    }
}

}  // namespace quillbay
