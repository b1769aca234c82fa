#include "analysis/analysis_engine.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <tuple>

#include "analysis/report_text.h"

namespace brindlemoss::analysis {

using community::signature_entry;
using replay::internet::message2::part;
using replay::internet::message2::part_map;

namespace {

// Reports show this many characters of a kind.
constexpr std::size_t shown_kind = 6;

// What the community may say of a signature that it knows; any other number leaves it to the votes.
enum signature_state : std::int32_t { ignored = 2, whitelisted = 3, blacklisted = 4 };

constexpr std::uint32_t full_share = 100;
constexpr std::uint32_t largest_share_divisor = 10;
constexpr std::int32_t sending_host_weight = 40;
constexpr std::uint32_t confidence_floor = 90;
constexpr std::int32_t spam_mark = 50;
constexpr std::int32_t highest_rating = 100;

std::u16string_view kind_shown(const signature_entry& signature) {
    return std::u16string_view(signature.kind).substr(0, shown_kind);
}

void report_parts(const part& item, const part& logical, std::int32_t depth, report& lines) {
    std::u16string line = widen(item.content_type);
    const std::u16string name = item.attachment().name;
    if (!name.empty()) line.append(u" \"").append(name).append(u"\"");
    line.append(u" -- ID: ").append(address_text(&item));
    line.append(u", Bytes: ").append(number_text(static_cast<long long>(item.body.size())));
    if (&item == &logical) line.append(u", Logical Root");
    push_line(lines, depth, std::move(line));
    for (const part& child : item.children) report_parts(child, logical, depth + 1, lines);
}

// One record of each kind and digest stays: the first, so the comment is that of the earliest
// plugin.
void sort_signatures(signature_list& signatures) {
    signatures.sort([](const signature_entry& left, const signature_entry& right) {
        return std::tie(left.kind, left.digest) < std::tie(right.kind, right.digest);
    });
    signatures.unique([](const signature_entry& left, const signature_entry& right) {
        return left.kind == right.kind && left.digest == right.digest;
    });
}

void report_signatures(const signature_list& signatures, report& lines) {
    push_line(lines, 0, {});
    push_line(lines, 0, u"Generated Signatures:");
    for (const signature_entry& each : signatures) {
        const std::u16string_view before_comment = each.comment.empty() ? u"" : u" -- ";
        push_line(lines, 1,
                  joined({kind_shown(each), u" ", each.digest, before_comment, each.comment}));
    }
}

// How much each matched signature may weigh. A sending host ("hsi") stands outside the sharing.
struct weighing {
    std::int32_t share = full_share;
    bool has_one_url_only = false;
};

weighing weigh(const signature_list& signatures) {
    std::uint32_t count = 0;
    std::uint32_t url_count = 0;
    for (const signature_entry& each : signatures) {
        if (!each.matched || each.state == ignored) continue;
        if (each.kind == u"tru" || each.kind == u"twu") ++url_count;
        if (each.kind != u"hsi") ++count;
    }
    weighing found;
    if (count > 1) {
        found.share =
            static_cast<std::int32_t>(full_share / std::min(count, largest_share_divisor));
    }
    found.has_one_url_only = count == 1 && url_count == 1;
    return found;
}

// The numbers are those of the community and may wrap in 32 bits: then they are nonsense, no fault.
std::int32_t score_by_votes(const signature_entry& signature, const weighing& weights) {
    const std::uint32_t percent =
        signature.reports * 100u / (signature.reports + signature.revokes);
    std::int32_t weight = weights.share;
    if (signature.kind == u"hsi") {
        weight = sending_host_weight;
    } else if (weights.has_one_url_only && percent < confidence_floor) {
        weight = 0;
    }
    const std::uint32_t product = static_cast<std::uint32_t>(weight) * percent;
    return static_cast<std::int32_t>(product) / 100;
}

void test_signature(const signature_entry& signature, const weighing& weights, test_list& tests) {
    const auto push = [&](std::u16string name, std::int32_t score) {
        push_test(tests, std::move(name), score,
                  joined({u"Signature: ", kind_shown(signature), u" ", signature.digest}));
    };
    switch (signature.state) {
        case ignored: return;
        case whitelisted: return push(u"Signature.Whitelisted", -100);
        case blacklisted: return push(u"Signature.Blacklisted", 100);
        default: break;
    }
    if (signature.reports + signature.revokes == 0) return;
    push(u"Signature.Matched", score_by_votes(signature, weights));
}

std::u16string matched_line(const signature_entry& signature) {
    std::array<char, 128> numbers;
    const int size = std::snprintf(
        numbers.data(), numbers.size(),
        " -- ID: %lld, State: %d, Reports: %d, Revokes: %d, Matches: %d",
        static_cast<long long>(signature.id), signature.state, static_cast<int>(signature.reports),
        static_cast<int>(signature.revokes), static_cast<int>(signature.matches));
    return joined({kind_shown(signature), u" ", signature.digest,
                   widen({numbers.data(), static_cast<std::size_t>(size)})});
}

void test_matched_signatures(analysis_run& run) {
    const weighing weights = weigh(run.signatures);
    bool is_first = true;
    for (const signature_entry& each : run.signatures) {
        if (!each.matched) continue;
        if (is_first) {
            push_line(run.report, 0, {});
            push_line(run.report, 0, u"Matched Signatures:");
            is_first = false;
        }
        push_line(run.report, 1, matched_line(each));
        test_signature(each, weights, run.tests);
    }
}

std::u16string result_line(const test& result) {
    std::array<char, 16> score;
    const int size = std::snprintf(score.data(), score.size(), "%-3d ", result.score);
    const std::u16string_view before_detail = result.detail.empty() ? u"" : u" -- ";
    return joined({widen({score.data(), static_cast<std::size_t>(size)}), result.name,
                   before_detail, result.detail});
}

std::int32_t sum_up_tests(const test_list& tests, report& lines) {
    if (!tests.empty()) {
        push_line(lines, 0, {});
        push_line(lines, 0, u"Test Results:");
    }
    std::uint32_t total = 0;  // wraps, as votes out of the network may make it
    for (const test& each : tests) {
        push_line(lines, 1, result_line(each));
        total += static_cast<std::uint32_t>(each.score);
    }
    return static_cast<std::int32_t>(total);
}

std::u16string class_of(std::int32_t total, part& root) {
    if (total < spam_mark) return u"HAM";
    part_map images;
    root.flatten(images, "image/", false);
    return images.empty() ? u"SPAM/TEXT" : u"SPAM/IMAGE";
}

}  // namespace

void analysis_engine::generate(analysis_run& run) const {
    part& root = logical_root(*run.message);
    push_line(run.report, 0, u"Message Parts:");
    report_parts(*run.message, root, 1, run.report);
    for (plugins::generic::plugin* each : run.plugins_in_order()) {
        each->generate(root, run.signatures, run.tests, run.report);
    }
    sort_signatures(run.signatures);
    report_signatures(run.signatures, run.report);
}

std::uint16_t analysis_engine::evaluate(analysis_run& run) const {
    test_matched_signatures(run);
    part& root = logical_root(*run.message);
    for (plugins::generic::plugin* each : run.plugins_in_order()) {
        each->evaluate(root, run.signatures, run.tests, run.report);
    }
    const std::int32_t total = sum_up_tests(run.tests, run.report);
    run.class_name = class_of(total, root);
    return static_cast<std::uint16_t>(std::clamp(total, 0, highest_rating));
}

}  // namespace brindlemoss::analysis
