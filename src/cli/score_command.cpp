#include "cli/score_command.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <string_view>

#include "analysis/filter_engine.h"
#include "cli/console.h"
#include "cli/inputs.h"
#include "cli/json_writer.h"
#include "cli/ordered_work.h"
#include "component/rating.h"
#include "foundation/module.h"
#include "message/character_set.h"
#include "message/part.h"

namespace brindlemoss::cli {

using analysis::decision;
using analysis::filter_engine;
using analysis::verdict;

namespace {

constexpr unsigned most_jobs = 256;

// A file that holds one message, or a message of a mailbox.
struct scored_input {
    std::string lines;  // for standard output
    std::string error;  // for standard error; empty: the input was read
    bool reached_threshold = false;
};

std::string_view decision_name(decision settled_by) {
    switch (settled_by) {
        case decision::analysed: return "analysed";
        case decision::virus: return "virus";
        case decision::allowed_address: return "allowed_address";
        case decision::denied_address: return "denied_address";
        case decision::allowed_domain: return "allowed_domain";
        case decision::denied_domain: return "denied_domain";
        case decision::trusted: return "trusted";
        case decision::language: return "language";
        case decision::offline: return "offline";
        case decision::broken_header: return "broken_header";
        case decision::error: return "error";
    }
    return "error";
}

// A message that cannot even be parsed is no reason to hold it back.
verdict score_message(std::string_view raw, analysis::occasion when) {
    try {
        replay::internet::message2::part message(raw);
        return filter_engine::instance().score(message, when);
    } catch (const std::exception& error) {
        component::log_unhandled(error);
        verdict passed;
        passed.settled_by = decision::error;
        return passed;
    }
}

// What was settled without an analysis did not read the setting.
std::uint16_t threshold_for(const verdict& reached) {
    if (reached.settled_by == decision::analysed) return reached.threshold;
    try {
        return filter_engine::instance().threshold();
    } catch (const std::exception&) {
        return reached.threshold;
    }
}

void write_tests(const analysis::test_list& tests, json_writer& json) {
    json.key("tests").begin_array();
    for (const analysis::test& each : tests) {
        json.begin_object().key("name").text(each.name).key("score").number(each.score);
        json.key("detail").text(each.detail).end_object();
    }
    json.end_array();
}

void write_signatures(const analysis::signature_list& signatures, json_writer& json) {
    json.key("signatures").begin_array();
    for (const auto& each : signatures) {
        json.begin_object().key("kind").text(each.kind).key("digest").text(each.digest);
        json.key("comment").text(each.comment).key("matched").boolean(each.matched);
        if (each.matched) {
            json.key("id").unsigned_number(each.id);
            json.key("state").number(each.state);
            json.key("reports").number(static_cast<std::int32_t>(each.reports));
            json.key("revokes").number(static_cast<std::int32_t>(each.revokes));
            json.key("matches").number(static_cast<std::int32_t>(each.matches));
        }
        json.end_object();
    }
    json.end_array();
}

void write_report(const analysis::report& lines, json_writer& json) {
    json.key("report").begin_array();
    for (const analysis::report_line& each : lines) {
        json.begin_object().key("depth").number(each.depth).key("text").text(each.text);
        json.end_object();
    }
    json.end_array();
}

std::string json_line(std::string_view name, const verdict& reached, std::uint16_t threshold) {
    json_writer json;
    json.begin_object().key("file").utf8(name);
    json.key("rating").number(reached.rating).key("threshold").number(threshold);
    json.key("class");
    if (reached.class_name.empty()) {
        json.null();
    } else {
        json.text(reached.class_name);
    }
    json.key("decision").utf8(decision_name(reached.settled_by));
    write_tests(reached.tests, json);
    write_signatures(reached.signatures, json);
    write_report(reached.report, json);
    json.end_object();
    return json.line() + "\n";
}

std::string text_line(std::string_view name, const verdict& reached) {
    std::string what = replay::unicode::from_wide(reached.class_name, replay::unicode::utf8);
    if (what.empty()) what.append("(").append(decision_name(reached.settled_by)).append(")");
    std::array<char, 64> head;
    const int size =
        std::snprintf(head.data(), head.size(), "%3d  %-17s  ", int{reached.rating}, what.c_str());
    return std::string(head.data(), static_cast<std::size_t>(size)) + printable(name) + "\n";
}

std::string explanation(const verdict& reached) {
    std::string lines;
    for (const analysis::report_line& each : reached.report) {
        lines.append(printable(analysis::log_text(each))).append("\n");
    }
    return lines;
}

void score_into(scored_input& scored, const raw_message& message, const score_options& options) {
    const auto when = options.rescan ? analysis::occasion::again : analysis::occasion::first;
    const verdict reached = score_message(message.text, when);
    const std::uint16_t threshold = threshold_for(reached);
    if (reached.rating >= threshold) scored.reached_threshold = true;
    scored.lines += options.json ? json_line(message.name, reached, threshold)
                                 : text_line(message.name, reached);
    if (options.explain && !options.json) scored.lines += explanation(reached);
}

// What is printed for all inputs, some messages at a time.
class score_run {
public:
    explicit score_run(const score_options& options) : options_(options) {}

