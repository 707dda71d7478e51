#include "CallSites.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <unwind.h>

#include <array>
#include <cstring>

namespace quillbay::faults {

namespace {

// Deep enough to tell apart who opens a pipe and who starts a child, shallow enough not to tell apart every
// way to a relay.
constexpr std::size_t framesOfProgram = 6;

struct Stack {
    std::array<Frame, maxFrames> frames{};
    std::size_t count = 0;
    std::size_t ofProgram = 0;
    // Of the modules by their paths, since their order in the table may differ from run to run, and of the
    // places in them.
    std::uint64_t hash = 0xCBF29CE484222325;
    ControlFile* file = nullptr;

    void mix(std::uint64_t byte) noexcept { hash = (hash ^ (byte & 0xFF)) * 0x100000001B3; }

    void mixNumber(std::uint64_t number) noexcept {
        for (int shift = 0; shift < 64; shift += 8)
            mix(number >> shift);
    }
};

/// This library's own place in memory: any address in it will do.
const void* ownModule() noexcept {
    dl_find_object found{};
    static const char inside = 0;
    if (::_dl_find_object(const_cast<char*>(&inside), &found) != 0) return nullptr;
    return found.dlfo_link_map;
}

std::uint32_t moduleIndex(ControlFile& file, const char* path) noexcept {
    for (std::uint32_t index = 0; index < maxModules; ++index) {
        auto& place = file.modules[index];
        // Two threads may take one place for two modules; the loader's list is short and settled after the
        // first calls, which a program makes from one thread.
        if (place[0] == '\0') std::strncpy(place.data(), path, pathBytes - 1);
        if (std::strncmp(place.data(), path, pathBytes - 1) == 0) return index;
    }
    return maxModules;
}

_Unwind_Reason_Code collect(_Unwind_Context* context, void* argument) noexcept {
    static const void* const own = ownModule();
    auto& stack = *static_cast<Stack*>(argument);
    const std::uintptr_t address = _Unwind_GetIP(context);
    dl_find_object found{};
    // Beyond the last known module there is no more to unwind.
    if (address == 0 || ::_dl_find_object(reinterpret_cast<void*>(address), &found) != 0)
        return _URC_END_OF_STACK;
    const link_map* const module = found.dlfo_link_map;
    if (module == own) return _URC_NO_REASON;
    const bool program = module->l_name[0] == '\0';
    const char* const path = program ? "program" : module->l_name;
    stack.frames[stack.count++] = {moduleIndex(*stack.file, path),
                                   static_cast<std::uint32_t>(address - module->l_addr)};
    for (const char* letter = path; *letter != '\0'; ++letter)
        stack.mix(static_cast<unsigned char>(*letter));
    stack.mixNumber(stack.frames[stack.count - 1].offset);
    if (program) ++stack.ofProgram;
    return stack.count == maxFrames || stack.ofProgram == framesOfProgram ? _URC_END_OF_STACK
                                                                          : _URC_NO_REASON;
}

void describe(Site& site, const Stack& stack, std::size_t function, bool inForkedChild) noexcept {
    site.function = static_cast<std::uint32_t>(function);
    site.inForkedChild = inForkedChild ? 1 : 0;
    site.frameCount = static_cast<std::uint32_t>(stack.count);
    site.frames = stack.frames;
    ::syscall(SYS_prctl, PR_GET_NAME, site.thread.data(), 0, 0, 0);
    site.ready = 1;
}

}  // namespace

Site* currentSite(ControlFile& file, std::size_t function, bool inForkedChild) noexcept {
    Stack stack;
    stack.file = &file;
    stack.mixNumber(function * 2 + (inForkedChild ? 1 : 0));
    _Unwind_Backtrace(collect, &stack);
    // 0 is a free place.
    const std::uint64_t id = stack.hash == 0 ? 1 : stack.hash;
    for (std::size_t step = 0; step < maxSites; ++step) {
        Site& site = file.sites[(id + step) % maxSites];
        std::uint64_t present = site.id;
        if (present == id) return &site;
        if (present != 0) continue;
        if (site.id.compare_exchange_strong(present, id)) {
            describe(site, stack, function, inForkedChild);
            return &site;
        }
        if (present == id) return &site;
    }
    ++file.overflow;
    return nullptr;
}

}  // namespace quillbay::faults
