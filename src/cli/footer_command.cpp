#include "cli/footer_command.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <optional>
#include <string_view>

#include "account/document_fetch.h"
#include "cli/account_faults.h"
#include "cli/account_server.h"
#include "cli/console.h"
#include "cli/inputs.h"
#include "cli/json_writer.h"
#include "foundation/module.h"
#include "services/footer_engine.h"

namespace brindlemoss::cli {

using services::footer_engine;
using services::footer_outcome;

namespace {

std::string why_disabled(const footer_engine& engine, const account_faults& faults) {
    if (!account::is_server_named()) return no_server_named();
    const std::string told = faults.text();
    return engine.why_disabled() + (told.empty() ? "" : "; the account: " + told);
}

// Empty where the footer was added.
std::string reason_of(footer_outcome outcome, const footer_engine& engine,
                      const account_faults& faults) {
    switch (outcome) {
        case footer_outcome::added: return {};
        case footer_outcome::no_place:
            return "it has neither plain text nor HTML with an end of its body";
        case footer_outcome::not_enabled: return why_disabled(engine, faults);
        case footer_outcome::news_posting: return "it is a news posting";
        case footer_outcome::signed_mail: return "it is signed, and would not be as it was signed";
        case footer_outcome::already_there: return "it has one already";
        case footer_outcome::no_plain_text: return "the wording has none for plain text";
    }
    return {};
}

// Leaves in `with_footer` the message with its footer and gives nothing, or tells why there is
// none.
std::string why_not_added(std::string_view message, std::string& with_footer) {
    const account_faults faults;
    try {
        // Where nobody named a server there is nobody to wait for.
        if (!may_have_document()) return no_server_named();
        // The first call waits for the network.
        const obey_interrupts obeying;
        footer_engine::instance();
    } catch (const std::exception& error) {
        return error.what();
    }
    try {
        with_footer = message;
        const footer_engine& engine = footer_engine::instance();
        return reason_of(engine.insert_and_tell(with_footer), engine, faults);
    } catch (const std::exception& error) {
        return std::string("it cannot be read: ") + error.what();
    }
}

void print_message(std::string_view name, std::string_view text, const std::string& reason,
                   const footer_options& options) {
    if (!options.json) return print(text);
    json_writer json;
    json.begin_object().key("file").utf8(name).key("added").boolean(reason.empty());
    if (!reason.empty()) json.key("reason").utf8(reason);
    print(json.key("mail").byte_text(text).end_object().line() + "\n");
}

}  // namespace

CLI::App* add_footer(CLI::App& program, footer_options& options) {
    CLI::App* command =
        program.add_subcommand("footer", "Print a message with the footer for mail that goes out");
    command->add_option("PATH", options.path, "A file, or - for standard input")->required();
    command->add_flag("--json", options.json, "Print one JSON object");
    command->footer(
        "The account's server says what the footer is. Where there is none to be had, or the\n"
        "message is to have none, it is printed as it is; standard error tells why, and the exit\n"
        "code is 0.");
    return command;
}

int run_footer(const footer_options& options) {
    module::instance().load(module::armed_by::program);
    const auto add_and_print = [&](const raw_message& message) -> std::optional<input_fault> {
        std::string with_footer;
        const std::string reason = why_not_added(message.text, with_footer);
        print_message(message.name, reason.empty() ? with_footer : message.text, reason, options);
        flush_output();
        if (!reason.empty()) {
            complain("no footer in '" + printable(message.name) + "': " + printable(reason));
        }
        return std::nullopt;
    };
    return for_each_input(std::vector<input>{{options.path, {}}}, add_and_print,
                          options.json ? fault_as_json : nullptr);
}

}  // namespace brindlemoss::cli
