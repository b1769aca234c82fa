#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/registry.h"

// What the commands that look into the registry share.
namespace brindlemoss::cli {

// The key at a path from the top of a tree ("Software\Brindlemoss\Thresholds"), nullptr when there
// is none. Makes nothing. Throws registry2::generic.
std::unique_ptr<const replay::registry2::key> open_existing(replay::registry2::predefined_root root,
                                                            std::u16string_view path);

// What went wrong, for people, where the exception has only a number.
std::string in_plain_words(const replay::registry2::generic& error);

// From its making on keeps what the stores tell the user. Make it before a store is opened, and one
// a process: there is no way back to what heard them before.
class store_messages {
public:
    store_messages();
    const std::vector<std::string>& lines() const { return *lines_; }

private:
    std::shared_ptr<std::vector<std::string>> lines_;  // the stores may outlive this object
};

// What cannot be done as asked; the text is for the user.
class refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Does the work of a command that looks into the stores and gives its exit code. What it throws as
// refusal or registry2::generic is told in one line, with what the stores had to say of it, and
// gives exit_bad_input. One a process, as store_messages.
int with_stores(const std::function<int()>& work);

std::string utf8_of(std::u16string_view wide);

// For people: what a terminal would obey made visible, tabs left as they are.
std::string shown(std::u16string_view wide);

}  // namespace brindlemoss::cli
