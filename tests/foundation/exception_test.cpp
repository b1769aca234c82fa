#include "foundation/exception.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/translate.h"

namespace {

class network : public replay::exception {
public:
    explicit network(std::string message) : exception(std::move(message)) {
        append_domain("internet.transport");
    }
};

class operation_failed : public network {
public:
    explicit operation_failed(std::string message) : network(std::move(message)) {
        append_domain("operation_failed");
    }
};

TEST(exception, each_class_adds_its_word) {
    const operation_failed failure("no route");
    EXPECT_EQ(failure.domain(), "internet.transport.operation_failed");
    EXPECT_STREQ(failure.what(), "internet.transport.operation_failed[no route]");
    EXPECT_STREQ(network("").what(), "internet.transport[]");
    EXPECT_STREQ(replay::exception("text").what(), "[text]");  // the root has no word
}

TEST(exception, invalid_codeword_shows_the_byte_as_a_signed_value) {
    using replay::coding::translate::invalid_codeword;
    EXPECT_STREQ(invalid_codeword(' ').what(), "translate.invalid_codeword[Invalid Codeword 0x20]");
    EXPECT_EQ(invalid_codeword('\xE9').message(), "Invalid Codeword 0xFFFFFFE9");
}

}  // namespace
