#include "foundation/http.h"

#include <chrono>
#include <utility>

#include "foundation/ascii.h"

namespace replay::internet::http {

namespace {

constexpr std::string_view scheme = "http://";
constexpr std::uint16_t usual_port = 80;

std::string_view without_scheme(std::string_view url) {
    const bool has_scheme = ascii::equals_ignoring_case(url.substr(0, scheme.size()), scheme);
    return has_scheme ? url.substr(scheme.size()) : url;
}

std::string_view server_of(std::string_view url) {
    const std::string_view rest = without_scheme(url);
    return rest.substr(0, rest.find('/'));
}

std::string host_of(std::string_view url) {
    const std::string_view server = server_of(url);
    return std::string(server.substr(0, server.find(':')));
}

std::uint16_t port_of(std::string_view url) {
    const std::string_view server = server_of(url);
    const std::size_t colon = server.find(':');
    if (colon == std::string_view::npos) return usual_port;
    return static_cast<std::uint16_t>(ascii::leading_number(server.substr(colon + 1)));
}

std::string path_of(std::string_view url) {
    using namespace std::string_view_literals;
    std::string_view path = without_scheme(url).substr(server_of(url).size());
    path = path.substr(0, path.find('#'));
    // It would end the line that it is to stand in, and what follows pass for headers.
    if (path.find_first_of("\r\n\0"sv) != std::string_view::npos) {
        throw generic("URL with a line end");
    }
    return path.empty() ? "/" : std::string(path);
}

void require(bool goes_on, const char* operation) {
    if (!goes_on) throw aborted(operation);
}

std::string head_of(const char* method, const request_type& request, monitor_type& monitor) {
    std::string head = std::string(method).append(" ").append(request.path).append(" HTTP/1.1\r\n");
    for (const auto& [name, value] : request.headers) {
        require(monitor.request_header(name, value), "request_header");
        head.append(name).append(": ").append(value).append("\r\n");
    }
    return head.append("\r\n");
}

// What all connections of one transfer ask while they wait.
class transfer_watch {
public:
    transfer_watch(monitor_type& monitor, std::chrono::milliseconds whole)
        : monitor_(monitor), whole_(whole), begin_(std::chrono::steady_clock::now()) {}

    void operator()() const {
        require(monitor_.waiting(), "waiting");
        const auto passed = std::chrono::steady_clock::now() - begin_;
        const bool is_late =
            std::chrono::duration_cast<std::chrono::milliseconds>(passed) >= whole_;
        if (whole_.count() != 0 && is_late) throw socket::timeout("Transfer took too long");
    }

private:
    monitor_type& monitor_;
    std::chrono::milliseconds whole_;
    std::chrono::steady_clock::time_point begin_;
};

response_type transfer_once(const char* method, const request_type& request, monitor_type& monitor,
                            const transfer_limits& limits, const transfer_watch& watch) {
    socket::stream connection;
    connection.set_watch(watch);
    connection.connect(request.address);
    connection.set_timeouts(limits.silence, limits.silence);
    const auto host = request.headers.find("HOST");
    require(monitor.request(request.path, host == request.headers.end() ? "" : host->second),
            "request");
    std::string message = head_of(method, request, monitor);
    if (!request.body.empty()) {
        require(monitor.request_body(request.body.data(), request.body.size()), "request_body");
        message += request.body;
    }
    connection.write(message);
    return read_response(connection, monitor, limits);
}

bool is_redirect(std::int32_t status) {
    return status >= 300 && status <= 307;
}

response_type transfer(const char* method, request_type request, monitor_type& monitor,
                       const transfer_limits& limits) {
    const transfer_watch watch(monitor, limits.whole);
    for (int redirects = 0;; ++redirects) {
        response_type response = transfer_once(method, request, monitor, limits, watch);
        if (!is_redirect(response.status)) return response;
        if (redirects == limits.redirects) throw generic("Too many redirects");
        request = request_type(response.headers["LOCATION"]);
    }
}

}  // namespace

generic::generic(std::string message) : exception(std::move(message)) {
    append_domain("http");
}

aborted::aborted(std::string message) : generic(std::move(message)) {
    append_domain("aborted");
}

invalid_response::invalid_response(std::string message) : generic(std::move(message)) {
    append_domain("invalid_response");
}

closed::closed(std::string message) : generic(std::move(message)) {
    append_domain("closed");
}

request_type::request_type(std::string_view url)
    : address(host_of(url), port_of(url)),
      path(path_of(url)),
      headers{{"HOST", host_of(url)}, {"CONNECTION", "close"}} {}

bool monitor_type::waiting() {
    return true;
}

bool monitor_type::request(std::string_view, std::string_view) {
    return true;
}

bool monitor_type::status(std::int32_t) {
    return true;
}

bool monitor_type::request_header(std::string_view, std::string_view) {
    return true;
}

bool monitor_type::response_header(std::string_view, std::string_view) {
    return true;
}

bool monitor_type::request_body(const char*, std::size_t) {
    return true;
}

bool monitor_type::response_body(const char*, std::size_t, std::size_t, std::size_t) {
    return true;
}

response_type get(const request_type& request, monitor_type& monitor,
                  const transfer_limits& limits) {
    return transfer("GET", request, monitor, limits);
}

response_type get(const request_type& request) {
    monitor_type monitor;
    return get(request, monitor);
}

response_type head(const request_type& request, monitor_type& monitor,
                   const transfer_limits& limits) {
    return transfer("HEAD", request, monitor, limits);
}

response_type head(const request_type& request) {
    monitor_type monitor;
    return head(request, monitor);
}

response_type post(request_type request, monitor_type& monitor, const transfer_limits& limits) {
    request.headers["CONTENT-LENGTH"] = std::to_string(request.body.size());
    return transfer("POST", std::move(request), monitor, limits);
}

response_type post(request_type request) {
    monitor_type monitor;
    return post(std::move(request), monitor);
}

}  // namespace replay::internet::http
