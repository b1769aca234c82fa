#include "faults/stored_state.h"

#include <sqlite3.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "foundation/registry.h"
#include "foundation/registry_values.h"

namespace kill_rounds {

namespace registry = replay::registry2;
using registry::tree_key;
using registry::write_back;

namespace {

std::uint32_t number_in(const std::string& digits) {
    return static_cast<std::uint32_t>(std::stoul(digits));
}

std::vector<std::string> fields_of(const std::u16string& entry) {
    const std::string line = registry::narrow(entry);
    std::vector<std::string> fields(1);
    for (const char byte : line) {
        if (byte == '\t') {
            fields.emplace_back();
        } else {
            fields.back() += byte;
        }
    }
    return fields;
}

// Adds the facts of a list whose entries have that many fields.
void read_list(facts& found, tree_key where, std::u16string_view value, const std::string& label,
               std::size_t field_count) {
    for (const auto& entry : registry::at(where).get_multi_text(value, {}, write_back::no)) {
        const std::vector<std::string> fields = fields_of(entry);
        if (fields.size() != field_count) throw std::runtime_error("a broken entry: " + label);
        const bool has_steps = field_count == 4;
        const std::string& who = fields[field_count == 2 ? 0 : 1];
        found[label + who] += has_steps ? number_in(fields[2]) : 1;
    }
}

void read_counters(facts& found, const registry::key& key, const std::string& path) {
    for (const std::u16string& name : key.value_names()) {
        found[path + registry::narrow(name)] = key.get_integer(name, 0, write_back::no);
    }
    for (const std::u16string& name : key.key_names()) {
        const registry::key below(key, name, registry::when_missing::fail);
        read_counters(found, below, path + registry::narrow(name) + "\\");
    }
}

void read_texts(facts& found, const registry::key& root) {
    const registry::key texts(root, texts_path, registry::when_missing::create);
    for (unsigned worker = 0; worker < most_workers; ++worker) {
        const std::u16string text = texts.get_text(text_name(worker), u"", write_back::no);
        if (text.empty()) continue;
        const std::uint32_t number = number_in(registry::narrow(text).substr(0, 10));
        if (text != long_text(number)) throw std::runtime_error("a text that is not whole");
        found["text " + std::to_string(worker)] = number;
    }
}

std::uint32_t after(std::uint32_t before, const effect& change) {
    return change.adds ? before + change.number : change.number;
}

// Whether any of the effects, in their order, lead from one number to the other.
bool can_become(std::uint32_t before, std::uint32_t wanted, const std::vector<effect>& effects) {
    std::vector<std::uint32_t> possible{before};
    for (const effect& each : effects) {
        const std::vector<std::uint32_t> without = possible;
        for (const std::uint32_t number : without) possible.push_back(after(number, each));
    }
    return std::find(possible.begin(), possible.end(), wanted) != possible.end();
}

std::uint32_t value_of(const facts& all, const std::string& name) {
    const auto found = all.find(name);
    return found == all.end() ? 0 : found->second;
}

}  // namespace

facts stored_facts() {
    facts found;
    const registry::key root(registry::predefined_root::current_user);
    read_list(found, tree_key::user_rules_allow, u"Addresses", "allow ", 3);
    read_list(found, tree_key::user_rules_allow, u"Domains", "allow ", 2);
    read_list(found, tree_key::user_rules_deny, u"Addresses", "deny ", 3);
    read_list(found, tree_key::user_rules_trust, u"Addresses", "trust ", 4);
    read_counters(found, {root, registry::statistics_path, registry::when_missing::create}, "");
    read_texts(found, root);
    return found;
}

void expectation::acknowledged(const std::vector<effect>& effects) {
    for (const effect& each : effects) {
        std::uint32_t& number = known_[each.fact];
        number = after(number, each);
    }
}

void expectation::in_flight(const std::vector<effect>& effects) {
    for (const effect& each : effects) uncertain_[each.fact].push_back(each);
}

std::vector<std::string> expectation::differences(const facts& found) const {
    facts all = known_;
    all.insert(found.begin(), found.end());
    for (const auto& [name, effects] : uncertain_) all.emplace(name, 0);
    std::vector<std::string> lines;
    for (const auto& [name, unused] : all) {
        const auto uncertain = uncertain_.find(name);
        const std::uint32_t expected = value_of(known_, name);
        const std::uint32_t is = value_of(found, name);
        const bool fits = uncertain == uncertain_.end()
                              ? is == expected
                              : can_become(expected, is, uncertain->second);
        if (fits) continue;
        lines.push_back(name + ": acknowledged " + std::to_string(expected) + ", found " +
                        std::to_string(is));
    }
    return lines;
}

std::string full_check(const std::string& file) {
    sqlite3* handle = nullptr;
    std::string answer = "cannot be opened";
    if (sqlite3_open(file.c_str(), &handle) == SQLITE_OK) {
        answer.clear();
        const auto take = [](void* text, int, char** columns, char**) {
            static_cast<std::string*>(text)->append(columns[0]);
            return 0;
        };
        if (sqlite3_exec(handle, "PRAGMA integrity_check", take, &answer, nullptr) != SQLITE_OK) {
            answer = sqlite3_errmsg(handle);
        }
    }
    sqlite3_close(handle);
    return answer;
}

}  // namespace kill_rounds
