#include "foundation/md5.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using replay::md5;
using replay::coding::translate::padding;

TEST(md5, vectors_of_the_rfc) {
    const struct {
        const char* text;
        const char* hex;
    } rows[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    for (const auto& row : rows) EXPECT_EQ(md5(row.text).hex(), row.hex) << row.text;
}

// The digests of 0 to 130 bytes in a row, put behind each other, have this digest.
TEST(md5, every_length_around_the_block_edges) {
    std::string digests;
    for (int length = 0; length <= 130; ++length) {
        std::string input;
        for (int i = 0; i < length; ++i) input += static_cast<char>(i * 37 + length);
        digests += md5(input).hex();
    }
    EXPECT_EQ(md5(digests).hex(), "1d78de926c96d3e28f81283ccabceb33");
}

TEST(md5, many_blocks) {
    EXPECT_EQ(md5(std::string(1'000'003, 'a')).hex(), "5abe51b61ad88ec96601dfaccdc33969");
}

TEST(md5, other_forms) {
    const md5 digest("abc");
    EXPECT_EQ(digest.base64(padding::none), "kAFQmDzST7DWlj99KOF/cg");
    EXPECT_EQ(digest.base64(padding::pad), "kAFQmDzST7DWlj99KOF/cg==");
    EXPECT_EQ(digest.bytes()[0], 0x90);
    EXPECT_EQ(digest.bytes()[15], 0x72);
}

}  // namespace
