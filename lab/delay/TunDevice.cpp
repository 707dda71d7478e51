#include "delay/TunDevice.h"

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace quillbay::lab {

namespace {

// The largest packet of the Internet Protocol: no interface hands over more at once.
constexpr std::size_t largestPacket = 65'535;

UniqueDescriptor opened(const std::string& path, int flags) {
    UniqueDescriptor file(::open(path.c_str(), flags | O_CLOEXEC));
    if (!file.valid()) throw std::system_error(errno, std::generic_category(), path);
    return file;
}

}  // namespace

TunDevice::TunDevice(const std::string& networkNamespace, const std::string& name) {
    const UniqueDescriptor place = opened(networkNamespace, O_RDONLY);
    if (::setns(place.get(), CLONE_NEWNET) != 0)
        throw std::system_error(errno, std::generic_category(), networkNamespace);
    device_ = opened("/dev/net/tun", O_RDWR | O_NONBLOCK);
    ifreq wanted{};
    wanted.ifr_flags = IFF_TUN | IFF_NO_PI;
    name.copy(wanted.ifr_name, IFNAMSIZ - 1);
    if (::ioctl(device_.get(), TUNSETIFF, &wanted) != 0)
        throw std::system_error(errno, std::generic_category(), name);
}

std::optional<DelayLine::Packet> TunDevice::read() const {
    std::array<std::uint8_t, largestPacket> buffer;  // NOLINT(*-member-init): a read fills what is used of it
    const ssize_t size = ::read(device_.get(), buffer.data(), buffer.size());
    if (size <= 0) return std::nullopt;
    return DelayLine::Packet(buffer.begin(), buffer.begin() + size);
}

void TunDevice::write(const DelayLine::Packet& packet) const {
    [[maybe_unused]] const ssize_t lostIfRefused = ::write(device_.get(), packet.data(), packet.size());
}

}  // namespace quillbay::lab
