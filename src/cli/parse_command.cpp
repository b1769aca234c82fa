#include "cli/parse_command.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <typeinfo>

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

std::string as_json(std::string_view name, std::string_view raw) {
    json_writer json;
    json.begin_object().key("file").utf8(name);
    try {
        const part message(raw);
        const std::string digest = unparse_digest(message);
        json.key("tree");
        write_node(message, json);
        json.key("unparse_md5").utf8(digest);
    } catch (const replay::exception& error) {
        json.key("error").utf8(replay::platform::type_name(typeid(error)));
        json.key("message").utf8(error.message());
    }
    json.end_object();
    return json.line() + "\n";
}

std::string as_outline(std::string_view name, std::string_view raw) {
    std::string lines = printable(name) + "\n";
    try {
        write_outline(part(raw), 1, lines);
    } catch (const replay::exception& error) {
        lines += "  " + replay::platform::type_name(typeid(error)) + ": " + error.message() + "\n";
    }
    return lines;
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
    int code = exit_done;
    for (const input& source : find_inputs(options.paths)) {
        if (interrupted()) return exit_interrupted;
        const std::string error =
            for_each_message(source, file_format::one_message, [&](const raw_message& message) {
                print(options.json ? as_json(message.name, message.text)
                                   : as_outline(message.name, message.text));
            });
        if (error.empty()) continue;
        if (options.json) print(json_error_line(source.path, error));
        flush_output();
        complain("cannot read '" + printable(source.path) + "': " + error);
        code = exit_bad_input;
    }
    flush_output();
    return code;
}

}  // namespace brindlemoss::cli
