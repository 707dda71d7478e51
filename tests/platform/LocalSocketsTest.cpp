#include "platform/LocalSockets.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <system_error>

#include "fakes/TemporaryFolder.h"
#include "platform/ForkedChild.h"

namespace quillbay {
namespace {

class LocalSockets : public ::testing::Test {
 protected:
    static int errorOf(const std::function<void()>& call) {
        try {
            call();
        } catch (const std::system_error& error) {
            return error.code().value();
        }
        return 0;
    }

    fakes::TemporaryFolder folder;
    std::filesystem::path path = folder.path() / "socket";
};

TEST_F(LocalSockets, connect_one_program_with_another) {
    const UniqueDescriptor listener = listenLocal(path);
    const UniqueDescriptor near = connectLocal(path);
    const UniqueDescriptor far(::accept(listener.get(), nullptr, nullptr));
    ASSERT_EQ(::send(near.get(), "hello", 5, 0), 5);
    char text[5]{};
    ASSERT_EQ(::recv(far.get(), text, sizeof text, 0), 5);
    EXPECT_EQ(std::string(text, 5), "hello");
    for (const UniqueDescriptor* descriptor : {&listener, &near}) {
        EXPECT_NE(::fcntl(descriptor->get(), F_GETFD) & FD_CLOEXEC, 0);
        EXPECT_NE(::fcntl(descriptor->get(), F_GETFL) & O_NONBLOCK, 0);
    }
}

TEST_F(LocalSockets, are_for_the_user_alone_whatever_the_mask) {
    inChild([this] {
        ::umask(0);
        const UniqueDescriptor listener = listenLocal(path);
        struct stat status{};
        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0600U);
    });
}

TEST_F(LocalSockets, tell_which_user_is_at_the_other_end) {
    const UniqueDescriptor listener = listenLocal(path);
    const UniqueDescriptor near = connectLocal(path);
    const UniqueDescriptor far(::accept(listener.get(), nullptr, nullptr));
    EXPECT_EQ(peerUser(near.get()), ::geteuid());
    EXPECT_EQ(peerUser(far.get()), ::geteuid());
    EXPECT_EQ(peerUser(-1), std::nullopt);
}

TEST_F(LocalSockets, do_not_take_the_place_of_what_is_there) {
    std::ofstream(path) << "mine";
    EXPECT_EQ(errorOf([this] { static_cast<void>(listenLocal(path)); }), EADDRINUSE);
    EXPECT_TRUE(std::filesystem::is_regular_file(path));
}

TEST_F(LocalSockets, say_that_nobody_listens) {
    EXPECT_EQ(errorOf([this] { static_cast<void>(connectLocal(path)); }), ENOENT);
    static_cast<void>(listenLocal(path));
    EXPECT_EQ(errorOf([this] { static_cast<void>(connectLocal(path)); }), ECONNREFUSED);
}

TEST_F(LocalSockets, a_path_has_a_longest_length) {
    // 108 bytes with the zero at the end.
    const std::filesystem::path longest =
        folder.path() / std::string(106 - folder.path().native().size(), 'x');
    ASSERT_EQ(longest.native().size(), 107U);
    EXPECT_TRUE(listenLocal(longest).valid());
    const std::string tooLong = longest.string() + "x";
    for (const auto& call : {listenLocal, connectLocal}) {
        try {
            static_cast<void>(call(tooLong));
            ADD_FAILURE() << "it was taken";
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(std::string(error.what()),
                      "The path of the socket has 108 bytes, and this system takes at most 107: " + tooLong);
        }
    }
}

}  // namespace
}  // namespace quillbay
