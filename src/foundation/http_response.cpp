#include <algorithm>
#include <optional>
#include <utility>

#include "foundation/ascii.h"
#include "foundation/http.h"
#include "foundation/tokens.h"

namespace replay::internet::http {

namespace {

constexpr std::size_t longest_line = 2048;
constexpr std::size_t piece_size = 1024;
constexpr std::size_t largest_reserve = 1 << 20;  // a server may announce what it likes
constexpr std::int32_t go_on = 100;

// A number with or without a sign, 0 where there is none.
std::int32_t number_of(std::string_view text) {
    const bool is_negative = text.starts_with('-');
    if (is_negative || text.starts_with('+')) text.remove_prefix(1);
    const std::int32_t number = ascii::leading_number(text);
    return is_negative ? -number : number;
}

int value_of_digit(char byte) {
    if (ascii::is_digit(byte)) return byte - '0';
    const char lower = ascii::to_lower(byte);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The number that scanf() reads by "%x", 0 where it reads none. Too large ones, and negative ones,
// which come to the same, give the largest.
std::uint32_t hexadecimal_number_of(std::string_view text) {
    while (!text.empty() && ascii::is_space(text.front())) text.remove_prefix(1);
    const bool is_negative = text.starts_with('-');
    if (is_negative || text.starts_with('+')) text.remove_prefix(1);
    if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
    std::uint64_t number = 0;
    for (const char byte : text) {
        const int digit = value_of_digit(byte);
        if (digit < 0) break;
        number = std::min<std::uint64_t>(number * 16 + digit, UINT32_MAX);
    }
    return is_negative && number != 0 ? UINT32_MAX : static_cast<std::uint32_t>(number);
}

std::string to_upper(std::string_view text) {
    std::string upper(text);
    for (char& byte : upper) {
        if (byte >= 'a' && byte <= 'z') byte = static_cast<char>(byte - 'a' + 'A');
    }
    return upper;
}

class response_reader {
public:
    response_reader(socket::reader& from, monitor_type& monitor, const transfer_limits& limits)
        : from_(from), monitor_(monitor), limits_(limits) {}

    response_type read();

private:
    void read_head();
    void read_status();
    void read_headers();
    void take_header(std::size_t colon);
    void read_chunks();
    void read_chunk(std::size_t size);
    void read_to_the_end();
    void read_line() { from_.read_line(line_, longest_line); }
    void read_line_with_text();
    void count_header_line();
    bool is_chunked() const;
    void add_to_body(std::string_view bytes);
    void tell_of_body(std::size_t begin);

    socket::reader& from_;
    monitor_type& monitor_;
    const transfer_limits& limits_;

    response_type response_;
    std::optional<std::int32_t> announced_;  // the size of the body; nonsense is kept to differ
    std::size_t header_lines_ = 0;
    std::string line_;
    std::string piece_;
};

response_type response_reader::read() {
    read_head();
    if (const auto length = response_.headers.find("CONTENT-LENGTH");
        length != response_.headers.end()) {
        announced_ = number_of(length->second);
        response_.body.reserve(std::min<std::size_t>(std::max(*announced_, 0), largest_reserve));
    }
    if (is_chunked()) {
        read_chunks();
    } else {
        read_to_the_end();
    }
    return std::move(response_);
}

void response_reader::read_head() {
    for (;;) {
        read_status();
        read_headers();
        if (response_.status != go_on) return;
        count_header_line();
        response_.headers.clear();
    }
}

void response_reader::read_status() {
    read_line_with_text();
    const auto fields = tokens_of(line_, ' ');
    if (!line_.starts_with("HTTP/1") || fields.size() < 2) throw invalid_response(line_);
    response_.status = number_of(fields[1]);
    if (!monitor_.status(response_.status)) throw aborted("status");
}

void response_reader::read_headers() {
    for (;;) {
        read_line();
        if (line_.empty()) return;
        count_header_line();
        const std::size_t colon = line_.find(':');
        if (colon != std::string::npos) take_header(colon);
    }
}

void response_reader::take_header(std::size_t colon) {
    const std::size_t begin = std::min(line_.find_first_not_of(": ", colon), line_.size());
    const std::string name = to_upper(std::string_view(line_).substr(0, colon));
    std::string& value = response_.headers[name];
    value.assign(line_, begin);
    if (!monitor_.response_header(name, value)) throw aborted("response_header");
}

// An empty line after many others is no more likely to be followed by text.
void response_reader::read_line_with_text() {
    for (std::size_t empty_lines = 0;; ++empty_lines) {
        read_line();
        if (!line_.empty()) return;
        if (empty_lines == limits_.header_lines) throw invalid_response("Too many empty lines");
    }
}

void response_reader::count_header_line() {
    if (++header_lines_ > limits_.header_lines) throw invalid_response("Too many header lines");
}

bool response_reader::is_chunked() const {
    const auto coding = response_.headers.find("TRANSFER-ENCODING");
    return coding != response_.headers.end() &&
           ascii::equals_ignoring_case(coding->second, "chunked");
}

void response_reader::read_chunks() {
    for (;;) {
        read_line_with_text();
        const std::uint32_t size = hexadecimal_number_of(line_);
        if (size == 0) return;
        read_chunk(size);
    }
}

void response_reader::read_chunk(std::size_t size) {
    const std::size_t begin = response_.body.size();
    if (size > limits_.body_size - begin) throw invalid_response("Body too large");
    while (size > 0) {
        from_.read(piece_, std::min(size, piece_size), false);
        add_to_body(piece_);
        size -= piece_.size();
    }
    tell_of_body(begin);
}

void response_reader::read_to_the_end() {
    for (bool is_open = true; is_open;) {
        try {
            from_.read(piece_, piece_size, false);
        } catch (const socket::reader::closed&) {
            is_open = false;  // the piece holds what came before
        }
        if (piece_.empty()) continue;
        add_to_body(piece_);
        tell_of_body(response_.body.size() - piece_.size());
    }
    if (announced_ && std::cmp_not_equal(*announced_, response_.body.size())) {
        throw closed("Body of another size than announced");
    }
}

void response_reader::add_to_body(std::string_view bytes) {
    if (bytes.size() > limits_.body_size - response_.body.size()) {
        throw invalid_response("Body too large");
    }
    response_.body += bytes;
}

void response_reader::tell_of_body(std::size_t begin) {
    const std::string& body = response_.body;
    const auto expected = static_cast<std::size_t>(std::max(announced_.value_or(0), 0));
    if (!monitor_.response_body(body.data() + begin, body.size() - begin, body.size(), expected)) {
        throw aborted("response_body");
    }
}

}  // namespace

response_type read_response(socket::reader& from, monitor_type& monitor,
                            const transfer_limits& limits) {
    try {
        return response_reader(from, monitor, limits).read();
    } catch (const socket::reader::closed& failure) {
        throw closed(failure.message());
    } catch (const socket::reader::endless_line& failure) {
        throw invalid_response(failure.message());
    }
}

}  // namespace replay::internet::http
