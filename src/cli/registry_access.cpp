#include "cli/registry_access.h"

#include "cli/console.h"
#include "message/character_set.h"

namespace brindlemoss::cli {

namespace registry = replay::registry2;
using replay::platform::store_fault;

namespace {

std::string fault_text(std::int32_t number) {
    switch (static_cast<store_fault>(number)) {
        case store_fault::not_found: return "it is not there";
        case store_fault::access_denied: return "access is denied";
        case store_fault::out_of_memory: return "there is not enough memory";
        case store_fault::locked: return "another process holds the store";
        case store_fault::invalid_parameter: return "a name or value that no store takes";
        case store_fault::open_failed: return "the store cannot be opened";
        case store_fault::disk_full: return "the disk is full";
        case store_fault::damaged: return "the store is damaged";
        case store_fault::input_output: return "the system failed to read or write the store";
        case store_fault::key_deleted: return "somebody has just deleted it";
    }
    return "error " + std::to_string(number);
}

int fail(const std::string& what, const store_messages& messages) {
    flush_output();
    std::string line = what;
    for (const std::string& each : messages.lines()) line.append("; ").append(printable(each));
    complain(line);
    return exit_bad_input;
}

}  // namespace

std::unique_ptr<const registry::key> open_existing(registry::predefined_root root,
                                                   std::u16string_view path) {
    const registry::key top(root);
    try {
        return std::make_unique<const registry::key>(top, path, registry::when_missing::fail);
    } catch (const registry::key_error& error) {
        if (error.number() != static_cast<std::int32_t>(store_fault::not_found)) throw;
        return nullptr;
    }
}

std::string in_plain_words(const registry::generic& error) {
    if (const auto* of_key = dynamic_cast<const registry::key_error*>(&error)) {
        return fault_text(of_key->number());
    }
    if (const auto* of_value = dynamic_cast<const registry::value_error*>(&error)) {
        return fault_text(of_value->number());
    }
    return printable(error.what());
}

store_messages::store_messages() : lines_(std::make_shared<std::vector<std::string>>()) {
    registry::set_message_sink(
        [lines = lines_](std::string_view line) { lines->emplace_back(line); });
}

int with_stores(const std::function<int()>& work) {
    const store_messages messages;
    int code = exit_done;
    try {
        code = work();
    } catch (const refusal& error) {
        return fail(error.what(), messages);
    } catch (const registry::generic& error) {
        return fail("the registry: " + in_plain_words(error), messages);
    }
    flush_output();
    for (const std::string& line : messages.lines()) complain(printable(line));
    return code;
}

std::string utf8_of(std::u16string_view wide) {
    return replay::unicode::from_wide(wide, replay::unicode::utf8);
}

std::string shown(std::u16string_view wide) {
    std::string text;
    while (true) {
        const std::size_t tab = wide.find(u'\t');
        text += printable(utf8_of(wide.substr(0, tab)));
        if (tab == std::u16string_view::npos) return text;
        text += '\t';
        wide.remove_prefix(tab + 1);
    }
}

}  // namespace brindlemoss::cli
