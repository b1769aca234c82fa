#include <brindlemoss.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/mail_text.h"

namespace {

using std::string;
using values = std::vector<brindlemoss_value>;

brindlemoss_value text(std::u16string_view units) {
    return {BRINDLEMOSS_TEXT, 0, units.data(), units.size()};
}
constexpr brindlemoss_value number(std::int32_t is) {
    return {BRINDLEMOSS_NUMBER, is, nullptr, 0};
}
constexpr brindlemoss_value truth(std::int32_t is) {
    return {BRINDLEMOSS_TRUTH, is, nullptr, 0};
}
constexpr brindlemoss_value absent{};

std::u16string units_of(std::string_view bytes) {
    std::u16string units;
    for (const char byte : bytes) units += static_cast<unsigned char>(byte);
    return units;
}

struct release {
    void operator()(brindlemoss_object* object) const { brindlemoss_release(object); }
    void operator()(brindlemoss_value* results) const { brindlemoss_free_results(results); }
};
using owned_object = std::unique_ptr<brindlemoss_object, release>;

owned_object made(const char* class_name) {
    brindlemoss_object* object = nullptr;
    EXPECT_EQ(brindlemoss_create(class_name, &object), BRINDLEMOSS_SUCCESS) << class_name;
    return owned_object(object);
}

struct outcome {
    brindlemoss_status status;
    std::unique_ptr<brindlemoss_value, release> results;
    std::size_t count;

