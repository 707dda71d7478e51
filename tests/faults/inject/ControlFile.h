#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "Functions.h"

namespace quillbay::faults {

// The file through which a test commands this library, mapped by both. All numbers are the machine's own:
//
//     offset  bytes
//          0      4   "QBF1", written last when the library is ready
//          4      4   number of functions
//          8      4   number of places for call sites
//         12      4   the phase that calls are counted under now, 0 to 7 (written by the test)
//         16      8   nanoseconds to add to the time of day (written by the test)
//         24     40   the fault: see `Fault` (written by the test)
//         64      8   calls counted so far
//         72      8   calls whose site found no place
//         80      8   process in which the fault was last met
//        128    5120  the functions' names, 32 bytes each, ended by zeros
//       8192   16384  the modules' paths, 256 bytes each, ended by zeros
//      32768    176 each   the call sites: see `Site`

constexpr std::size_t maxSites = 4096;
constexpr std::size_t maxModules = 64;
constexpr std::size_t maxFunctions = 160;
constexpr std::size_t nameBytes = 32;
constexpr std::size_t pathBytes = 256;
constexpr std::size_t phases = 8;
constexpr std::size_t maxFrames = 12;

/// Calls that fit are numbered from 0; those from `first` on, `times` of them, fail.
struct Fault {
    std::atomic<std::uint32_t> armed;
    std::uint32_t function;  // counts only where `site` is 0
    std::uint64_t site;      // 0: every site of the function
    std::uint32_t first;
    std::uint32_t times;
    std::int32_t code;
    std::uint32_t unused;
    std::atomic<std::uint32_t> matched;
    std::atomic<std::uint32_t> fired;
};

/// Where a call comes from: one return address, as the offset in a module.
struct Frame {
    std::uint32_t module;
    std::uint32_t offset;
};

struct Site {
    std::atomic<std::uint64_t> id;     // 0: this place is free
    std::atomic<std::uint32_t> ready;  // 1 once the lines below are written
    std::uint32_t function;
    std::uint32_t frameCount;
    std::uint32_t inForkedChild;
    std::array<std::atomic<std::uint32_t>, phases> counts;
    std::array<char, 16> thread;
    std::array<Frame, maxFrames> frames;
    std::uint64_t unused;
};

struct ControlFile {
    std::atomic<std::uint32_t> magic;
    std::uint32_t functionCount;
    std::uint32_t siteCapacity;
    std::atomic<std::uint32_t> phase;
    std::atomic<std::int64_t> clockShift;
    Fault fault;
    std::atomic<std::uint64_t> calls;
    std::atomic<std::uint64_t> overflow;
    std::atomic<std::uint64_t> firedIn;
    std::array<std::uint64_t, 5> unused;
    std::array<std::array<char, nameBytes>, maxFunctions> names;
    std::array<char, 8192 - 128 - maxFunctions * nameBytes> gap;
    std::array<std::array<char, pathBytes>, maxModules> modules;
    std::array<char, 32768 - 8192 - maxModules * pathBytes> secondGap;
    std::array<Site, maxSites> sites;
};

constexpr std::uint32_t readyMagic = 0x31464251;

static_assert(functionNames.size() <= maxFunctions);
static_assert(sizeof(Site) == 176 && sizeof(Fault) == 40);
static_assert(offsetof(ControlFile, fault) == 24 && offsetof(ControlFile, calls) == 64);
static_assert(offsetof(ControlFile, names) == 128 && offsetof(ControlFile, modules) == 8192);
static_assert(offsetof(ControlFile, sites) == 32768);
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

/// The file named by QUILLBAY_FAULTS, in the program whose file name is QUILLBAY_FAULTS_PROGRAM; null in any
/// other, so in the children of that program too.
ControlFile* openControlFile() noexcept;

}  // namespace quillbay::faults
