#include "bridge/RelayTestTools.h"

#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/Sockets.h"

namespace quillbay::test {

namespace {

template <typename Value>
void setOption(int fd, int option, const Value& value) {
    ASSERT_EQ(::setsockopt(fd, SOL_SOCKET, option, &value, sizeof value), 0);
}

UniqueDescriptor plainSocket(int type) {
    UniqueDescriptor made(::socket(AF_INET, type | SOCK_CLOEXEC, 0));
    EXPECT_TRUE(made.valid());
    return made;
}

void bindToAnyPort(int fd) {
    const sockaddr_in address = ipv4Endpoint("127.0.0.1", 0);
    ASSERT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

int connectTo(int fd, std::uint16_t port) {
    const sockaddr_in address = ipv4Endpoint("127.0.0.1", port);
    return ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

}  // namespace

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return condition();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

std::string pattern(std::size_t size, std::uint32_t seed) {
    std::string bytes(size, '\0');
    std::uint32_t state = seed;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

std::size_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::size_t all = 0;
    std::size_t resident = 0;
    file >> all >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

bool residentBytesTell() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    return false;
#else
    return true;
#endif
#else
    return true;
#endif
}

std::chrono::microseconds processorTime() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto micros = [](const timeval& time) {
        return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
    };
    return micros(usage.ru_utime) + micros(usage.ru_stime);
}

Peer::Peer(UniqueDescriptor socket) : socket_(std::move(socket)) {
    const timeval limit{patience.count(), 0};
    setOption(fd(), SO_RCVTIMEO, limit);
    setOption(fd(), SO_SNDTIMEO, limit);
}

Peer Peer::tcpTo(std::uint16_t port, int receiveBufferBytes) {
    Peer peer(plainSocket(SOCK_STREAM));
    if (receiveBufferBytes != 0) setOption(peer.fd(), SO_RCVBUF, receiveBufferBytes);
    EXPECT_EQ(connectTo(peer.fd(), port), 0) << errno;
    return peer;
}

Peer Peer::udpTo(std::uint16_t port) {
    Peer peer(plainSocket(SOCK_DGRAM));
    EXPECT_EQ(connectTo(peer.fd(), port), 0);
    return peer;
}

Peer Peer::udpBound() {
    Peer peer(plainSocket(SOCK_DGRAM));
    bindToAnyPort(peer.fd());
    return peer;
}

std::uint16_t Peer::localPort() const {
    return boundPort(fd());
}

bool Peer::send(const std::string& bytes) const {
    std::size_t done = 0;
    do {
        const ssize_t sent = ::send(fd(), bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (sent < 0) return false;
        done += static_cast<std::size_t>(sent);
    } while (done < bytes.size());
    return true;
}

std::string Peer::receive(std::size_t size) const {
    std::string bytes(size, '\0');
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::recv(fd(), bytes.data() + done, size - done, 0);
        if (count <= 0) break;
        done += static_cast<std::size_t>(count);
    }
    bytes.resize(done);
    return bytes;
}

std::string Peer::datagram() const {
    std::string bytes(0x10000, '\0');
    const ssize_t count = ::recv(fd(), bytes.data(), bytes.size(), 0);
    if (count < 0) return "no datagram";
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

std::string Peer::datagramFrom(std::uint16_t& port) const {
    std::string bytes(0x10000, '\0');
    sockaddr_in from{};
    socklen_t length = sizeof from;
    const ssize_t count =
        ::recvfrom(fd(), bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&from), &length);
    if (count < 0) return "no datagram";
    port = ntohs(from.sin_port);
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

bool Peer::sendTo(std::uint16_t port, const std::string& datagram) const {
    const sockaddr_in to = ipv4Endpoint("127.0.0.1", port);
    return ::sendto(fd(), datagram.data(), datagram.size(), MSG_NOSIGNAL,
                    reinterpret_cast<const sockaddr*>(&to),
                    sizeof to) == static_cast<ssize_t>(datagram.size());
}

Peer::End Peer::end() const {
    char byte = 0;
    const ssize_t count = ::recv(fd(), &byte, 1, 0);
    if (count == 0) return End::closed;
    return count < 0 && errno == ECONNRESET ? End::reset : End::none;
}

void Peer::endSending() const {
    ::shutdown(fd(), SHUT_WR);
}

void Peer::reset() {
    const linger hard{1, 0};
    setOption(fd(), SO_LINGER, hard);
    socket_.reset();
}

PhoneService::PhoneService(int backlog, int receiveBufferBytes) : listener_(plainSocket(SOCK_STREAM)) {
    if (receiveBufferBytes != 0) setOption(listener_.get(), SO_RCVBUF, receiveBufferBytes);
    const timeval limit{patience.count(), 0};
    setOption(listener_.get(), SO_RCVTIMEO, limit);
    bindToAnyPort(listener_.get());
    EXPECT_EQ(::listen(listener_.get(), backlog), 0);
    port_ = boundPort(listener_.get());
}

Peer PhoneService::accept() const {
    UniqueDescriptor accepted(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    EXPECT_TRUE(accepted.valid()) << errno;
    return Peer(std::move(accepted));
}

std::uint16_t refusedPort() {
    const UniqueDescriptor bound = plainSocket(SOCK_STREAM);
    bindToAnyPort(bound.get());
    return boundPort(bound.get());
}

bool isAsleep(pid_t thread) {
    std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
    for (std::string word; status >> word;) {
        if (word == "State:") return status >> word && word == "S";
    }
    return false;
}

int shutDownSockets(const std::function<bool(int fd)>& which) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int fd = std::stoi(entry.path().filename().string());
        if (!which(fd)) continue;
        // On an unconnected datagram socket it fails with ENOTCONN, having done it.
        if (::shutdown(fd, SHUT_RDWR) == 0 || errno == ENOTCONN) ++count;
    }
    return count;
}

int breakListeners(std::uint16_t port) {
    const sockaddr_in wanted = ipv4Endpoint("127.0.0.1", port);
    return shutDownSockets([&wanted](int fd) {
        sockaddr_in bound{};
        sockaddr_in peer{};
        socklen_t length = sizeof bound;
        if (::getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &length) != 0) return false;
        length = sizeof peer;
        const bool connected = ::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) == 0;
        return !connected && bound.sin_family == AF_INET && bound.sin_port == wanted.sin_port &&
               bound.sin_addr.s_addr == wanted.sin_addr.s_addr;
    });
}