    std::u16string_view text(std::size_t index) const {
        const brindlemoss_value& each = results.get()[index];
        EXPECT_EQ(each.type, BRINDLEMOSS_TEXT);
        EXPECT_EQ(each.text[each.length], u'\0');
        return {each.text, each.length};
    }
    std::int32_t number(std::size_t index, std::uint32_t type) const {
        EXPECT_EQ(results.get()[index].type, type);
        return results.get()[index].number;
    }
};

outcome called(const owned_object& object, const char* method, const values& arguments = {}) {
    brindlemoss_value* results = nullptr;
    std::size_t count = 99;
    const brindlemoss_status status = brindlemoss_invoke(object.get(), method, arguments.data(),
                                                         arguments.size(), &results, &count);
    return {status, std::unique_ptr<brindlemoss_value, release>(results), count};
}

std::int32_t score(std::string_view bytes, bool orphan = false) {
    std::int32_t rating = -1;
    EXPECT_EQ(brindlemoss_score(bytes.data(), bytes.size(), orphan, &rating), BRINDLEMOSS_SUCCESS);
    return rating;
}

const string notice = "X-Antivirus-Status: Infected\n\nx";

std::vector<string> mails() {
    std::vector<string> all{"", "\n", notice, string("Subject: a\n\nb\0c", 15), "\xFF\x80: \xFE"};
    for (const auto& [name, mail] : test_support::examples()) all.push_back(mail);
    return all;
}

TEST(c_interface, rates_bytes_as_the_filter_does) {
    const owned_object filter = made("Brindlemoss.Filter");
    std::set<std::int32_t> ratings;
    for (const string& mail : mails()) {
        SCOPED_TRACE(mail.substr(0, 200));
        const std::u16string message = units_of(mail);
        const outcome by_name = called(filter, "Score", {text(message), truth(0)});
        ASSERT_EQ(by_name.count, 1u);
        EXPECT_EQ(by_name.number(0, BRINDLEMOSS_NUMBER), score(mail));
        ratings.insert(score(mail));
    }
    EXPECT_THAT(ratings, testing::IsSupersetOf({0, 20, 70, 100}));
    EXPECT_EQ(score(notice, true), 100);
    std::int32_t rating = -1;
    EXPECT_EQ(brindlemoss_score(nullptr, 0, false, &rating), BRINDLEMOSS_SUCCESS);
    EXPECT_EQ(rating, score(""));
}

TEST(c_interface, null_pointers_are_told_and_change_nothing) {
    std::int32_t rating = 7;
    EXPECT_EQ(brindlemoss_score(nullptr, 1, true, &rating), BRINDLEMOSS_INVALID_CALL);
    EXPECT_EQ(rating, 0);
    EXPECT_EQ(brindlemoss_score("x", 1, true, nullptr), BRINDLEMOSS_INVALID_CALL);

    const std::size_t alive = brindlemoss_live_objects();
    EXPECT_EQ(brindlemoss_create("Brindlemoss.Filter", nullptr), BRINDLEMOSS_INVALID_CALL);
    const owned_object digest = made("Brindlemoss.Digest");
    brindlemoss_object* object = digest.get();
    EXPECT_EQ(brindlemoss_create(nullptr, &object), BRINDLEMOSS_INVALID_CALL);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(brindlemoss_live_objects(), alive + 1);
    brindlemoss_release(nullptr);
    brindlemoss_free_results(nullptr);

    brindlemoss_value unread{};
    brindlemoss_value* results = &unread;
    std::size_t count = 7;
    const brindlemoss_value abc = text(u"abc");
    EXPECT_EQ(brindlemoss_invoke(nullptr, "MD5", &abc, 1, &results, &count),
              BRINDLEMOSS_INVALID_CALL);
    EXPECT_EQ(results, nullptr);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(brindlemoss_invoke(digest.get(), nullptr, &abc, 1, &results, &count),
              BRINDLEMOSS_INVALID_CALL);
    EXPECT_EQ(brindlemoss_invoke(digest.get(), "MD5", nullptr, 1, &results, &count),
              BRINDLEMOSS_INVALID_CALL);
    EXPECT_EQ(brindlemoss_invoke(digest.get(), "MD5", &abc, 1, nullptr, nullptr),
              BRINDLEMOSS_SUCCESS);
    EXPECT_EQ(brindlemoss_invoke(digest.get(), "MD5", &abc, 1, nullptr, &count),
              BRINDLEMOSS_SUCCESS);
    EXPECT_EQ(count, 1u);
}

TEST(c_interface, classes_by_name) {
    std::vector<string> names;
    while (const char* name = brindlemoss_class_name(names.size())) names.emplace_back(name);
    EXPECT_EQ(names.size(), 16u);
    EXPECT_EQ(brindlemoss_class_name(SIZE_MAX), nullptr);
    const std::size_t alive = brindlemoss_live_objects();
    {
        std::vector<owned_object> objects;
        for (const string& name : names) objects.push_back(made(name.c_str()));
        EXPECT_EQ(brindlemoss_live_objects(), alive + 16);
        EXPECT_FALSE(brindlemoss_can_unload_now());
    }
    EXPECT_EQ(brindlemoss_live_objects(), alive);
    EXPECT_EQ(brindlemoss_can_unload_now(), alive == 0);

    brindlemoss_object* object = nullptr;
    EXPECT_EQ(brindlemoss_create("Brindlemoss.Coding", &object), BRINDLEMOSS_INVALID_CALL);
    EXPECT_EQ(object, nullptr);
}

TEST(c_interface, texts_cross_as_they_are) {
    const owned_object digest = made("Brindlemoss.Digest");
    EXPECT_EQ(called(digest, "md5", {text(u"abc")}).text(0), u"900150983cd24fb0d6963f7d28e17f72");
    const brindlemoss_value empty{BRINDLEMOSS_TEXT, 0, nullptr, 0};
    EXPECT_EQ(called(digest, "MD5", {empty}).text(0), u"d41d8cd98f00b204e9800998ecf8427e");

    const owned_object coding = made("Core.Coding");
    const std::u16string_view zeros(u"\0\0\0", 3);
    EXPECT_EQ(called(coding, "Base16Encode", {text(zeros)}).text(0), u"000000");
    EXPECT_EQ(called(coding, "Base16Decode", {text(u"0000ff")}).text(0),
              std::u16string_view(u"\0\0\xFF", 3));

    const owned_object list = made("Brindlemoss.RulesSenderDenied");
    const std::u16string lone = u"\xD83D end";
    outcome added = called(list, "AddDomain", {text(u"c-interface.example"), text(lone)});
    EXPECT_EQ(added.status, BRINDLEMOSS_SUCCESS);
    EXPECT_EQ(added.results, nullptr);
    EXPECT_EQ(added.count, 0u);
    EXPECT_EQ(called(list, "EnumerateDomains").text(0), u"c-interface.example\t" + lone + u"\r");
    called(list, "EmptyDomains");
}

TEST(c_interface, the_result_comes_first_and_then_what_else_goes_out) {
    const owned_object http = made("Brindlemoss.HTTP");
    const outcome no_response = called(http, "Get", {text(u"no address")});
    EXPECT_EQ(no_response.status, BRINDLEMOSS_SUCCESS);
    ASSERT_EQ(no_response.count, 2u);
    EXPECT_EQ(no_response.number(0, BRINDLEMOSS_NUMBER), 0);
    EXPECT_EQ(no_response.text(1), u"");

    const outcome voted = called(made("Brindlemoss.Filter"), "Vote", {text(u"\u0100"), number(-1)});
    ASSERT_EQ(voted.count, 1u);
    EXPECT_EQ(voted.number(0, BRINDLEMOSS_NUMBER), 1);
    const owned_object rules = made("Brindlemoss.Rules");
    EXPECT_EQ(called(rules, "DenyDomain", {text(u"rules.example")}).count, 1u);
    EXPECT_EQ(called(rules, "Denied", {text(u"a@rules.example")}).number(0, BRINDLEMOSS_TRUTH), 1);
    EXPECT_EQ(called(rules, "Allowed", {text(u"a@rules.example")}).number(0, BRINDLEMOSS_TRUTH), 0);
    EXPECT_EQ(called(rules, "Silent", {truth(2)}).status, BRINDLEMOSS_SUCCESS);
    called(made("Brindlemoss.RulesSenderDenied"), "EmptyDomains");
}

TEST(c_interface, calls_that_cannot_be_made) {
    const struct {
        const char* name;
        const char* class_name;
        const char* method;
        values arguments;
        brindlemoss_status status = BRINDLEMOSS_INVALID_CALL;
    } rows[] = {
        {"no name", "Brindlemoss.Digest", "", {text(u"abc")}},
        {"as many as any takes", "Brindlemoss.Digest", "MD5", values(4, text(u"a"))},
        {"one more", "Brindlemoss.Digest", "MD5", values(5, text(u"a"))},
        {"absent", "Brindlemoss.Digest", "MD5", {absent}},
        {"a type there is not", "Brindlemoss.Digest", "MD5", {{4, 0, u"a", 1}}},
        {"a length without a text",
         "Brindlemoss.Digest",
         "MD5",
         {{BRINDLEMOSS_TEXT, 0, nullptr, 1}}},
        {"not implemented", "Brindlemoss.AntiVirus", "Version", {}, BRINDLEMOSS_NOT_IMPLEMENTED},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const outcome result = called(made(row.class_name), row.method, row.arguments);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.results, nullptr);
        EXPECT_EQ(result.count, 0u);
    }
}

TEST(c_interface, results_and_objects_outlive_the_library_s_life) {
    owned_object filter = made("Brindlemoss.Filter");
    const std::u16string message = units_of(notice);
    for (int life = 0; life < 3; ++life) {
        brindlemoss_load();
        EXPECT_EQ(score(notice), 100);
        const outcome kept = called(filter, "Score", {text(message), truth(1)});
        brindlemoss_unload();
        brindlemoss_unload();
        EXPECT_EQ(kept.number(0, BRINDLEMOSS_NUMBER), 100);
    }
}

TEST(c_interface, tells_its_version) {
    const string version = brindlemoss_version();
    EXPECT_EQ(version.find_first_not_of("0123456789."), string::npos);
    EXPECT_GT(version.size(), 4u);
}

}  // namespace
