#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <utility>

namespace brindlemoss::analysis::community {

// The fingerprint of a message or of a piece of it, and what the community knows about it.
struct signature_entry {
    signature_entry(std::u16string kind_of_digest, std::u16string digest_value)
        : kind(std::move(kind_of_digest)), digest(std::move(digest_value)) {}

    std::u16string kind;     // how the digest was made, as "hsi"
    std::u16string digest;   // in the form of its kind
    std::u16string comment;  // where it came from, for the report

    // What the community answered; meaningless until `matched`.
    bool matched = false;
    std::uint64_t id = 0;
    std::uint64_t second_value = 0;  // carried, never used
    std::int32_t state = 0;
    std::uint32_t reports = 0;
    std::uint32_t revokes = 0;
    std::uint32_t matches = 0;
};

}  // namespace brindlemoss::analysis::community

namespace brindlemoss::analysis {

// A test that fired. Tests that do not apply leave no record.
struct test {
    test(std::u16string test_name, std::int32_t test_score)
        : name(std::move(test_name)), score(test_score) {}

    std::u16string name;    // dotted, as "Message.Empty"
    std::u16string detail;  // one line for the report; may be empty
    bool enabled = true;
    std::int32_t score;  // what it adds to the rating; may be negative
};

struct report_line {
    std::int32_t depth;  // of indentation, two blanks each
    std::u16string text;
};

// Linked, so that a reference to an element holds while others are added.
using signature_list = std::list<community::signature_entry>;
using test_list = std::list<test>;
using report = std::list<report_line>;

// Adds a record to the end of its list.

inline void push_signature(signature_list& signatures, std::u16string kind, std::u16string digest,
                           std::u16string comment = {}) {
    signatures.emplace_back(std::move(kind), std::move(digest)).comment = std::move(comment);
}

inline void push_test(test_list& tests, std::u16string name, std::int32_t score,
                      std::u16string detail = {}) {
    tests.emplace_back(std::move(name), score).detail = std::move(detail);
}

inline void push_line(report& lines, std::int32_t depth, std::u16string text) {
    lines.push_back({depth, std::move(text)});
}

}  // namespace brindlemoss::analysis