BlockedLoop::BlockedLoop(EventLoop& loop) {
    std::promise<void> begun;
    loop.post([&begun, released = release_.get_future().share(), this] {
        begun.set_value();
        released.wait();
        ended_.set_value();
    });
    begun.get_future().wait();
}

BlockedLoop::~BlockedLoop() {
    release_.set_value();
    ended_.get_future().wait();
}

void RelayTest::SetUp() {
    network = std::make_unique<NetworkThreads>(2);
    descriptorsBefore_ = openDescriptors();
}

void RelayTest::TearDown() {
    EXPECT_TRUE(eventually([this] { return openDescriptors() == descriptorsBefore_; }))
        << openDescriptors() << " descriptors now, " << descriptorsBefore_ << " before";
    network.reset();
}

std::string inChild(const std::function<std::string()>& body) {
    int pipe[2];
    if (::pipe(pipe) != 0) return "no pipe";
    const pid_t child = ::fork();
    if (child == 0) {
        const std::string wrong = body();
        const ssize_t written = ::write(pipe[1], wrong.data(), wrong.size());
        ::_exit(written == static_cast<ssize_t>(wrong.size()) ? 0 : 1);
    }
    ::close(pipe[1]);
    std::string wrong(4096, '\0');
    const ssize_t count = ::read(pipe[0], wrong.data(), wrong.size());
    ::close(pipe[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    wrong.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return status == 0 ? wrong : "the child ended with status " + std::to_string(status) + " " + wrong;
}

}  // namespace quillbay::test
