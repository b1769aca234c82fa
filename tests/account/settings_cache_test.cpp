#include "account/settings_cache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "foundation/registry.h"
#include "foundation/registry_values.h"
#include "foundation/translate.h"
#include "platform/clock.h"
#include "platform/paths.h"
#include "support/account_log.h"
#include "support/child_process.h"
#include "support/temporary_folder.h"

namespace {

namespace registry = replay::registry2;
namespace settings_cache = brindlemoss::account::settings_cache;
using registry::tree_key;
using registry::write_back;
using replay::coding::translate::invalid_codeword;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string document = "<a><b>\xC3\xA9</b></a>";
constexpr std::uint32_t stored_at = 1'700'000'000;
constexpr std::uint32_t expiry = stored_at + 604'800;

// MD5 of the five bytes 71 23 6C 6B A7, the time of expiry and the document.
constexpr char16_t content[] = u"PGE+PGI+w6k8L2I+PC9hPg";
constexpr char16_t digest[] = u"9qD0ap15DrzSynBey4HbBw";
constexpr char16_t digest_of_latest[] = u"E/LhwD74DhJTmHn/roHOVQ";

replay::platform::clock::time_point at(std::int64_t moment) {
    return replay::platform::clock::time_point(seconds(moment));
}

class settings_cache_test : public testing::Test {
protected:
    ~settings_cache_test() override { registry::close_all(); }

    static const registry::key& cache() { return registry::at(tree_key::user_account_cache); }
    static std::uint32_t number(std::u16string_view name) {
        return cache().get_integer(name, 7, write_back::no);
    }
    static void keep(std::uint32_t until, std::u16string_view text, std::u16string_view hash) {
        cache().set_integer(u"Expiry", until);
        cache().set_text(u"Content", text);
        cache().set_text(u"Hash", hash);
    }

    const test_support::temporary_folder folder_;
    const replay::platform::paths::scoped_home home_{folder_.path()};
    replay::platform::clock::standing clock_{at(stored_at)};
    test_support::account_log log_;
};

TEST_F(settings_cache_test, stores_document_digest_and_times) {
    settings_cache::store(document, true);
    EXPECT_EQ(number(u"Expiry"), expiry);
    EXPECT_EQ(number(u"Refresh"), stored_at + 93'600);
    EXPECT_EQ(cache().get_text(u"Content", u"", write_back::no), content);
    EXPECT_EQ(cache().get_text(u"Hash", u"", write_back::no), digest);
    EXPECT_THAT(log_.take(), ElementsAre("0 Cache updated"));
    settings_cache::store(document, false);
    EXPECT_EQ(number(u"Refresh"), 0u);
}

TEST_F(settings_cache_test, gives_any_bytes_back_until_they_expire) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    settings_cache::store(bytes, true);
    log_.take();
    clock_.set(at(std::int64_t{expiry} - 1));
    const auto kept = settings_cache::load();
    ASSERT_TRUE(kept);
    EXPECT_TRUE(kept->is_intact);
    EXPECT_EQ(kept->document, bytes);
    EXPECT_EQ(kept->since, stored_at);
    EXPECT_THAT(log_.take(), ElementsAre("0 Cache loaded"));
    for (const std::int64_t moment : {std::int64_t{expiry}, std::int64_t{expiry} + 1}) {
        clock_.set(at(moment));
        EXPECT_FALSE(settings_cache::load());
    }
    EXPECT_THAT(log_.take(), IsEmpty());
}

TEST_F(settings_cache_test, knows_what_is_not_what_it_stored) {
    const struct {
        const char* what;
        std::uint32_t until;
        std::u16string_view content;
        std::u16string_view hash;
        bool is_intact;
    } rows[] = {
        {"as it was stored", expiry, content, digest, true},
        {"as late as can be", UINT32_MAX, content, digest_of_latest, true},
        {"another time", expiry + 1, content, digest, false},
        {"another document", expiry, u"PGE+PGI+w6k8L2I+PC9hPw", digest, false},
        {"another first digit", expiry, content, u"8qD0ap15DrzSynBey4HbBw", false},
        {"another last digit", expiry, content, u"9qD0ap15DrzSynBey4HbBg", false},
        {"a shorter digest", expiry, content, std::u16string_view(digest).substr(0, 21), false},
        {"no digest", expiry, content, u"", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        keep(row.until, row.content, row.hash);
        const auto kept = settings_cache::load();
        ASSERT_TRUE(kept);
        EXPECT_EQ(kept->is_intact, row.is_intact);
        EXPECT_THAT(log_.take(),
                    ElementsAre(row.is_intact ? "0 Cache loaded" : "0 Cache corrupted"));
    }
}

TEST_F(settings_cache_test, throws_on_text_that_is_no_base64) {
    for (const std::u16string_view broken : {u"PGE*", u"PGE ", u"PG\u0141+"}) {
        keep(expiry, broken, digest);
        EXPECT_THROW(settings_cache::load(), invalid_codeword);
    }
}

TEST_F(settings_cache_test, throws_on_values_of_the_wrong_type) {
    for (const char16_t* const name : {u"Expiry", u"Refresh", u"Content", u"Hash"}) {
        SCOPED_TRACE(testing::PrintToString(name));
        keep(expiry, content, digest);
        cache().set_integer(u"Refresh", 0);
        cache().set_integer64(name, 1);
        EXPECT_THROW(settings_cache::load(), registry::type_mismatch);
        cache().delete_value(name);
    }
}

TEST_F(settings_cache_test, writes_the_times_back_when_they_are_missing) {
    EXPECT_FALSE(settings_cache::load());
    EXPECT_THAT(cache().value_names(), ElementsAre(u"Expiry", u"Refresh"));
    EXPECT_EQ(number(u"Expiry"), 0u);
    EXPECT_EQ(number(u"Refresh"), 0u);
    EXPECT_THAT(log_.take(), IsEmpty());
}

TEST_F(settings_cache_test, is_not_read_while_there_is_a_value_that_says_so) {
    const replay::platform::stored_value values[] = {
        registry::integer_value(0), registry::text_value(u""), {3, ""}, {0, "anything"}};
    for (const auto& value : values) {
        SCOPED_TRACE(value.type);
        keep(expiry, content, digest);
        EXPECT_TRUE(settings_cache::load());
        cache().set_raw(u"Ignore", value);
        EXPECT_FALSE(settings_cache::load());
        cache().delete_value(u"Ignore");
    }
    cache().delete_value(u"Expiry");
    cache().set_integer(u"Ignore", 0);
    EXPECT_FALSE(settings_cache::load());
    EXPECT_FALSE(cache().get_raw(u"Expiry"));  // not even written back
}

TEST_F(settings_cache_test, processes_never_see_each_other_half_way) {
    settings_cache::store("at first", true);
    registry::close_all();
    const auto work = [](const std::string& text) {
        for (int i = 0; i < 50; ++i) {
            settings_cache::store(text + std::to_string(i), true);
            test_support::require(settings_cache::load()->is_intact, "half of each");
        }
    };
    test_support::child_process first([&] { work("first"); });
    test_support::child_process second([&] { work("the second, which is longer"); });
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
}

}  // namespace
