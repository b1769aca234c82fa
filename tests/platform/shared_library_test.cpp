#include "platform/shared_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using replay::platform::shared_library;

std::string failure_of(const char* library, const char* symbol) {
    try {
        shared_library(library).symbol<void (*)()>(symbol);
        return "";
    } catch (const shared_library::failure& failure) {
        return failure.what();
    }
}

TEST(shared_library, gives_functions_and_tells_what_is_missing) {
    const shared_library mathematics("libm.so.6");
    EXPECT_EQ(mathematics.symbol<double (*)(double)>("trunc")(2.75), 2);
    EXPECT_EQ(failure_of("libm.so.6", "trunc"), "");
    EXPECT_THAT(failure_of("libm.so.6", "no_such_function"),
                testing::HasSubstr("no_such_function"));
    EXPECT_THAT(failure_of("libnothing.so.9", "trunc"), testing::HasSubstr("libnothing.so.9"));
}

}  // namespace
