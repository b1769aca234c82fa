#include "cli/parse_command.h"

#include <CLI/CLI.hpp>
#include <optional>
#include <typeinfo>
#include <vector>

#include "cli/console.h"
#include "cli/inputs.h"
#include "cli/json_writer.h"
#include "foundation/md5.h"
#include "message/character_set.h"
#include "message/part.h"
#include "platform/type_name.h"

namespace brindlemoss::cli {

namespace unicode = replay::unicode;
using replay::md5;
using replay::internet::message2::attachment_info;
using replay::internet::message2::header;
using replay::internet::message2::part;

namespace {

// A header that cannot be read counts as missing.
attachment_info readable_attachment(const part& item) {
    try {
        return item.attachment();
    } catch (const replay::exception&) {
        return {};
    }
}

void write_node(const part& item, json_writer& json) {
    json.begin_object();
    json.key("content_type").byte_text(item.content_type);
    json.key("charset").byte_text(item.charset);
    json.key("boundary").byte_text(item.boundary);
    json.key("headers").begin_array();
    for (const header& each : item.headers) {
        json.begin_array().byte_text(each.name).byte_text(each.value).end_array();
    }
    json.end_array();
    json.key("body_size").number(static_cast<std::int64_t>(item.body.size()));
    json.key("body_md5").utf8(md5(item.body).hex());

    const attachment_info attachment = readable_attachment(item);
    json.key("attachment").begin_object();
    json.key("is_attachment").boolean(attachment.is_attachment);
    json.key("name").text(attachment.name).end_object();

    json.key("children").begin_array();
    for (const part& child : item.children) write_node(child, json);
    json.end_array().end_object();
}

std::string unparse_digest(const part& message) {
    return md5(message.unparse_text()).hex();
}

void write_outline(const part& item, std::size_t depth, std::string& lines) {
    std::string line(depth * 2, ' ');
    line += item.content_type;
    if (item.content_type.starts_with("text/")) line += "; charset=" + item.charset;
    line += ", " + std::to_string(item.body.size()) + " bytes";
    const attachment_info attachment = readable_attachment(item);
    if (!attachment.name.empty()) {
        line += ", \"" + unicode::from_wide(attachment.name, unicode::utf8) + "\"";
    }
    if (attachment.is_attachment) line += ", attachment";
    lines += printable(line) + "\n";
    for (const part& child : item.children) write_outline(child, depth + 1, lines);
}

std::string as_json(std::string_view name, const part& message) {
    json_writer json;
    json.begin_object().key("file").utf8(name);
    const std::string digest = unparse_digest(message);
    json.key("tree");
    write_node(message, json);
    json.key("unparse_md5").utf8(digest);
    return json.end_object().line() + "\n";
}

std::string as_outline(std::string_view name, const part& message) {
    std::string lines = printable(name) + "\n";
    write_outline(message, 1, lines);
    return lines;
}

std::string class_and_message(const std::string& path, const input_fault& fault) {
    json_writer json;
    json.begin_object().key("file").utf8(path);
    json.key("error").utf8(fault.exception).key("message").utf8(fault.what);
    return json.end_object().line() + "\n";
}

std::optional<input_fault> print_tree(const raw_message& message, bool as_json_line) try {
    const part parsed(message.text);
    print(as_json_line ? as_json(message.name, parsed) : as_outline(message.name, parsed));
    return std::nullopt;
} catch (const replay::exception& error) {
    return input_fault{error.message(), replay::platform::type_name(typeid(error))};
}

}  // namespace

CLI::App* add_parse(CLI::App& program, parse_options& options) {
    CLI::App* command = program.add_subcommand("parse", "Print the tree of parts of each message");
    command
        ->add_option("PATH", options.paths, "Files, folders (Maildir too), or - for standard input")
        ->required();
    command->add_flag("--json", options.json, "Print one JSON object a message");
    return command;
}

int run_parse(const parse_options& options) {
    return for_each_input(
        find_inputs(options.paths),
        [&](const raw_message& message) { return print_tree(message, options.json); },
        options.json ? class_and_message : nullptr);
}

}  // namespace brindlemoss::cli
