#include "cli/call_command.h"

#include <brindlemoss/component.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <span>
#include <type_traits>
#include <variant>

#include "cli/call_arguments.h"
#include "cli/class_list.h"
#include "cli/console.h"
#include "cli/json_writer.h"
#include "cli/registry_access.h"
#include "component/class_row.h"
#include "component/description.h"
#include "foundation/ascii.h"
#include "foundation/module.h"

namespace brindlemoss::cli {

using component::argument;
using component::method_description;
using component::parameter;
using component::value;

namespace {

std::unique_ptr<component::object> object_named(const std::string& class_name) {
    try {
        return component::create_object(class_name);
    } catch (const component::unknown_class&) {
        throw refusal("there is no class '" + printable(class_name) +
                      "': 'brindlemoss call --list' shows those there are");
    }
}

const method_description& method_named(const component::object& object, const std::string& name) {
    const component::class_description& described = object.description();
    for (const method_description& each : described.methods) {
        if (replay::ascii::equals_ignoring_case(each.name, name)) return each;
    }
    std::string there_are;
    for (const method_description& each : described.methods) {
        there_are.append(there_are.empty() ? "" : ", ").append(each.name);
    }
    throw refusal(std::string(described.prog_id) + " has no method '" + printable(name) +
                  "'; it has " + there_are);
}

bool suits(const argument& given, component::value_type type) {
    switch (type) {
        case component::value_type::text: return std::holds_alternative<std::u16string_view>(given);
        case component::value_type::number: return std::holds_alternative<std::int32_t>(given);
        case component::value_type::yes_or_no: return std::holds_alternative<bool>(given);
    }
    return false;
}

// Throws refusal where the method does not take the arguments.
void check(const method_description& method, std::span<const argument> given) {
    const auto refuse = [&](const std::string& what) {
        return refusal(std::string(method.name) + " takes " + what + ": " +
                       component::signature(method));
    };
    std::size_t wanted = 0;
    for (const parameter& each : method.parameters) {
        if (!component::is_given(each.way)) continue;
        if (wanted < given.size() && !suits(given[wanted], each.type)) {
            throw refuse("a " + std::string(component::name_of(each.type)) + " as " + each.name);
        }
        ++wanted;
    }
    if (wanted != given.size()) {
        throw refuse(std::to_string(wanted) + (wanted == 1 ? " argument" : " arguments") +
                     ", not " + std::to_string(given.size()));
    }
}

std::vector<argument> views_of(std::span<const value> values) {
    std::vector<argument> views;
    for (const value& each : values) {
        views.push_back(std::visit([](const auto& held) { return argument(held); }, each));
    }
    return views;
}

void write(const value& each, json_writer& json) {
    if (const auto* text = std::get_if<std::u16string>(&each)) {
        json.text(*text);
    } else if (const auto* number = std::get_if<std::int32_t>(&each)) {
        json.number(*number);
    } else if (const auto* truth = std::get_if<bool>(&each)) {
        json.boolean(*truth);
    } else {
        json.null();
    }
}

bool has_result(const method_description& method) {
    return std::any_of(
        method.parameters.begin(), method.parameters.end(),
        [](const parameter& each) { return each.way == component::direction::result; });
}

std::string as_json(component::status outcome, const method_description& method,
                    std::span<const value> results) {
    json_writer json;
    json.begin_object().key("status").unsigned_number(outcome).key("result");
    if (has_result(method) && !results.empty()) {
        write(results.front(), json);
        results = results.subspan(1);
    } else {
        json.null();
    }
    json.key("out").begin_array();
    for (const value& each : results) write(each, json);
    return json.end_array().end_object().line() + "\n";
}

void call(const call_options& options) {
    const std::unique_ptr<component::object> object = object_named(options.class_name);
    const method_description& method = method_named(*object, options.method);
    const std::vector<value> values = read_call_arguments(options.arguments);
    const std::vector<argument> arguments = views_of(values);
    check(method, arguments);

    module::instance().load(module::armed_by::program);
    std::vector<value> results;
    const component::status outcome = object->invoke(method.name, arguments, results);
    if (outcome == component::invalid_call) {
        throw refusal(std::string(method.name) + " could not be called");
    }
    print(as_json(outcome, method, results));
}

void list(const call_options& options) {
    if (!options.class_name.empty()) throw refusal("'call --list' takes no class");
    if (options.idl) return print(component::interface_description());
    print(options.json ? class_list_json() : class_list());
}

void act(const call_options& options) {
    if (options.list || options.idl) return list(options);
    if (options.method.empty()) {
        throw refusal("'call' takes a class and a method: 'brindlemoss call --list' shows them");
    }
    call(options);
}

}  // namespace

CLI::App* add_call(CLI::App& program, call_options& options) {
    CLI::App* command =
        program.add_subcommand("call", "Call a method of a class of the component by its name");
    command->add_option("PROGID", options.class_name, "The class, such as Brindlemoss.Filter");
    command->add_option("METHOD", options.method, "The method, such as Score");
    command->add_option("ARG", options.arguments,
                        "A JSON value, a text as it stands, or @FILE for the bytes of a file");
    command->add_flag("--list", options.list, "Print the classes and their methods");
    command->add_flag("--idl", options.idl, "Print them as an interface description");
    command->add_flag("--json", options.json, "Print one JSON object a line");
    command->footer(
        "Prints one JSON object: \"status\", \"result\", and in \"out\" what else the method "
        "gives.\n"
        "@- is standard input. Put -- before an argument that begins with a dash.");
    return command;
}

int run_call(const call_options& options) {
    return with_stores([&] {
        act(options);
        return int{exit_done};
    });
}

}  // namespace brindlemoss::cli