    void rate_files(const std::vector<input>& files) {
        run(files.size(), [&](std::size_t index) {
            scored_input scored;
            const std::string error = for_each_message(
                files[index], file_format::one_message,
                [&](const raw_message& message) { score_into(scored, message, options_); });
            return error.empty() ? scored : unread(files[index], error);
        });
    }

    void rate_mailbox(const input& file) {
        const std::string error = with_messages(
            file, file_format::mailbox, [&](const std::vector<std::string_view>& messages) {
                run(messages.size(), [&](std::size_t index) {
                    scored_input scored;
                    const std::string name = name_of(file, file_format::mailbox, index);
                    score_into(scored, {name, messages[index]}, options_);
                    return scored;
                });
            });
        if (!error.empty()) deliver(unread(file, error));
    }

    int exit_code() const {
        if (interrupted()) return exit_interrupted;
        if (has_errors_) return exit_bad_input;
        return options_.check && reached_threshold_ ? exit_at_threshold : exit_done;
    }

private:
    void run(std::size_t count, const std::function<scored_input(std::size_t)>& rate) {
        progress shown(count);
        const auto deliver_one = [&](const scored_input& scored) {
            deliver(scored);
            shown.advance();
        };
        ordered_work<scored_input>(rate, deliver_one, interrupted).run(count, options_.jobs);
    }

    scored_input unread(const input& file, const std::string& error) const {
        const input_fault fault{error};
        scored_input told;
        if (options_.json) told.lines = fault_as_json(file.path, fault);
        told.error = fault_as_text(file.path, fault);
        return told;
    }

    void deliver(const scored_input& scored) {
        print(scored.lines);
        if (!scored.error.empty()) {
            flush_output();
            complain(scored.error);
            has_errors_ = true;
        }
        reached_threshold_ = reached_threshold_ || scored.reached_threshold;
    }

    const score_options& options_;
    bool has_errors_ = false;
    bool reached_threshold_ = false;
};

}  // namespace

CLI::App* add_score(CLI::App& program, score_options& options) {
    CLI::App* command =
        program.add_subcommand("score", "Rate messages from 0 (pass) to 100 (spam)");
    command
        ->add_option("PATH", options.paths, "Files, folders (Maildir too), or - for standard input")
        ->required();
    command->add_flag("--json", options.json, "Print one JSON object a message");
    command->add_flag("--explain", options.explain,
                      "Print what the analysis of each message found");
    command->add_flag("--rescan", options.rescan, "Rate as messages that were rated before");
    command->add_flag("--check", options.check, "Exit with 1 if a rating reaches the threshold");
    command->add_flag("--mbox", options.mailbox,
                      "Split each file into messages at its \"From \" lines");
    command->add_option("--jobs", options.jobs, "Messages to work on at a time")
        ->check(CLI::Range(1u, most_jobs))
        ->capture_default_str();
    return command;
}

int run_score(const score_options& options) {
    module::instance().load(module::armed_by::program);
    const std::vector<input> inputs = find_inputs(options.paths);
    score_run run(options);
    if (options.mailbox) {
        for (const input& each : inputs) {
            if (interrupted()) break;
            run.rate_mailbox(each);
        }
    } else {
        run.rate_files(inputs);
    }
    flush_output();
    return run.exit_code();
}

}  // namespace brindlemoss::cli
