#include "community/messages.h"

#include <algorithm>
#include <array>
#include <memory>
#include <tuple>
#include <unordered_set>
#include <utility>
#include <vector>

#include "community/errors.h"
#include "message/character_set.h"

namespace brindlemoss::analysis::community {

namespace unicode = replay::unicode;

namespace {

constexpr std::string_view schema = "1";

datagram request(std::string command) {
    datagram made;
    made.command = std::move(command);
    made.records.emplace("SCHEMA", schema);
    return made;
}

// A match line: index, id, second value, state, reports, revokes, matches, and where the community
// knows the signature by another name, kind and digest.
constexpr std::size_t fields_of_a_match = 7;
constexpr std::size_t fields_of_a_renaming_match = 9;

// The fields of a line without the tabs between them, of which several count as one. A line of more
// fields than a renaming match has is only known to have more.
struct line_fields {
    explicit line_fields(std::string_view line) {
        std::size_t begin = 0;
        for (std::size_t at = 0; at <= line.size() && count < values.size(); ++at) {
            if (at < line.size() && line[at] != '\t') continue;
            if (at > begin) values[count++] = line.substr(begin, at - begin);
            begin = at + 1;
        }
    }

    std::array<std::string_view, fields_of_a_renaming_match + 1> values;
    std::size_t count = 0;
};

struct match {
    using full_name = std::pair<std::u16string, std::u16string>;  // kind and digest

    match(signature_entry& named, const line_fields& fields)
        : entry(&named),
          id(decode_numeral(fields.values[1])),
          second_value(decode_numeral(fields.values[2])),
          state(static_cast<std::int32_t>(decode_numeral(fields.values[3]))),
          reports(static_cast<std::uint32_t>(decode_numeral(fields.values[4]))),
          revokes(static_cast<std::uint32_t>(decode_numeral(fields.values[5]))),
          matches(static_cast<std::uint32_t>(decode_numeral(fields.values[6]))) {
        if (fields.count != fields_of_a_renaming_match) return;
        name = std::make_unique<full_name>(unicode::to_wide(fields.values[7], unicode::utf8),
                                           unicode::to_wide(fields.values[8], unicode::utf8));
    }

    void apply() {
        entry->matched = true;
        entry->id = id;
        entry->second_value = second_value;
        entry->state = state;
        entry->reports = reports;
        entry->revokes = revokes;
        entry->matches = matches;
        if (name) std::tie(entry->kind, entry->digest) = std::move(*name);
    }

    signature_entry* entry;
    std::uint64_t id;
    std::uint64_t second_value;
    std::int32_t state;
    std::uint32_t reports;
    std::uint32_t revokes;
    std::uint32_t matches;
    std::unique_ptr<full_name> name;  // seldom there
};

std::vector<match> read_matches(const std::vector<std::string>& lines, signature_list& signatures) {
    std::vector<signature_entry*> entries;
    entries.reserve(signatures.size());
    for (signature_entry& each : signatures) entries.push_back(&each);
    std::vector<bool> is_named(entries.size());
    std::vector<match> matches;
    matches.reserve(std::min(lines.size(), entries.size()));
    for (const std::string& line : lines) {
        const line_fields fields(line);
        if (fields.count < fields_of_a_match) continue;
        const std::uint64_t index = decode_numeral(fields.values[0]);
        if (index >= entries.size()) throw malformed_response("invalid record");
        if (is_named[index]) throw malformed_response("duplicate record");
        is_named[index] = true;
        matches.emplace_back(*entries[index], fields);
    }
    return matches;
}

bool all_ids_differ(const signature_list& signatures) {
    std::vector<std::uint64_t> ids;
    ids.reserve(signatures.size());
    for (const signature_entry& each : signatures) ids.push_back(each.id);
    std::sort(ids.begin(), ids.end());
    return std::adjacent_find(ids.begin(), ids.end()) == ids.end();
}

void keep_first_of_each_id(signature_list& signatures) {
    // A quick look, which is nearly always enough.
    if (all_ids_differ(signatures)) return;
    std::unordered_set<std::uint64_t> seen;
    seen.reserve(signatures.size());
    signatures.remove_if([&](const signature_entry& each) { return !seen.insert(each.id).second; });
}

void append_utf8(std::u16string_view text, std::string& bytes) {
    const auto is_ascii = [](char16_t unit) { return unit < 0x80; };
    if (std::all_of(text.begin(), text.end(), is_ascii)) {  // as nearly always
        const std::size_t before = bytes.size();
        bytes.resize(before + text.size());
        std::transform(text.begin(), text.end(), bytes.data() + before,
                       [](char16_t unit) { return static_cast<char>(unit); });
    } else {
        bytes += unicode::from_wide(text, unicode::utf8);
    }
}

}  // namespace

datagram discover_request() {
    return request("DISCOVER");
}

datagram match_request(const signature_list& signatures) {
    datagram made = request("MATCH");
    made.lines.reserve(signatures.size());
    for (const signature_entry& each : signatures) {
        std::string& line = made.lines.emplace_back();
        line.reserve(each.kind.size() + 1 + each.digest.size());
        append_utf8(each.kind, line);
        line += '\t';
        append_utf8(each.digest, line);
    }
    return made;
}

datagram touch_request(std::u16string_view class_text, const signature_list& signatures) {
    datagram made = request("TOUCH");
    if (!class_text.empty()) {
        made.records.emplace("CLASS", unicode::from_wide(class_text, unicode::utf8));
    }
    for (const signature_entry& each : signatures) {
        if (each.matched) made.lines.push_back(encode_numeral(each.id));
    }
    return made;
}

datagram feedback_request(vote kind, const replay::internet::message2::part& message,
                          const credentials& voter) {
    datagram made = request(kind == vote::report ? "REPORT-MSG" : "REVOKE-MSG");
    made.lines = message.unparse();
    std::string proof = voter.password;
    for (const std::string& line : made.lines) proof += line;
    const std::string_view content = std::string_view(proof).substr(voter.password.size());
    made.records.emplace("AUTH-PRODUCT", encode_numeral(voter.product));
    made.records.emplace("AUTH-ACCOUNT", encode_numeral(voter.account));
    made.records.emplace("AUTH-DIGEST", encode_digest(replay::md5(proof)));
    made.records.emplace("MSG-DIGEST", encode_digest(replay::md5(content)));
    return made;
}

database_state read_match_response(const datagram& response, signature_list& signatures) {
    const std::string* version = response.find("SCHEMA");
    if (version == nullptr) throw malformed_response("no schema");
    if (*version != schema) throw malformed_response("bad schema");
    database_state state;
    if (const auto* serial = response.find("DB-SERIAL")) state.serial = decode_numeral(*serial);
    if (const auto* age = response.find("DB-AGE")) state.age = decode_numeral(*age);
    std::vector<match> matches = read_matches(response.lines, signatures);
    for (signature_entry& each : signatures) each.matched = false;
    for (match& each : matches) each.apply();
    keep_first_of_each_id(signatures);
    return state;
}

}  // namespace brindlemoss::analysis::community
