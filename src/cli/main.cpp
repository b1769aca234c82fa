#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "account/account_service.h"
#include "cli/command_line.h"
#include "cli/console.h"
#include "cli/help_texts.h"
#include "community/communication.h"
#include "foundation/module.h"
#include "platform/paths.h"
#include "platform/store.h"

namespace {

using namespace brindlemoss::cli;

void take_home(const program_options& options) {
    if (!options.home.empty()) replay::platform::paths::set_home(options.home);
}

// One line. Where a command is missing, a word that is none is what is wrong.
std::string usage_fault(const CLI::App& app, const CLI::ParseError& error) {
    std::string fault = error.what();
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        const std::vector<std::string> unknown = app.remaining(true);
        if (!unknown.empty()) fault = "there is no '" + unknown.front() + "' here";
    }
    return printable(fault) + "; --help tells more";
}

// Prints the help that was asked for, or what is wrong with the arguments.
int answer(command_line& line, const CLI::ParseError& error) {
    if (dynamic_cast<const CLI::CallForHelp*>(&error) != nullptr) {
        take_home(line.options());
        localize_help(line.app());
    }
    if (error.get_exit_code() != 0) {
        complain(usage_fault(line.app(), error));
        return exit_bad_input;
    }
    line.app().exit(error);
    if (!std::cout.flush()) throw output_error("the help could not be written");
    return exit_done;
}

int run(int argument_count, char** arguments) {
    command_line line(BRINDLEMOSS_VERSION,
                      {arguments + std::min(1, argument_count), arguments + argument_count});
    try {
        line.parse();
    } catch (const CLI::ParseError& error) {
        return answer(line, error);
    }
    take_home(line.options());
    return line.run();
}

// Ends what the program has begun: first the threads that use the registry, then the registry.
struct end_of_program {
    ~end_of_program() {
        brindlemoss::account::account_service::shutdown();
        brindlemoss::spam::communication::shutdown();
        brindlemoss::module::instance().unload();
    }
};

}  // namespace

int main(int argument_count, char** arguments) {
    replay::platform::expect_small_stores();
    catch_interrupts();
    const end_of_program ending;
    try {
        return run(argument_count, arguments);
    } catch (const output_error& error) {
        complain(std::string("cannot write to standard output: ") + error.what());
        return exit_bad_input;
    } catch (const std::exception& error) {
        complain(std::string("internal fault: ") + error.what());
        return exit_fault;
    }
}
