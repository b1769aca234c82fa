#include "cli/doctor_command.h"

#include <sqlite3.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

#include "account/document_fetch.h"
#include "cli/account_server.h"
#include "cli/community_command.h"
#include "cli/console.h"
#include "cli/json_writer.h"
#include "cli/registry_access.h"
#include "image/bitmap.h"
#include "platform/icu_converter.h"
#include "platform/paths.h"
#include "services/language_identifier.h"

namespace brindlemoss::cli {

namespace fs = std::filesystem;
namespace paths = replay::platform::paths;
namespace registry = replay::registry2;
using registry::predefined_root;
using registry::tree_key;

namespace {

constexpr char log_file[] = "/Core.log.txt";
constexpr char dump_extension[] = ".dmp";
constexpr std::uint32_t highest_rating = 100;

struct check {
    std::string name;
    bool ok;
    std::string text;
};

std::string bytes_text(const std::string& file) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    return error ? "of unknown size" : std::to_string(size) + " bytes";
}

bool may_write(const std::string& path, int mode) {
    return ::access(path.c_str(), mode) == 0;
}

// Counts nothing, in a transaction that takes the way of every other.
void try_writing() {
    registry::at(tree_key::user_statistics_filter).add_to_integer(u"Processed", 0);
}

check check_user_store() {
    const std::string name = "user store";
    const std::string file = registry::store_file(predefined_root::current_user);
    try {
        const registry::key user(predefined_root::current_user);
    } catch (const registry::generic& error) {
        return {name, false,
                file + " does not open: " + in_plain_words(error) +
                    "; see to the rights of the file and its folder"};
    }
    try {
        try_writing();
    } catch (const registry::type_mismatch&) {
        return {name, false,
                file +
                    " holds a counter of a wrong type: delete it by "
                    "'registry delete Statistics/Filter Processed'"};
    } catch (const registry::generic& error) {
        return {name, false,
                file + " cannot be written: " + in_plain_words(error) +
                    "; see to the rights of the file and the room on the disk"};
    }
    return {name, true, file + ", " + bytes_text(file) + ", sound and writable"};
}

std::optional<std::u16string_view> missing_machine_key() {
    for (const registry::key_place& place : registry::key_places) {
        if (place.root != predefined_root::local_machine) continue;
        if (place.key == tree_key::machine_account) continue;  // nobody misses what has defaults
        if (!open_existing(place.root, place.path)) return place.path;
    }
    return std::nullopt;
}

// It need not be writable: an installer wrote it.
check check_machine_store() {
    const std::string name = "machine store";
    const std::string file = registry::store_file(predefined_root::local_machine);
    try {
        if (const auto missing = missing_machine_key()) {
            return {name, false,
                    file + " lacks the key '" + utf8_of(*missing) +
                        "': install the product again, or remove the file"};
        }
    } catch (const registry::generic& error) {
        return {name, false,
                file + " does not open: " + in_plain_words(error) +
                    "; see to the rights of the file and its folder"};
    }
    const char* const rights =
        may_write(file, W_OK) ? ", sound and writable" : ", sound, read only";
    return {name, true, file + ", " + bytes_text(file) + rights};
}

check check_log_folder() {
    const std::string folder = paths::user_state("Logs");
    if (!may_write(folder, W_OK | X_OK)) {
        return {"log folder", false, folder + " cannot be written: see to its rights"};
    }
    return {"log folder", true, folder + ", writable"};
}

check check_log_file() {
    const std::string file = paths::user_state("Logs") + log_file;
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (status.type() == fs::file_type::not_found)
        return {"log file", true, file + ", not yet begun"};
    if (!fs::is_regular_file(status) || !may_write(file, W_OK)) {
        return {"log file", false, file + " cannot be written: see to its rights, or remove it"};
    }
    return {"log file", true, file + ", " + bytes_text(file)};
}

check check_dump_folder() {
    const std::string folder = paths::user_state("Dumps");
    if (!may_write(folder, W_OK | X_OK)) {
        return {"dump folder", false, folder + " cannot be written: see to its rights"};
    }
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    std::size_t dumps = 0;
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        if (entry->path().extension() == dump_extension) ++dumps;
    }
    if (error) return {"dump folder", false, folder + " cannot be read: " + error.message()};
    const std::string found =
        dumps == 0 ? "no dumps" : "dumps of crashes: " + std::to_string(dumps);
    return {"dump folder", true, folder + ", writable, " + found};
}

std::uint32_t number_of(const registry::setting& row) {
    const registry::key_place& place = registry::place_of(row.key);
    const auto key = open_existing(place.root, place.path);
    return key ? key->get_integer(row.name, row.integer_default, registry::write_back::no)
               : row.integer_default;
}

check check_debug_mode() {
    const std::uint32_t mode = number_of(registry::setting_of(tree_key::user_root, u"Debug Mode"));
    if (mode == 0) return {"debug mode", true, "off"};
    const char* const tells =
        mode == 2 ? ": the log tells all and shows the messages" : ": the log tells all";
    return {"debug mode", true, std::to_string(mode) + tells};
}

