#include "soak/town.h"

#include <brindlemoss/component.h>

#include <utility>
#include <vector>

#include "account/account_service.h"
#include "component/library_life.h"
#include "foundation/registry.h"
#include "support/community_home.h"

namespace soak {

namespace component = brindlemoss::component;
namespace registry = replay::registry2;
using brindlemoss::analysis::community::encode_numeral;
using test_support::community_home;
using test_support::http_peer;
using test_support::replies;
using test_support::reply;
using test_support::response_to;

namespace {

constexpr std::string_view state_of_data_base = "SCHEMA=1\tDB-SERIAL=BA\tDB-AGE=B";

// The first signature of the list, or one far behind the last.
std::string known(const std::string& request, std::uint64_t index) {
    return response_to(request, state_of_data_base,
                       encode_numeral(index) + "\tB\tB\tA\tD\tA\tBA\r\n");
}

replies answer(mood in, const std::string& request) {
    if (in == mood::silent) return {};
    if (in == mood::talks_nonsense) return {"\xFF\r\nRESPONSE\tRID\0=", "", "RESPONSE\tRID=ZZ\r\n"};
    const replies plain = test_support::community_server(test_support::nothing_known)(request);
    if (plain.empty()) return plain;
    reply elsewhere = plain.front();
    elsewhere.from_another_port = true;
    const bool is_match = request.starts_with("MATCH");
    switch (in) {
        case mood::answers_twice: return {plain.front(), plain.front()};
        case mood::answers_from_elsewhere: return {elsewhere};
        case mood::knows_signatures: return is_match ? replies{known(request, 0)} : plain;
        case mood::contradicts_itself: return is_match ? replies{known(request, 60'000)} : plain;
        default: return plain;
    }
}

// Most logins succeed.
std::vector<http_peer::answer> account_answers(const std::string& url) {
    const std::string good =
        "HTTP/1.1 200 OK\r\n\r\n<BrindlemossLogin><Login><Access>Approved</Access></Login>"
        "<URL><Email>" +
        url + "</Email></URL></BrindlemossLogin>";
    const std::vector<http_peer::answer> circle = {
        {good},
        {good},
        {"HTTP/1.1 500 Sorry\r\n\r\nno"},
        {good},
        {"HTTP/1.1 200 OK\r\n\r\n<a><b></a>"},
        {good.substr(0, 40), "", http_peer::answer::ending::reset},
        {good},
        {""},
    };
    std::vector<http_peer::answer> answers;
    for (int round = 0; round < 200; ++round) {
        answers.insert(answers.end(), circle.begin(), circle.end());
    }
    return answers;
}

void look_anew() {
    component::truth is_so = component::no;
    component::create<component::ICommunication>()->Reset(is_so);
}

}  // namespace

town::neighbour::neighbour()
    : peer([this](const std::string& request) { return answer(in, request); }) {}

town::town() {
    rebuild_community();
    replace_account_server();
}

// Those of before go with all that they remember of requests.
void town::rebuild_community() {
    std::string hosts;
    for (auto& each : community_) {
        each = std::make_unique<neighbour>();
        hosts += each->peer.host() + " ";
    }
    {
        const component::running_call call;
        community_home::use(hosts, 20);
    }
    component::create<component::ICommunication>()->Shutdown();
}

void town::replace_account_server() {
    auto made = std::make_unique<http_peer>();
    made->serve(account_answers(made->url()));
    {
        const component::running_call call;
        const registry::key& account = registry::at(registry::tree_key::machine_account);
        account.set_text(u"Host", u"127.0.0.1");
        account.set_integer(u"Port 1", made->port());
        account.set_integer(u"Port 2", made->port());
    }
    {
        const std::lock_guard guard(url_lock_);
        account_url_ = made->url();
    }
    account_server_ = std::move(made);
}

std::string town::account_url() const {
    const std::lock_guard guard(url_lock_);
    return account_url_;
}

void town::all_are(mood in) {
    for (const auto& each : community_) each->in = in;
}

void town::turn() {
    switch (turns_++ % 14) {
        case 0: return all_are(mood::knows_signatures);
        case 1: community_[0]->in = mood::silent; return;
        case 2: community_[0]->in = mood::talks_nonsense; return look_anew();
        case 3: return community_[1]->peer.stop();
        case 4: return component::unload();
        case 5: return rebuild_community();
        case 6: return all_are(mood::contradicts_itself);
        case 7: return replace_account_server();
        case 8: all_are(mood::answers_twice); return look_anew();
        case 9: community_[2]->in = mood::answers_from_elsewhere; return component::unload();
        case 10: return all_are(mood::silent);
        case 11:
            for (const auto& each : community_) each->peer.stop();
            return;
        case 12: return look_anew();
        default: rebuild_community(); return component::unload();
    }
}

void end_library() {
    component::create<component::ICommunication>()->Shutdown();
    brindlemoss::account::account_service::shutdown();
    component::unload();
}

}  // namespace soak
