#include "services/language_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/registry.h"
#include "foundation/registry_values.h"
#include "message/character_set.h"
#include "platform/paths.h"
#include "support/heard_log.h"
#include "support/in_threads.h"
#include "support/temporary_folder.h"

namespace {

namespace registry = replay::registry2;
namespace unicode = replay::unicode;
using brindlemoss::language::identification;
using brindlemoss::services::language_manager;
using replay::internet::message2::part;
using testing::ElementsAre;
using testing::IsEmpty;
using texts = std::vector<std::string>;

// Answers what the text says: "6 1049 40" is status, number and weight.
class reading_identifier : public brindlemoss::language::identifier {
public:
    explicit reading_identifier(texts& asked) : asked_(asked) {}

    identification identify(std::u16string_view text) override {
        if (++inside_ > 1) throw std::logic_error("two threads at a time");
        asked_.push_back(unicode::from_wide(text, unicode::utf8));
        std::this_thread::yield();
        identification answer;
        unsigned weight = 0;
        std::sscanf(asked_.back().c_str(), "%d %u %u", &answer.status, &answer.language, &weight);
        answer.weight = static_cast<std::uint16_t>(weight);
        --inside_;
        return answer;
    }

private:
    std::atomic<int> inside_{0};
    texts& asked_;
};

class language_manager_test : public testing::Test {
protected:
    ~language_manager_test() override { registry::close_all(); }

    std::uint32_t classified(const std::string& raw) {
        part message(raw);
        return manager.classify(message);
    }

    // A message of these texts, one part each.
    static std::string mixed(const texts& parts) {
        std::string raw = "Content-Type: multipart/mixed; boundary=b\n\n";
        for (const std::string& each : parts) raw += "--b\n\n" + each + "\n";
        return raw + "--b--\n";
    }

    static const registry::key& settings() {
        return registry::at(registry::tree_key::user_language_recognition);
    }

