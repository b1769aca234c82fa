#include "cli/command_line.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace brindlemoss::cli {

namespace {

// CLI11 takes "[a,b]" for several arguments where an option takes many. A NUL behind it, which no
// argument can hold, keeps it whole until the option gets it.
std::string kept_whole(std::string argument) {
    if (argument.starts_with('[') && argument.ends_with(']')) argument += '\0';
    return argument;
}

std::string without_nul(std::string argument) {
    if (argument.ends_with('\0')) argument.pop_back();
    return argument;
}

void take_whole_arguments(CLI::App& command) {
    for (CLI::Option* option : command.get_options()) option->transform(without_nul);
    for (CLI::App* subcommand : command.get_subcommands({})) take_whole_arguments(*subcommand);
}

}  // namespace

command_line::command_line(const std::string& version, std::vector<std::string> arguments)
    : arguments_(std::move(arguments)),
      app_("Rates mail by what it is: the core of an anti-spam client.", "brindlemoss") {
    app_.set_version_flag("--version", version);
    app_.require_subcommand(1);
    app_.fallthrough();
    app_.add_flag("--json", options_.json, "Print one JSON object a line");
    app_.add_option("--home", options_.home, "Keep all lasting state below this folder")
        ->envname("BRINDLEMOSS_HOME");
    options_.doctor.version = version;
    add_commands(which::named);
    if (commands_.empty()) add_commands(which::all);
    take_whole_arguments(app_);
}

template <typename options_type>
void command_line::add(const char* name, CLI::App* (*add_to)(CLI::App&, options_type&),
                       int (*run_with)(const options_type&), options_type& options) {
    if (wanted_ == which::named &&
        std::find(arguments_.begin(), arguments_.end(), name) == arguments_.end()) {
        return;
    }
    commands_.push_back(
        {add_to(app_, options), [run_with, &options] { return run_with(options); }});
    if constexpr (requires { options.json; }) json_of_commands_.push_back(&options.json);
}

// In the order in which the help shows them.
void command_line::add_commands(which wanted) {
    wanted_ = wanted;
    add("score", add_score, run_score, options_.score);
    add("vote", add_vote, run_vote, options_.vote);
    add("rules", add_rules, run_rules, options_.rules);
    add("language", add_language, run_language, options_.language);
    add("image", add_image, run_image, options_.image);
    add("community", add_community, run_community, options_.community);
    add("account", add_account, run_account, options_.account);
    add("footer", add_footer, run_footer, options_.footer);
    add("text", add_text, run_text, options_.text);
    add("languages", add_languages, run_languages, options_.languages);
    add("registry", add_registry, run_registry, options_.registry);
    add("stats", add_stats, run_stats, options_.stats);
    add("doctor", add_doctor, run_doctor, options_.doctor);
    add("parse", add_parse, run_parse, options_.parse);
    add("call", add_call, run_call, options_.call);
}

void command_line::parse() {
    std::vector<std::string> reversed;  // as CLI11 wants them
    std::transform(arguments_.rbegin(), arguments_.rend(), std::back_inserter(reversed),
                   kept_whole);
    app_.parse(std::move(reversed));
    for (bool* const wanted : json_of_commands_) *wanted = *wanted || options_.json;
}

int command_line::run() const {
    for (const command& each : commands_) {
        if (each.app->parsed()) return each.run();
    }
    throw std::logic_error("no command was called");
}

}  // namespace brindlemoss::cli
