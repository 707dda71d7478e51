// The system lends the bytes of all streams of a thread to one pipe: what must not come out of it.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <string>

#include "platform/MovedStream.h"
#include "platform/StreamMover.h"

namespace quillbay {
namespace {

using test::pattern;
using test::Stream;

TEST(SharedPipe, what_could_not_be_taken_out_does_not_reach_the_next_stream) {
    const Stream from;
    const Stream narrow(4096);
    ASSERT_EQ(from.write(pattern(200'000)), 200'000U);
    const std::shared_ptr<StreamMover> mover = streamMover();
    while (mover->leftBytes() == 0)
        mover->move(from.out.get(), narrow.in.get());
    // Not even the system can write there, so that reading the pipe fails.
    constexpr std::size_t pageBytes = 4096;
    void* const nowhere = ::mmap(nullptr, pageBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(nowhere, MAP_FAILED);
    EXPECT_EQ(mover->take({static_cast<char*>(nowhere), pageBytes}), 0U);
    ::munmap(nowhere, pageBytes);
    EXPECT_EQ(mover->leftBytes(), 0U);

    const Stream source;
    const Stream destination;
    ASSERT_EQ(source.write("fresh"), 5U);
    std::string received;
    while (received.size() < 5) {
        mover->move(source.out.get(), destination.in.get());
        received += destination.read();
    }
    EXPECT_EQ(received, "fresh");
}

}  // namespace
}  // namespace quillbay
