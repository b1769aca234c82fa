#include "cli/language_command.h"

#include <optional>

#include "cli/console.h"
#include "cli/inputs.h"
#include "cli/json_writer.h"
#include "cli/language_choice.h"
#include "cli/registry_access.h"
#include "foundation/module.h"
#include "message/part.h"
#include "services/language_manager.h"
#include "services/language_numbers.h"

namespace brindlemoss::cli {

namespace registry = replay::registry2;
using language::numbered_language;
using replay::internet::message2::part;
using services::language_manager;

namespace {

void write_language(std::uint32_t number, json_writer& json) {
    const numbered_language* const known = language::language_of_number(number);
    json.key("lcid").unsigned_number(number).key("tag");
    if (known == nullptr) {
        json.null().key("name").null();
    } else {
        json.utf8(known->tag).key("name").utf8(known->name);
    }
}

// "1049   ru       Russian"
std::string line_of(const numbered_language& each) {
    std::string line = std::to_string(each.number);
    line.resize(7, ' ');
    line.append(each.tag);
    line.resize(16, ' ');
    return line.append(each.name);
}

std::string line_of(const std::u16string& entry) {
    const std::uint32_t number = services::language_of_entry(entry);
    if (const auto* const known = language::language_of_number(number)) return line_of(*known);
    return shown(entry) + "  (no language that mail can be in)";
}

std::string_view heading(const language_choice& choice) {
    if (choice.entries.empty()) return "Mail in every language is accepted.\n";
    switch (choice.mode) {
        case refuses_listed:
            return "Mail in these languages is refused, in every other accepted:\n";
        case accepts_only_listed:
            return "Only mail in these languages is accepted, and mail whose language cannot be "
                   "told:\n";
        default:
            return "Mail in every language is accepted: the mode is neither 0 nor 1. The list, "
                   "which does not count:\n";
    }
}

std::string choice_as_text(const language_choice& choice) {
    std::string text(heading(choice));
    for (const std::u16string& entry : choice.entries) text.append(line_of(entry)).append("\n");
    return text;
}

std::string choice_as_json(const language_choice& choice) {
    json_writer json;
    json.begin_object().key("mode").unsigned_number(choice.mode).key("languages").begin_array();
    for (const std::u16string& entry : choice.entries) {
        json.begin_object().key("entry").text(entry);
        write_language(services::language_of_entry(entry), json);
        json.end_object();
    }
    return json.end_array().end_object().line() + "\n";
}

void print_choice(const language_options& options) {
    const language_choice choice = read_language_choice();
    print(options.json ? choice_as_json(choice) : choice_as_text(choice));
}

void print_all(const language_options& options) {
    for (const numbered_language& each : language::numbered_languages()) {
        if (each.number == 0) continue;
        if (!options.json) {
            print(line_of(each) + "\n");
            continue;
        }
        json_writer json;
        json.begin_object();
        write_language(each.number, json);
        print(json.end_object().line() + "\n");
    }
}

std::optional<input_fault> classify_message(const raw_message& message, bool as_json) {
    std::uint32_t number = 0;
    try {
        part parsed(message.text);
        number = language_manager::instance().classify(parsed);
    } catch (const language::manager::generic&) {
        throw;
    } catch (const replay::exception& error) {
        return input_fault{error.what()};
    }
    if (as_json) {
        json_writer json;
        json.begin_object().key("file").utf8(message.name);
        write_language(number, json);
        print(json.end_object().line() + "\n");
        return std::nullopt;
    }
    const numbered_language* const known = language::language_of_number(number);
    std::string line = std::to_string(number);
    line.resize(7, ' ');
    line.append(known != nullptr ? known->name : "(unknown)");
    print(line.append("  ").append(printable(message.name)).append("\n"));
    return std::nullopt;
}

int classify(const language_options& options) {
    module::instance().load(module::armed_by::program);
    return for_each_input(
        find_inputs(options.paths),
        [&](const raw_message& message) { return classify_message(message, options.json); },
        options.json ? fault_as_json : nullptr);
}

void show_or_change(const language_options& options) {
    using action = language_options::action;
    if (options.wanted == action::list && options.all) return print_all(options);
    if (options.wanted != action::list) {
        const bool refuses = options.wanted == action::refuse;
        change_languages(refuses ? language_wish::refuse : language_wish::accept,
                         options.languages);
    }
    print_choice(options);
}

}  // namespace

int run_language(const language_options& options) {
    if (options.wanted == language_options::action::classify) {
        try {
            return classify(options);
        } catch (const language::manager::generic& error) {
            flush_output();
            complain("languages cannot be told: " + printable(error.message()));
            return exit_fault;
        }
    }
    return with_stores([&] {
        show_or_change(options);
        return int{exit_done};
    });
}

}  // namespace brindlemoss::cli
