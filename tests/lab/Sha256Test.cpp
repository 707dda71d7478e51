#include "phone/Sha256.h"

#include <gtest/gtest.h>

namespace quillbay::lab {

namespace {

std::string digestOf(const std::string& text, std::size_t step) {
    Sha256 hash;
    const auto bytes = std::as_bytes(std::span(text));
    for (std::size_t at = 0; at < bytes.size(); at += step) {
        hash.update(bytes.subspan(at, std::min(step, bytes.size() - at)));
    }
    return hash.finish();
}

TEST(Sha256, gives_the_published_digests) {
    EXPECT_EQ(digestOf("", 1), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(digestOf("abc", 3), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(digestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", 56),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(digestOf(std::string(1000000, 'a'), 1000000),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, does_not_depend_on_how_its_input_is_cut) {
    for (std::size_t size = 0; size < 200; ++size) {
        const std::string text(size, 'q');
        EXPECT_EQ(digestOf(text, 7), digestOf(text, 200)) << size;
        EXPECT_EQ(digestOf(text, 64), digestOf(text, 200)) << size;
    }
}

}  // namespace

}  // namespace quillbay::lab
