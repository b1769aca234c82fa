#include "cli/stats_command.h"

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli/console.h"
#include "cli/json_writer.h"
#include "cli/registry_access.h"

namespace brindlemoss::cli {

namespace registry = replay::registry2;

namespace {

struct counter {
    std::u16string_view group;  // the path below "Statistics"
    std::u16string_view name;
    std::optional<std::uint32_t> count;  // empty: it cannot be read
};

std::uint32_t count_of(const registry::setting& row) {
    const registry::key_place& place = registry::place_of(row.key);
    const auto key = open_existing(place.root, place.path);
    return key ? key->get_integer(row.name, row.integer_default, registry::write_back::no)
               : row.integer_default;
}

counter read_counter(const registry::setting& row, std::u16string_view group) {
    try {
        return {group, row.name, count_of(row)};
    } catch (const registry::generic& error) {
        complain("the counter '" + utf8_of(group) + "\\" + utf8_of(row.name) +
                 "' cannot be read: " + in_plain_words(error));
        return {group, row.name, std::nullopt};
    }
}

std::vector<counter> read_counters() {
    std::vector<counter> counters;
    for (const registry::setting& row : registry::settings) {
        const std::u16string_view path = registry::place_of(row.key).path;
        if (!path.starts_with(registry::statistics_path)) continue;
        counters.push_back(read_counter(row, path.substr(registry::statistics_path.size() + 1)));
    }
    return counters;
}

std::string as_json(const std::vector<counter>& counters) {
    json_writer json;
    json.begin_object();
    std::u16string_view group;
    for (const counter& each : counters) {
        if (each.group != group) {
            if (!group.empty()) json.end_object();
            group = each.group;
            json.key(utf8_of(group)).begin_object();
        }
        json.key(utf8_of(each.name));
        if (each.count) {
            json.unsigned_number(*each.count);
        } else {
            json.null();
        }
    }
    if (!group.empty()) json.end_object();
    return json.end_object().line() + "\n";
}

std::string as_text(const std::vector<counter>& counters) {
    std::string text;
    for (const counter& each : counters) {
        text.append(utf8_of(each.group)).append("  ").append(utf8_of(each.name)).append("  ");
        text.append(each.count ? std::to_string(*each.count) : "?").append("\n");
    }
    return text;
}

}  // namespace

CLI::App* add_stats(CLI::App& program, stats_options& options) {
    CLI::App* command = program.add_subcommand("stats", "Print the counters");
    command->add_flag("--json", options.json, "Print one JSON object");
    return command;
}

int run_stats(const stats_options& options) {
    // One line for a store that does not open, not one for each counter.
    try {
        const registry::key user(registry::predefined_root::current_user);
    } catch (const registry::generic&) {
        return exit_bad_input;  // the store has told why
    }
    const std::vector<counter> counters = read_counters();
    print(options.json ? as_json(counters) : as_text(counters));
    flush_output();
    for (const counter& each : counters) {
        if (!each.count) return exit_bad_input;
    }
    return exit_done;
}

}  // namespace brindlemoss::cli
