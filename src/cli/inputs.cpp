#include "cli/inputs.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "cli/console.h"
#include "cli/json_writer.h"
#include "message/lines.h"
#include "platform/file.h"

namespace brindlemoss::cli {

namespace fs = std::filesystem;
using replay::internet::message2::line_reader;

namespace {

struct folder_listing {
    std::vector<fs::path> files;
    std::vector<fs::path> folders;
};

folder_listing list_folder(const fs::path& folder, std::error_code& error) {
    folder_listing listing;
    fs::directory_iterator entries(folder, error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
        std::error_code nowhere;  // a link that cannot be followed
        const fs::file_status target = entries->status(nowhere);
        if (fs::is_directory(target)) {
            if (!entries->is_symlink()) listing.folders.push_back(entries->path());
        } else if ((nowhere || !fs::exists(target) || fs::is_regular_file(target)) &&
                   !entries->path().filename().native().starts_with('.')) {
            listing.files.push_back(entries->path());
        }
    }
    std::sort(listing.files.begin(), listing.files.end());
    std::sort(listing.folders.begin(), listing.folders.end());
    return listing;
}

// Leaves only what holds delivered mail: in a Maildir the files beside "cur" and "new" are indexes,
// and those in "tmp" are not whole.
void reduce_maildir(folder_listing& listing) {
    const auto has = [&](std::string_view name) {
        return std::any_of(listing.folders.begin(), listing.folders.end(),
                           [&](const fs::path& each) { return each.filename() == name; });
    };
    if (!has("cur") || !has("new")) return;
    listing.files.clear();
    std::erase_if(listing.folders, [](const fs::path& each) { return each.filename() == "tmp"; });
}

void walk_folder(const fs::path& top, std::vector<input>& found) {
    std::vector<fs::path> waiting{top};
    while (!waiting.empty()) {
        const fs::path folder = std::move(waiting.back());
        waiting.pop_back();
        std::error_code error;
        folder_listing listing = list_folder(folder, error);
        if (error) found.push_back({folder.string(), error.message()});
        reduce_maildir(listing);
        for (const fs::path& file : listing.files) found.push_back({file.string(), {}});
        waiting.insert(waiting.end(), listing.folders.rbegin(), listing.folders.rend());
    }
}

std::vector<std::string_view> split_mailbox(std::string_view text) {
    constexpr std::string_view separator = "From ";
    std::vector<std::string_view> messages;
    const char* begin = nullptr;  // of the message being read
    const char* end = nullptr;    // of what is read of it, less an empty line that comes last
    const auto hand_over = [&] {
        if (begin != nullptr) messages.emplace_back(begin, static_cast<std::size_t>(end - begin));
    };

    bool after_empty_line = true;
    for (line_reader lines(text, false); !lines.done();) {
        const std::string_view line = lines.next();
        const char* next = lines.rest().data();
        if (after_empty_line && line.starts_with(separator)) {
            hand_over();
            begin = next;
        } else if (begin == nullptr) {
            begin = line.data();
        }
        after_empty_line = line.empty();
        end = after_empty_line ? line.data() : next;
    }
    hand_over();
    return messages;
}

std::string read_input(const std::string& path) {
    if (path != "-") return replay::platform::read_file(path);
    const obey_interrupts obeying;
    return replay::platform::read_descriptor(STDIN_FILENO, "standard input");
}

}  // namespace

std::vector<input> find_inputs(const std::vector<std::string>& paths) {
    std::vector<input> found;
    for (const std::string& path : paths) {
        std::error_code error;
        if (path != "-" && fs::is_directory(path, error)) {
            walk_folder(path, found);
        } else {
            found.push_back({path, {}});
        }
    }
    return found;
}

std::string with_messages(const input& source, file_format format,
                          const std::function<void(const std::vector<std::string_view>&)>& take) {
    if (!source.error.empty()) return source.error;
    std::string text;
    std::vector<std::string_view> messages;
    try {
        text = read_input(source.path);
        if (format == file_format::mailbox) {
            messages = split_mailbox(text);
        } else {
            messages.push_back(text);
        }
    } catch (const replay::platform::file_error& error) {
        return error.code().message();
    } catch (const std::bad_alloc&) {
        return "too large for the memory of this machine";
    }
    take(messages);
    return {};
}

std::string name_of(const input& source, file_format format, std::size_t place) {
    if (format == file_format::one_message) return source.path;
    return source.path + "#" + std::to_string(place + 1);
}

std::string for_each_message(const input& source, file_format format,
                             const std::function<void(const raw_message&)>& take) {
    return with_messages(source, format, [&](const std::vector<std::string_view>& messages) {
        for (std::size_t place = 0; place < messages.size(); ++place) {
            take({name_of(source, format, place), messages[place]});
        }
    });
}

std::string fault_as_json(const std::string& path, const input_fault& fault) {
    return json_error_line(path, fault.what);
}

std::string fault_as_text(const std::string& path, const input_fault& fault) {
    const std::string& what = fault.what.empty() ? fault.exception : fault.what;
    return "cannot read '" + printable(path) + "': " + printable(what);
}

int for_each_input(const std::vector<input>& inputs,
                   const std::function<std::optional<input_fault>(const raw_message&)>& take,
                   std::string (*as_json)(const std::string& path, const input_fault& fault)) {
    int code = exit_done;
    progress shown(inputs.size());
    for (const input& source : inputs) {
        if (interrupted()) return exit_interrupted;
        std::optional<input_fault> fault;
        const std::string error =
            for_each_message(source, file_format::one_message,
                             [&](const raw_message& message) { fault = take(message); });
        shown.advance();
        if (!error.empty()) fault = input_fault{error};
        if (!fault) continue;
        code = exit_bad_input;
        if (as_json != nullptr) print(as_json(source.path, *fault));
        flush_output();
        complain(fault_as_text(source.path, *fault));
    }
    flush_output();
    return code;
}

}  // namespace brindlemoss::cli
