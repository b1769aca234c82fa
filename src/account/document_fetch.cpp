#include "account/document_fetch.h"

#include <cstdint>
#include <exception>
#include <stdexcept>

#include "foundation/http.h"
#include "foundation/module.h"
#include "foundation/registry.h"
#include "foundation/stream_socket.h"
#include "foundation/translate.h"
#include "platform/utf8.h"

namespace brindlemoss::account {

namespace {

namespace http = replay::internet::http;
namespace registry = replay::registry2;
namespace translate = replay::coding::translate;
using registry::setting_of;
using registry::tree_key;
using registry::write_back;

constexpr std::int32_t ok = 200;
constexpr std::size_t longest_shown = std::size_t{64} << 10;
constexpr std::size_t longest_shown_user = 1024;

struct server_place {
    std::u16string host;
    std::uint32_t ports[2];
};

server_place server() {
    constexpr const registry::setting& host = setting_of(tree_key::machine_account, u"Host");
    constexpr const registry::setting& port_1 = setting_of(tree_key::machine_account, u"Port 1");
    constexpr const registry::setting& port_2 = setting_of(tree_key::machine_account, u"Port 2");
    try {
        registry::at(tree_key::machine_account);
    } catch (const registry::key_error&) {
        return {std::u16string(host.text_default),
                {port_1.integer_default, port_2.integer_default}};
    }
    return {registry::get_text(host, write_back::no),
            {registry::get_integer(port_1, write_back::no),
             registry::get_integer(port_2, write_back::no)}};
}

// The user's setting is looked at, and written, only when it counts.
bool is_cut_off() {
    constexpr const registry::setting& always_connected =
        setting_of(tree_key::user_root, u"Always Connected");
    return replay::internet::socket::offline() &&
           registry::get_integer(always_connected, write_back::yes) == 0;
}

class wanted_still : public http::monitor_type {
public:
    explicit wanted_still(const std::atomic<bool>& is_over) : is_over_(is_over) {}

    bool waiting() override { return !is_over_; }

private:
    const std::atomic<bool>& is_over_;
};

// A server may send the password back, in a status line or in a page about the error.
std::string masked(std::string_view text, std::string_view password) {
    std::string shown(text);
    if (password.empty()) return shown;
    for (std::size_t at = 0; (at = shown.find(password, at)) != std::string::npos;) {
        shown.replace(at, password.size(), password.size(), '*');
        at += password.size();
    }
    return shown;
}

class document_fetch {
public:
    explicit document_fetch(const document_request& request)
        : request_(request), url_(request.url), shown_url_(request.url) {}

    std::optional<std::string> run() try {
        if (is_cut_off()) return std::nullopt;
        append_query();
        // The name by default is nobody's, but some resolvers answer for every name.
        if (!is_server_named()) throw std::runtime_error("no account server is named");
        wanted_still monitor(request_.is_over);
        http::response_type response =
            http::get(http::request_type(url_), monitor, {.whole = request_.limit});
        log_response(response);
        if (response.status != ok) return std::nullopt;
        std::erase_if(response.body,
                      [](char byte) { return byte == '\t' || byte == '\n' || byte == '\r'; });
        return std::move(response.body);
    } catch (const std::exception& failure) {
        log_.writef(2, "Exception '%s' while processing '%s'",
                    masked(failure.what(), request_.password).c_str(), shown_url_.c_str());
        return std::nullopt;
    }

private:
    void append_query() {
        const query_facts facts = facts_of_the_stores();
        const std::string asterisks(request_.password.size(), '*');
        url_ += login_query(facts, request_.machine, request_.user, request_.password);
        shown_url_ += login_query(facts, request_.machine,
                                  request_.user.substr(0, longest_shown_user), asterisks);
    }

    void log_response(const http::response_type& response) const {
        const bool is_good = response.status == ok;
        log_.writef(is_good ? 0 : 3,
                    "Fetching '%s' returned status %i and %i bytes of configuration data",
                    shown_url_.c_str(), response.status, static_cast<int>(response.body.size()));
        if (is_good) return;
        const std::string_view beginning = std::string_view(response.body).substr(0, longest_shown);
        log_.write(3, "Output: " + translate::base64_encode(masked(beginning, request_.password),
                                                            translate::padding::pad));
    }

    const document_request& request_;
    replay::log& log_ = module::instance().log_of(subsystem::account);
    std::string url_;
    std::string shown_url_;  // as the log may tell it
};

}  // namespace

bool is_server_named() {
    constexpr const registry::setting& host = setting_of(tree_key::machine_account, u"Host");
    const std::u16string name = server().host;
    return !name.empty() && name != host.text_default;
}

std::vector<std::string> server_urls() {
    const server_place place = server();
    const std::string host = replay::platform::to_utf8(place.host);
    std::vector<std::string> urls;
    for (const std::uint32_t port : place.ports) {
        urls.push_back("http://" + host + ":" + std::to_string(port));
    }
    return urls;
}

std::optional<std::string> fetch_document(const document_request& request) {
    return document_fetch(request).run();
}

}  // namespace brindlemoss::account