check check_threshold() {
    const auto threshold = static_cast<std::uint16_t>(
        number_of(registry::setting_of(tree_key::user_thresholds, u"Filter")));
    const std::string text = std::to_string(threshold);
    if (threshold > highest_rating) {
        return {"threshold", false,
                text +
                    " is above every rating, so nothing is blocked: set it by "
                    "'registry set Thresholds Filter 50'"};
    }
    return {"threshold", true, text};
}

check check_account() {
    if (account::is_server_named())
        return {"account", true, "a server is named: 'account login' asks it"};
    return {"account", true, "off, " + no_server_named()};
}

check check_community() {
    const std::string name = "community";
    const std::string how = ": 'community use HOST' has messages looked up";
    const community_settings settings = read_community_settings();
    if (!settings.is_named()) {
        if (settings.refresh == 0) return {name, true, "off, the local tests rate alone" + how};
        return {name, false, "servers are searched for, but none is named" + how};
    }
    if (!settings.is_on()) {
        return {name, true, "off, though servers are named (" + settings.servers + ")" + how};
    }
    const auto found = find_servers(settings);
    if (found.servers.empty()) return {name, false, why_none(found, settings)};
    std::string text = "on, " + settings.servers +
                       "; servers that answer: " + std::to_string(found.servers.size());
    text += ", the fastest in " + std::to_string(found.servers.begin()->first) + " ms";
    if (found.unreachable != 0) text += ", that do not: " + std::to_string(found.unreachable);
    return {name, true, text};
}

// A check that could not be made tells so, and the others go on.
check made(const char* name, check (*make)()) {
    try {
        return make();
    } catch (const registry::generic& error) {
        return {name, false, "cannot be read: " + in_plain_words(error)};
    } catch (const paths::path_error& error) {
        return {name, false, std::string(error.what()) + ": see to its rights"};
    } catch (const std::exception& error) {
        return {name, false, error.what()};
    }
}

check check_character_sets() {
    const std::string version = replay::platform::icu_version();
    if (!version.empty()) return {"ICU", true, version};
    return {"ICU", false,
            "cannot be opened, so most character sets cannot be read: install libicu"};
}

check check_pictures() {
    const analysis::plugins::image_analysis::picture_decoder decoder;
    if (decoder.is_ready()) return {"FreeImage", true, "pictures are looked at"};
    return {"FreeImage", false,
            "cannot be opened, so nobody looks at pictures: install libfreeimage3"};
}

check check_languages() {
    const language::manager recognition({}, {}, {});
    return {"CLD2", true, "languages are recognised"};
}

std::vector<check> all_checks(const doctor_options& options) {
    const store_messages messages;
    std::vector<check> checks{{"program", true, "brindlemoss " + options.version}};
    checks.push_back(made("ICU", check_character_sets));
    checks.push_back({"SQLite", true, sqlite3_libversion()});
    checks.push_back(made("FreeImage", check_pictures));
    checks.push_back(made("CLD2", check_languages));
    checks.push_back(made("user store", check_user_store));
    checks.push_back(made("machine store", check_machine_store));
    checks.push_back(made("log folder", check_log_folder));
    checks.push_back(made("log file", check_log_file));
    checks.push_back(made("dump folder", check_dump_folder));
    checks.push_back(made("debug mode", check_debug_mode));
    checks.push_back(made("threshold", check_threshold));
    checks.push_back(made("community", check_community));
    checks.push_back(made("account", check_account));
    for (const std::string& line : messages.lines()) checks.push_back({"store", false, line});
    return checks;
}

std::string as_json(const std::vector<check>& checks, bool all_ok) {
    json_writer json;
    json.begin_object().key("ok").boolean(all_ok).key("checks").begin_array();
    for (const check& each : checks) {
        json.begin_object().key("name").utf8(each.name).key("ok").boolean(each.ok);
        json.key("text").utf8(each.text).end_object();
    }
    return json.end_array().end_object().line() + "\n";
}

std::string as_text(const std::vector<check>& checks) {
    constexpr std::size_t name_width = 15;
    std::string text;
    for (const check& each : checks) {
        std::string name = each.name;
        name.resize(std::max(name.size() + 1, name_width), ' ');
        text.append(name).append(each.ok ? "ok     " : "WRONG  ");
        text.append(printable(each.text)).append("\n");
    }
    return text;
}

}  // namespace

CLI::App* add_doctor(CLI::App& program, doctor_options& options) {
    CLI::App* command = program.add_subcommand(
        "doctor", "Tell where everything lies, what works and what does not");
    command->add_flag("--json", options.json, "Print one JSON object");
    return command;
}

int run_doctor(const doctor_options& options) {
    const std::vector<check> checks = all_checks(options);
    const bool all_ok =
        std::all_of(checks.begin(), checks.end(), [](const check& each) { return each.ok; });
    print(options.json ? as_json(checks, all_ok) : as_text(checks));
    flush_output();
    return all_ok ? exit_done : exit_bad_input;
}

}  // namespace brindlemoss::cli
