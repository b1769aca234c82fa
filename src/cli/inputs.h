#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindlemoss::cli {

// One thing to read: a file, or "-" for standard input. `error` is set for what is known already
// not to be readable.
struct input {
    std::string path;
    std::string error;
};

// The inputs that PATH arguments name, in their order. A folder gives its files, sorted by name,
// with those of its subfolders; a Maildir gives those in "new" and "cur". Left out within a folder:
// files whose names begin with a dot, what is no file but a device or the like, folders behind
// links. A link that leads nowhere is an input like any other, to be told of.
std::vector<input> find_inputs(const std::vector<std::string>& paths);

enum class file_format { one_message, mailbox };

// Reads an input and hands over the texts of all its messages, which are good as long as `take`
// runs. Returns what went wrong, empty where nothing did. A mailbox is split at lines that begin
// with "From " at its start or behind an empty line (RFC 4155); those lines and the empty ones
// before them belong to no message. Throws what `take` throws.
std::string with_messages(const input& source, file_format format,
                          const std::function<void(const std::vector<std::string_view>&)>& take);

// What the message at a place in an input is called: the path, and in a mailbox "#" and its number.
std::string name_of(const input& source, file_format format, std::size_t place);

struct raw_message {
    std::string_view name;
    std::string_view text;
};

// As with_messages(), one message after the other.
std::string for_each_message(const input& source, file_format format,
                             const std::function<void(const raw_message&)>& take);

struct input_fault {
    std::string what;                   // may be empty: the class says it
    std::string exception = "generic";  // the name of its class
};

// The lines of most commands for an input with a fault: of JSON, and for people.
std::string fault_as_json(const std::string& path, const input_fault& fault);
std::string fault_as_text(const std::string& path, const input_fault& fault);

// Hands over the one message of each input, in their order, with the progress on a terminal, until
// all are taken or the user interrupts. What cannot be read, and what `take` gives as wrong, is
// told on standard error, and on standard output as the line that `as_json` makes, unless that is
// nullptr. Returns the exit code. Throws output_error and what `take` throws.
int for_each_input(const std::vector<input>& inputs,
                   const std::function<std::optional<input_fault>(const raw_message&)>& take,
                   std::string (*as_json)(const std::string& path, const input_fault& fault));

}  // namespace brindlemoss::cli
