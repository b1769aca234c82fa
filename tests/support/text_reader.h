#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/stream_socket.h"

namespace test_support {

// Gives a text, in pieces of at most `piece` bytes, as a stream socket would.
class text_reader : public replay::internet::socket::reader {
public:
    explicit text_reader(std::string text, std::size_t piece = 4096)
        : text_(std::move(text)), piece_(piece) {}

private:
    std::size_t receive(char* into, std::size_t size) override {
        const std::size_t given = text_.copy(into, std::min(size, piece_), at_);
        at_ += given;
        return given;
    }

    std::string text_;
    std::size_t piece_;
    std::size_t at_ = 0;
};

}  // namespace test_support
