// A response from a hostile server. However the bytes are cut into pieces on their way, the outcome
// is the same.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/http.h"
#include "support.h"

namespace {

using fuzz_support::require;
using namespace replay::internet;

constexpr http::transfer_limits limits{.header_lines = 20, .body_size = 5000};

class bytes_reader : public socket::reader {
public:
    bytes_reader(std::string_view bytes, std::size_t most) : bytes_(bytes), most_(most) {}

private:
    std::size_t receive(char* into, std::size_t size) override {
        const std::size_t given = bytes_.copy(into, std::min(size, most_));
        bytes_.remove_prefix(given);
        return given;
    }

    std::string_view bytes_;
    std::size_t most_;
};

struct checking_monitor : http::monitor_type {
    bool response_header(std::string_view name, std::string_view value) override {
        ++headers;
        require(name.find(':') == name.npos && !value.starts_with(' ') && !value.starts_with(':'));
        require(name.size() + value.size() < 2048);
        return true;
    }
    bool response_body(const char* data, std::size_t size, std::size_t total,
                       std::size_t) override {
        body.append(data, size);
        require(size > 0 && total == body.size());
        return true;
    }

    std::size_t headers = 0;
    std::string body;
};

// What came of it, in a text.
std::string outcome_of(std::string_view bytes, std::size_t most) {
    bytes_reader reader(bytes, most);
    checking_monitor monitor;
    try {
        const http::response_type response = http::read_response(reader, monitor, limits);
        require(response.body == monitor.body && response.body.size() <= limits.body_size);
        require(monitor.headers <= limits.header_lines);
        std::string outcome = std::to_string(response.status);
        for (const auto& [name, value] : response.headers) {
            outcome.append("\n").append(name).append(":").append(value);
        }
        return outcome + "\n\n" + response.body;
    } catch (const http::generic& failure) {
        require(monitor.body.size() <= limits.body_size);
        return failure.what();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::string whole = outcome_of(bytes, size + 1);
    require(outcome_of(bytes, 1) == whole);
    require(outcome_of(bytes, 7) == whole);
    return 0;
}