    test_support::heard_log<brindlemoss::subsystem::language> log;
    texts asked;
    int made = 0;
    int failures_to_come = 0;

private:
    const test_support::temporary_folder folder_;
    const replay::platform::paths::scoped_home home_{folder_.path()};

protected:
    language_manager manager{
        brindlemoss::module::instance().log_of(brindlemoss::subsystem::language),
        [this]() -> std::unique_ptr<brindlemoss::language::identifier> {
            ++made;
            if (failures_to_come-- > 0) {
                throw brindlemoss::language::manager::initialization("no library");
            }
            return std::make_unique<reading_identifier>(asked);
        }};
};

TEST_F(language_manager_test, reads_the_texts_of_the_message_itself) {
    EXPECT_EQ(classified(std::string(R"(
Content-Type: multipart/mixed; boundary=b

6 7 999 in the preamble
--b
Content-Type: text/html

<html><body><p title="6 7 999">6 1030 50&amp;</p></body></html>
--b
Content-Type: text/plain; name=notes.txt
Content-Disposition: attachment

6 7 999
--b
Content-Type: application/octet-stream

6 7 999
--b
Content-Type: message/rfc822

6 7 999 in an attached message
--b
Content-Type: text/x-signature

6 1031 20
--b
Content-Type: text/plain

4 1033 7
--b
Content-Type: text/plain

--b--
)")
                             .substr(1)),
              1030u);
    EXPECT_THAT(asked, ElementsAre("\r\n6 1030 50& ", "6 1031 20\r\n", "4 1033 7\r\n"));
    EXPECT_THAT(log.take(), ElementsAre("0 text/html: LCID: 1030 Weight: 50",
                                        "0 text/x-signature: LCID: 1031 Weight: 20",
                                        "0 text/plain: Status: 4"));
}

TEST_F(language_manager_test, reads_a_root_that_is_an_attachment) {
    EXPECT_EQ(classified("Content-Disposition: attachment; filename=a.txt\n\n6 1049 1"), 1049u);
}

TEST_F(language_manager_test, picks_the_heaviest) {
    const struct {
        const char* name;
        texts parts;
        std::uint32_t language;
    } rows[] = {
        {"nothing", {}, 0},
        {"the heavier of two, last", {"6 1033 19", "6 1049 20"}, 1049},
        {"three of a kind", {"6 1049 30", "6 1049 30", "6 1033 89", "6 1049 30"}, 1049},
        {"the higher number of equals", {"6 1049 30", "6 1033 30"}, 1049},
        {"the higher number of equal sums", {"6 1033 30", "6 1049 10", "6 1049 20"}, 1049},
        {"a sum beyond 16 bits", {"6 1049 65535", "6 1049 2", "6 1033 2"}, 1033},
        {"a sum of 16 bits", {"6 1049 65533", "6 1049 2", "6 1033 65534"}, 1049},
        {"not what was not recognised", {"5 1049 900", "6 1033 1"}, 1033},
        {"a status above", {"7 1049 9"}, 1049},
        {"nothing recognised", {"5 1049 900", "0 0 0", "-1 1049 9"}, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(classified(mixed(row.parts)), row.language);
    }
}

TEST_F(language_manager_test, makes_the_identifier_once_when_it_is_needed) {
    EXPECT_EQ(classified(mixed({})), 0u);
    EXPECT_EQ(classified("Content-Type: image/png\n\nx"), 0u);
    EXPECT_EQ(made, 0);
    failures_to_come = 2;
    for (int round = 0; round < 2; ++round) {
        EXPECT_THROW(classified("\n6 1049 1"), brindlemoss::language::manager::initialization);
    }
    EXPECT_EQ(classified("\n6 1049 1"), 1049u);
    EXPECT_EQ(classified("\n6 1033 1"), 1033u);
    EXPECT_EQ(made, 3);
}

TEST_F(language_manager_test, identifies_one_text_at_a_time) {
    test_support::in_threads(4, [this](int) {
        for (int round = 0; round < 100; ++round) classified("\n6 1049 1");
    });
    EXPECT_EQ(asked.size(), 400u);
    EXPECT_EQ(made, 1);
}

TEST_F(language_manager_test, accepts_by_mode_and_list) {
    const struct {
        const char* name;
        std::uint32_t mode;
        registry::text_list entries;
        const char* text;
        bool accepted;
        int language;  // -1: untouched
    } rows[] = {
        {"refused", 1, {u"1030", u"1049"}, "6 1049 9", false, 1049},
        {"not among the refused", 1, {u"1030"}, "6 1049 9", true, 1049},
        {"accepted", 0, {u"1030", u"1049"}, "6 1049 9", true, 1049},
        {"not among the accepted", 0, {u"1030"}, "6 1049 9", false, 1049},
        {"no list", 1, {}, "6 1049 9", true, -1},
        {"unknown, not refused", 1, {u"0"}, "4 0 0", true, 0},
        {"unknown, where few are accepted", 0, {u"1030"}, "4 0 0", true, 0},
        {"another mode, listed", 2, {u"1049"}, "6 1049 9", true, 1049},
        {"an entry that is no number", 1, {u"Russian"}, "6 1049 9", true, 1049},
        {"only what is no number accepted", 0, {u"Russian"}, "6 1049 9", false, 1049},
        {"a number with something behind it", 1, {u"1049 Russian"}, "6 1049 9", false, 1049},
        {"hexadecimal is no decimal", 1, {u"0x419"}, "6 1049 9", true, 1049},
        {"another country's number", 1, {u"2073"}, "6 1049 9", true, 1049},
        {"an attachment alone", 1, {u"1049"}, nullptr, true, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        settings().set_integer(u"Mode", row.mode);
        settings().set_multi_text(u"Languages", row.entries);
        part message(row.text != nullptr ? std::string("\n") + row.text
                                         : "Content-Type: image/png\n\n6 1049 9");
        int language = -1;
        EXPECT_EQ(manager.accept(message, language), row.accepted);
        EXPECT_EQ(language, row.language);
    }
}

TEST_F(language_manager_test, looks_at_nothing_without_a_list) {
    part message("\n6 1049 9");
    int language = 77;
    EXPECT_TRUE(manager.accept(message, language));
    EXPECT_EQ(language, 77);
    EXPECT_EQ(made, 0);
    EXPECT_THAT(log.take(), IsEmpty());
    // The mode stands in the store from now on, the list does not.
    EXPECT_THAT(settings().value_names(), ElementsAre(u"Mode"));
    EXPECT_EQ(settings().get_integer(u"Mode", 9, registry::write_back::no), 1u);
}

TEST_F(language_manager_test, lets_through_what_a_text_throws) {
    EXPECT_THROW(classified("Content-Type: text/html\n\n<body>&#xQ;"), replay::exception);
    EXPECT_THROW(classified("Content-Type: text/plain; charset=windows-9999\n\n6 1049 9"),
                 unicode::generic);
}

}  // namespace
