#include "cli/community_command.h"

#include <exception>

#include "cli/console.h"
#include "cli/json_writer.h"
#include "cli/registry_access.h"
#include "cli/subcommand_action.h"
#include "community/client.h"
#include "community/communication.h"
#include "foundation/module.h"
#include "foundation/registry.h"

namespace brindlemoss::cli {

namespace community = analysis::community;
namespace registry = replay::registry2;
using community::discovery_result;
using community::server;
using replay::internet::address::ip4;
using spam::communication;
using action = community_options::action;

namespace {

community_settings named_servers() {
    community_settings settings = read_community_settings();
    if (settings.is_named()) return settings;
    throw refusal("no server is named: 'brindlemoss community use HOST' names one");
}

std::string address_text(const server& each) {
    return each.text(ip4::numeric) + ":" + std::to_string(each.port());
}

std::string as_json(const server& each) {
    json_writer json;
    json.begin_object().key("address").utf8(each.text(ip4::numeric));
    json.key("port").number(each.port()).key("latency").unsigned_number(each.latency);
    json.key("name").text(each.name).key("location").text(each.location);
    json.key("provider").text(each.provider);
    json.key("database_serial").unsigned_number(each.database_serial);
    json.key("database_age").unsigned_number(each.database_age);
    json.key("server_age").unsigned_number(each.server_age);
    return json.end_object().line() + "\n";
}

// "12 ms  192.0.2.1:2409  one.example  Oslo  database 4711, 60 s old"
std::string as_text(const server& each) {
    std::string line = std::to_string(each.latency) + " ms  " + address_text(each);
    for (const std::u16string& what : {each.name, each.location}) {
        line.append("  ").append(what.empty() ? "-" : printable(utf8_of(what)));
    }
    return line.append("  database ")
        .append(std::to_string(each.database_serial))
        .append(", ")
        .append(std::to_string(each.database_age))
        .append(" s old\n");
}

void show_servers(const community_options& options) {
    const community_settings settings = named_servers();
    const discovery_result found = find_servers(settings);
    if (found.servers.empty()) throw refusal(why_none(found, settings));
    for (const auto& [latency, each] : found.servers) {
        print(options.json ? as_json(each) : as_text(each));
    }
    flush_output();
    if (found.unreachable != 0) {
        complain("servers that do not answer: " + std::to_string(found.unreachable));
    }
}

// The one of the process, with the servers looked for also where nothing does so by itself.
std::shared_ptr<communication> searching_communication() {
    const community_settings settings = named_servers();
    module::instance().load(module::armed_by::program);
    auto held = communication::instance();
    if (!settings.is_on()) held->reset();
    return held;
}

void ping(const community_options& options) {
    const auto latency = searching_communication()->round_trip();
    if (options.json) {
        json_writer json;
        json.begin_object().key("answered").boolean(latency.has_value()).key("latency");
        if (latency) {
            json.unsigned_number(*latency);
        } else {
            json.null();
        }
        print(json.end_object().line() + "\n");
    }
    if (!latency) throw refusal("no server answers");
    if (!options.json) print("answered in " + std::to_string(*latency) + " ms\n");
}

void reset(const community_options& options) {
    const discovery_result found = find_servers(named_servers());
    if (options.json) {
        json_writer json;
        json.begin_object().key("servers").unsigned_number(found.servers.size());
        json.key("unreachable").unsigned_number(found.unreachable).end_object();
        return print(json.line() + "\n");
    }
    print("servers that answer: " + std::to_string(found.servers.size()) +
          ", that do not: " + std::to_string(found.unreachable) + "\n");
}

void use(const community_options& options) {
    if (options.none == !options.servers.empty()) {
        throw refusal("'community use' takes either servers, each HOST or HOST:PORT, or --none");
    }
    try {
        if (options.none) {
            forget_servers();
        } else {
            name_servers(options.servers);
        }
    } catch (const registry::generic& error) {
        throw refusal("nothing is changed: " +
                      registry::store_file(registry::predefined_root::local_machine) +
                      " cannot be written: " + in_plain_words(error) +
                      "; it holds for all users, so an administrator may have to do this");
    }
    const community_settings now = read_community_settings();
    if (options.json) {
        json_writer json;
        json.begin_object().key("servers").utf8(now.servers).key("on").boolean(now.is_on());
        return print(json.end_object().line() + "\n");
    }
    print(now.is_on() ? "Messages are looked up at " + printable(now.servers) + ".\n"
                      : "Messages are rated by the local tests alone.\n");
}

void act(const community_options& options) {
    switch (options.wanted) {
        case action::servers: return show_servers(options);
        case action::ping: return ping(options);
        case action::reset: return reset(options);
        case action::use: return use(options);
    }
}

}  // namespace

discovery_result find_servers(const community_settings& settings) {
    community::client_options options;
    options.fallback = {};
    community::client client({}, settings.servers, 0, options);
    return client.discover();
}

std::string why_none(const discovery_result& found, const community_settings& settings) {
    const std::string named = "'" + printable(settings.servers) + "'";
    if (found.unreachable != 0) return "no server answers at " + named;
    return named + " leads to no address, or what answers there is no server of the community";
}

CLI::App* add_community(CLI::App& program, community_options& options) {
    CLI::App* community = program.add_subcommand(
        "community", "Show and choose the servers that know what other users say");
    community->require_subcommand(1);
    community->add_flag("--json", options.json, "Print one JSON object a line");
    community->footer(
        "While no server is named, messages are rated by the local tests alone and nobody is "
        "asked.");
    add_action(*community, options, action::servers, "servers",
               "Print the servers that answer, the fastest first");
    add_action(*community, options, action::ping, "ping", "Tell whether a server answers");
    add_action(*community, options, action::reset, "reset", "Look for the servers anew");
    CLI::App* use = add_action(*community, options, action::use, "use",
                               "Have messages looked up, for all users of this machine");
    use->add_option("HOST[:PORT]", options.servers,
                    "The servers; a name may lead to several. The port is 2409 unless given");
    use->add_flag("--none", options.none, "Have messages looked up nowhere");
    use->footer(
        "A program that rates messages looks for the servers once before the first of them; while\n"
        "one is silent that takes 3 s.");
    return community;
}

int run_community(const community_options& options) {
    return with_stores([&] {
        try {
            act(options);
        } catch (const server_name_error& error) {
            throw refusal(printable(error.what()));
        } catch (const replay::internet::transport::generic& error) {
            throw refusal(std::string("the network: ") + error.what());
        }
        return int{exit_done};
    });
}

}  // namespace brindlemoss::cli
