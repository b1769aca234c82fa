#include "cli/vote_command.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstddef>
#include <exception>
#include <string_view>
#include <utility>

#include "analysis/filter_engine.h"
#include "cli/community_settings.h"
#include "cli/console.h"
#include "cli/inputs.h"
#include "cli/json_writer.h"
#include "community/communication.h"
#include "community/errors.h"
#include "foundation/module.h"
#include "foundation/registry.h"
#include "message/part.h"

namespace brindlemoss::cli {

using analysis::filter_engine;

namespace {

constexpr std::chrono::seconds patience(10);

// What became of a vote.
struct outcome {
    std::string fault;     // what went wrong here, empty where nothing did
    std::string not_sent;  // why the community does not get it, empty where it does
};

const char* why_lost(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const analysis::community::discovery_pending&) {
        return "no server answers";
    } catch (const analysis::community::too_large&) {
        return "the message is too large for a datagram";
    } catch (...) {
        return "the system could not send it";
    }
}

bool is_community_named() {
    try {
        return read_community_settings().is_named();
    } catch (const replay::registry2::generic&) {
        return true;  // the vote tells what is wrong
    }
}

class ballot {
public:
    explicit ballot(const vote_options& options) : is_spam_(options.verdict == "spam") {}

    outcome vote_on(std::string_view raw) {
        try {
            const replay::internet::message2::part message(raw);
            const filter_engine& engine = filter_engine::instance();
            if (is_spam_ ? engine.report(message) : engine.revoke(message)) {
                return {"", why_not_sent()};
            }
            return {"not all of the vote was done, the log tells why", ""};
        } catch (const std::exception& error) {
            return {std::string("there is no message in it: ") + error.what(), ""};
        }
    }

    bool is_community_named() const { return is_community_named_; }

private:
    // Waits until the vote is sent or lost. Empty when it is sent.
    std::string why_not_sent() {
        const auto held = spam::communication::instance();
        if (!held->feedback().wait_until_done(patience)) return "it still waits to be sent";
        const spam::feedback_tally tally = held->feedback().tally();
        if (tally.failed == std::exchange(failed_, tally.failed)) return "";
        return is_community_named_ ? why_lost(tally.last_failure) : "no community is named";
    }

    const bool is_spam_;
    const bool is_community_named_ = cli::is_community_named();
    std::size_t failed_ = 0;
};

void print_vote(std::string_view name, const outcome& voted, const vote_options& options) {
    if (!options.json) {
        std::string line = options.verdict + "  " + printable(name);
        if (!voted.not_sent.empty())
            line.append("  (not sent: ").append(voted.not_sent).append(")");
        return print(line + "\n");
    }
    json_writer json;
    json.begin_object().key("file").utf8(name).key("vote").utf8(options.verdict);
    json.key("sent").boolean(voted.not_sent.empty());
    if (!voted.not_sent.empty()) json.key("not_sent").utf8(voted.not_sent);
    print(json.end_object().line() + "\n");
}

void print_failure(std::string_view name, const std::string& what, const vote_options& options) {
    if (options.json) print(json_error_line(name, what));
    flush_output();
    complain("'" + printable(name) + "': " + printable(what));
}

// False if anything went wrong.
bool vote_on_input(const input& source, const vote_options& options, ballot& votes) {
    const auto format = options.mailbox ? file_format::mailbox : file_format::one_message;
    bool all_done = true;
    const std::string error = for_each_message(source, format, [&](const raw_message& message) {
        if (interrupted()) return;
        const outcome voted = votes.vote_on(message.text);
        if (voted.fault.empty()) {
            print_vote(message.name, voted, options);
            // Who wants no community misses nothing.
            if (voted.not_sent.empty() || !votes.is_community_named()) return;
            flush_output();
            complain("'" + printable(message.name) + "': not sent: " + voted.not_sent);
        } else {
            print_failure(message.name, voted.fault, options);
        }
        all_done = false;
    });
    if (error.empty()) return all_done;
    print_failure(source.path, "cannot be read: " + error, options);
    return false;
}

}  // namespace

CLI::App* add_vote(CLI::App& program, vote_options& options) {
    CLI::App* command = program.add_subcommand("vote", "Say that messages are spam, or are not");
    command->add_option("VERDICT", options.verdict, "spam or ham")
        ->required()
        ->check(CLI::IsMember({"spam", "ham"}));
    command
        ->add_option("PATH", options.paths, "Files, folders (Maildir too), or - for standard input")
        ->required();
    command->add_flag("--json", options.json, "Print one JSON object a message");
    command->add_flag("--mbox", options.mailbox,
                      "Split each file into messages at its \"From \" lines");
    command->footer(
        "A vote for ham puts the sender on the allowed list and takes it off the denied one;\n"
        "a vote for spam takes the sender's trust away. Where servers of the community are named,\n"
        "the vote goes there too.");
    return command;
}

int run_vote(const vote_options& options) {
    module::instance().load(module::armed_by::program);
    const std::vector<input> inputs = find_inputs(options.paths);
    bool all_done = true;
    ballot votes(options);
    progress shown(inputs.size());
    for (const input& each : inputs) {
        if (interrupted()) break;
        all_done &= vote_on_input(each, options, votes);
        shown.advance();
    }
    flush_output();
    if (interrupted()) return exit_interrupted;
    return all_done ? exit_done : exit_bad_input;
}

}  // namespace brindlemoss::cli
