#include "cli/registry_command.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "cli/console.h"
#include "cli/inputs.h"
#include "cli/json_writer.h"
#include "cli/registry_access.h"
#include "cli/registry_document.h"
#include "cli/registry_value.h"
#include "foundation/ascii.h"
#include "foundation/registry_values.h"

namespace brindlemoss::cli {

namespace registry = replay::registry2;
namespace value_type = replay::platform::value_type;
using registry::predefined_root;
using registry::when_missing;
using replay::platform::stored_value;

namespace {

struct target {
    predefined_root root;
    std::u16string path;  // below the program's root, empty for that itself
};

std::u16string full_path(std::u16string_view path) {
    std::u16string full(registry::root_path);
    if (!path.empty()) full.append(u"\\").append(path);
    return full;
}

std::u16string wide_name_argument(std::string_view text) {
    try {
        return wide_argument(text);
    } catch (const unfit_data& error) {
        throw refusal("'" + printable(text) + "': " + error.what());
    }
}

std::u16string path_of(std::string_view argument) {
    if (argument == ".") return {};
    std::u16string path;
    bool begins_name = true;
    for (const char16_t unit : wide_name_argument(argument)) {
        if (unit == u'\\' || unit == u'/') {
            begins_name = true;
            continue;
        }
        if (begins_name && !path.empty()) path += u'\\';
        begins_name = false;
        path += unit;
    }
    return path;
}

target target_of(const registry_options& options) {
    return {options.machine ? predefined_root::local_machine : predefined_root::current_user,
            path_of(options.key)};
}

std::string in_quotes(std::u16string_view name) {
    return "'" + printable(utf8_of(name)) + "'";
}

std::string key_text(const target& where) {
    return where.path.empty() ? "the root" : "the key " + in_quotes(where.path);
}

using key_pointer = std::unique_ptr<const registry::key>;

// nullptr only for a root that nothing has been written to.
key_pointer open_or_empty_root(const target& where) {
    key_pointer key = open_existing(where.root, full_path(where.path));
    if (!key && !where.path.empty()) throw refusal("there is no key " + in_quotes(where.path));
    return key;
}

stored_value existing_value(const target& where, std::u16string_view name) {
    const key_pointer key = open_or_empty_root(where);
    const std::optional<stored_value> value = key ? key->get_raw(name) : std::nullopt;
    if (!value) throw refusal("there is no value " + in_quotes(name) + " in " + key_text(where));
    return *value;
}

std::string text_of_value(std::u16string_view name, const stored_value& value) {
    std::string text = name.empty() ? "(no name)" : shown(name);
    text.append("  ").append(type_name(value.type));
    const std::vector<std::string> lines = shown_lines(value);
    const bool is_list = std::holds_alternative<registry::text_list>(decode(value));
    for (const std::string& line : lines) text.append(is_list ? "\n    " : "  ").append(line);
    return text + "\n";
}

void list_as_text(const registry::key& key) {
    for (const std::u16string& name : key.key_names()) print(shown(name) + "\\\n");
    for (const std::u16string& name : key.value_names()) {
        if (const auto value = key.get_raw(name)) print(text_of_value(name, *value));
    }
}

void list_as_json(const registry::key* key, std::u16string_view path) {
    json_writer json;
    json.begin_object().key("key").text(path).key("keys").begin_array();
    const auto keys = key ? key->key_names() : std::vector<std::u16string>();
    for (const std::u16string& name : keys) json.text(name);
    json.end_array().key("values").begin_array();
    const auto values = key ? key->value_names() : std::vector<std::u16string>();
    for (const std::u16string& name : values) {
        const std::optional<stored_value> value = key->get_raw(name);
        if (!value) continue;  // deleted meanwhile
        json.begin_object().key("name").text(name);
        write_value_fields(*value, json);
        json.end_object();
    }
    json.end_array().end_object();
    print(json.line() + "\n");
}

void list(const registry_options& options) {
    const target where = target_of(options);
    const key_pointer key = open_or_empty_root(where);
    if (options.json) {
        list_as_json(key.get(), where.path);
    } else if (key) {
        list_as_text(*key);
    }
}

void get(const registry_options& options) {
    const target where = target_of(options);
    const std::u16string name = wide_name_argument(options.value.value_or(""));
    const stored_value value = existing_value(where, name);
    if (!options.json) {
        for (const std::string& line : shown_lines(value)) print(line + "\n");
        return;
    }
    json_writer json;
    json.begin_object().key("key").text(where.path).key("name").text(name);
    write_value_fields(value, json);
    json.end_object();
    print(json.line() + "\n");
}

bool same_name(std::u16string_view left, std::u16string_view right) {
    return replay::ascii::equals_ignoring_case(registry::utf8_name(left),
                                               registry::utf8_name(right));
}

std::int32_t type_in_table(const target& where, std::u16string_view name) {
    const std::u16string path = full_path(where.path);
    for (const registry::setting& row : registry::settings) {
        const registry::key_place& place = registry::place_of(row.key);
        if (place.root != where.root || !same_name(place.path, path)) continue;
        if (!same_name(row.name, name)) continue;
        if (row.type == registry::kind::integer) return value_type::integer;
        if (row.type == registry::kind::multi_text) return value_type::multi_text;
    }
    return value_type::text;
}

std::int32_t type_to_set(const registry_options& options, const target& where,
                         std::u16string_view name) {
    if (!options.type.empty()) {
        const std::optional<std::int32_t> type = type_named(options.type);
        if (!type) throw refusal("there is no type '" + printable(options.type) + "'");
        return *type;
    }
    const key_pointer key = open_existing(where.root, full_path(where.path));
    const std::optional<stored_value> value = key ? key->get_raw(name) : std::nullopt;
    return value && value->type != value_type::none ? value->type : type_in_table(where, name);
}

void set(const registry_options& options) {
    const target where = target_of(options);
    const std::u16string name = wide_name_argument(options.value.value_or(""));
    const std::int32_t type = type_to_set(options, where, name);
    try {
        const stored_value value = value_of_arguments(type, options.data);
        registry::key(registry::key(where.root), full_path(where.path), when_missing::create)
            .set_raw(name, value);
    } catch (const unfit_data& error) {
        throw refusal("the value " + in_quotes(name) + " stays as it is: " + error.what());
    }
}

void remove_value(const target& where, std::u16string_view name) {
    existing_value(where, name);
    open_or_empty_root(where)->delete_value(name);
}

void remove(const registry_options& options) {
    const target where = target_of(options);
    if (options.value) return remove_value(where, wide_name_argument(*options.value));
    if (where.path.empty()) throw refusal("the root cannot be deleted");
    if (open_or_empty_root(where)->query_info().subkeys > 0) {
        throw refusal(key_text(where) + " stays: there are keys below it, delete them first");
    }
    registry::key(where.root).delete_key(full_path(where.path));
}

void export_key(const registry_options& options) {
    const target where = target_of(options);
    json_writer json;
    if (const key_pointer key = open_or_empty_root(where)) {
        write_document(*key, where.path, json);
    } else {
        json.begin_object().key("key").text(where.path);
        json.key("values").begin_array().end_array();
        json.key("keys").begin_array().end_array().end_object();
    }
    print(json.line() + "\n");
}

std::unique_ptr<registry_document> document_in(const std::string& file) {
    std::unique_ptr<registry_document> document;
    const std::string name = file == "-" ? "standard input" : "'" + printable(file) + "'";
    const std::string error =
        for_each_message({file, {}}, file_format::one_message, [&](const raw_message& whole) {
            try {
                document = std::make_unique<registry_document>(whole.text);
            } catch (const document_error& problem) {
                throw refusal("nothing of " + name + " is imported: " + printable(problem.what()));
            }
        });
    if (!error.empty()) throw refusal("cannot read " + name + ": " + error);
    return document;
}

struct import_counts {
    std::size_t keys = 0;
    std::size_t values = 0;
};

import_counts write_all(const registry_document& document, predefined_root root) {
    const registry::key top(root);
    import_counts done;
    key_pointer key;
    std::u16string path;
    try {
        document.visit({[&](std::u16string_view next) {
                            path = next;
                            key = std::make_unique<const registry::key>(top, full_path(next),
                                                                        when_missing::create);
                            ++done.keys;
                        },
                        [&](std::u16string_view name, const stored_value& value) {
                            key->set_raw(name, value);
                            ++done.values;
                        }});
    } catch (const registry::generic& error) {
        throw refusal("the import ended at " + key_text({root, path}) + ", after " +
                      std::to_string(done.values) + " values: " + in_plain_words(error));
    }
    return done;
}

void import_file(const registry_options& options) {
    const auto document = document_in(options.file);
    const import_counts done = write_all(*document, target_of(options).root);
    if (!options.json) {
        print(std::to_string(done.values) + " values in " + std::to_string(done.keys) + " keys\n");
        return;
    }
    json_writer json;
    json.begin_object().key("keys").unsigned_number(done.keys);
    json.key("values").unsigned_number(done.values).end_object();
    print(json.line() + "\n");
}

void act(const registry_options& options) {
    using action = registry_options::action;
    switch (options.wanted) {
        case action::list: return list(options);
        case action::get: return get(options);
        case action::set: return set(options);
        case action::remove: return remove(options);
        case action::export_key: return export_key(options);
        case action::import_file: return import_file(options);
    }
}

}  // namespace

int run_registry(const registry_options& options) {
    return with_stores([&] {
        act(options);
        return int{exit_done};
    });
}

}  // namespace brindlemoss::cli
