#include "foundation/registry_stores.h"

#include <unistd.h>

#include <functional>
#include <mutex>
#include <utility>

#include "foundation/registry.h"
#include "foundation/registry_values.h"
#include "platform/paths.h"
#include "platform/utf8.h"

namespace replay::registry2 {

namespace {

namespace paths = platform::paths;

constexpr char user_file[] = "/user.store";
constexpr char machine_file[] = "/machine.store";

struct open_trees {
    std::mutex mutex;  // guards all below
    std::shared_ptr<platform::store> user;
    std::shared_ptr<platform::store> machine;
    std::function<void(std::string_view)> sink;
    std::string last_complaint;
};

// Never destroyed: threads of a host may run until the very end of the process.
open_trees& trees() {
    static open_trees& all = *new open_trees;
    return all;
}

platform::stored_value default_of(const setting& row) {
    if (row.type == kind::text) return text_value(row.text_default);
    return integer_value(row.integer_default);
}

// What an installer would lay, but that nothing waits for servers that nobody chose.
std::vector<platform::initial_entry> machine_tree() {
    std::vector<platform::initial_entry> entries;
    for (const key_place& place : key_places) {
        if (place.root != predefined_root::local_machine) continue;
        entries.push_back({utf8_name(place.path), {}, std::nullopt});
        for (const setting& row : settings) {
            if (row.key != place.key) continue;
            entries.push_back({utf8_name(place.path), utf8_name(row.name), default_of(row)});
        }
    }
    constexpr const setting& refresh = setting_of(tree_key::machine_community, u"Refresh");
    entries.push_back({utf8_name(place_of(tree_key::machine_community).path),
                       utf8_name(refresh.name), integer_value(0)});
    return entries;
}

// The machine's own file if it may be read or can be made, otherwise one in the user's folder.
std::string machine_store_file() {
    std::string file = paths::machine() + machine_file;
    if (::access(file.c_str(), R_OK) == 0) return file;
    try {
        paths::make_machine();
    } catch (const paths::path_error&) {
        return paths::user_data() + machine_file;
    }
    const bool can_be_made =
        ::access(file.c_str(), F_OK) != 0 && ::access(paths::machine().c_str(), W_OK | X_OK) == 0;
    return can_be_made ? file : paths::user_data() + machine_file;
}

// Once for each fault, not for each message that meets it.
void complain(open_trees& all, const std::string& line) {
    if (line == all.last_complaint) return;
    all.last_complaint = line;
    platform::tell_user(all.sink, line);
}

std::shared_ptr<platform::store> open_user(open_trees& all) {
    platform::store_options options;
    options.message = all.sink;
    auto opened =
        std::make_shared<platform::store>(store_file(predefined_root::current_user), options);
    if (opened->read_only()) complain(all, "the store " + opened->file() + " can only be read");
    return opened;
}

// Users who may only read the machine's file must be able to without a write-ahead log.
std::shared_ptr<platform::store> open_machine(const open_trees& all) {
    constexpr unsigned readable_by_all = 0644;
    platform::store_options options;
    options.kept = platform::store_options::journal::rollback;
    options.mode = readable_by_all;
    options.initial = machine_tree();
    options.message = all.sink;
    return std::make_shared<platform::store>(store_file(predefined_root::local_machine), options);
}

}  // namespace

std::string store_file(predefined_root root) {
    if (root == predefined_root::local_machine) return machine_store_file();
    return paths::user_data() + user_file;
}

void set_message_sink(std::function<void(std::string_view)> sink) {
    open_trees& all = trees();
    const std::lock_guard lock(all.mutex);
    all.sink = std::move(sink);
}

std::shared_ptr<platform::store> open_tree(predefined_root root) {
    open_trees& all = trees();
    const std::lock_guard lock(all.mutex);
    const bool is_user = root == predefined_root::current_user;
    std::shared_ptr<platform::store>& tree = is_user ? all.user : all.machine;
    if (tree) return tree;
    try {
        tree = is_user ? open_user(all) : open_machine(all);
    } catch (const std::exception& error) {
        complain(all, error.what());
        throw;
    }
    return tree;
}

void close_trees() {
    open_trees& all = trees();
    const std::lock_guard lock(all.mutex);
    all.user.reset();
    all.machine.reset();
}

}  // namespace replay::registry2
