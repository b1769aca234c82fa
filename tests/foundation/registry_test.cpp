#include "foundation/registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "foundation/counters.h"
#include "platform/paths.h"
#include "support/child_process.h"
#include "support/in_threads.h"
#include "support/temporary_folder.h"

namespace replay::registry2 {
namespace {

namespace value_type = platform::value_type;
using platform::stored_value;
using test_support::child_process;
using test_support::require;
using test_support::temporary_folder;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// A home of its own for each test, with both trees closed before and after.
class registry : public ::testing::Test {
protected:
    registry() : home_(folder_.path("home")) {
        close_all();
        set_message_sink([this](std::string_view line) { lines_.emplace_back(line); });
    }
    ~registry() override {
        close_all();
        set_message_sink({});
    }

    // Below the root of the tree of the user.
    static key user_key(std::u16string_view name = u"Test") {
        return key(key(predefined_root::current_user), name, when_missing::create);
    }

    const temporary_folder folder_;
    const platform::paths::scoped_home home_;
    std::vector<std::string> lines_;
};

// What `work` throws, in the words of its exception; empty for nothing.
std::string thrown_by(const std::function<void()>& work) {
    try {
        work();
    } catch (const generic& error) {
        return error.what();
    }
    return {};
}

TEST_F(registry, gives_defaults_and_writes_them_back_only_when_told) {
    const key test = user_key();
    EXPECT_EQ(test.get_integer(u"i", 7, write_back::no), 7u);
    EXPECT_EQ(test.get_text(u"t", u"seven", write_back::no), u"seven");
    EXPECT_EQ(test.get_bytes_text(u"b", "\xE4", write_back::no), "\xE4");
    EXPECT_THAT(test.get_multi_text(u"m", {u"a", u"b"}, write_back::no), ElementsAre(u"a", u"b"));
    EXPECT_THAT(test.value_names(), IsEmpty());
    test.get_integer(u"i", 7, write_back::yes);
    test.get_text(u"t", u"seven", write_back::yes);
    test.get_bytes_text(u"b", "\xE4", write_back::yes);
    test.get_multi_text(u"m", {u"a", u"b"}, write_back::yes);
    EXPECT_THAT(test.value_names(), ElementsAre(u"i", u"t", u"b", u"m"));
    EXPECT_EQ(test.get_integer(u"i", 8, write_back::yes), 7u);
    EXPECT_EQ(test.get_text(u"t", u"eight", write_back::yes), u"seven");
    EXPECT_EQ(test.get_text(u"b", u"", write_back::yes), u"\u00E4");
    EXPECT_THAT(test.get_multi_text(u"m", {}, write_back::yes), ElementsAre(u"a", u"b"));
}

TEST_F(registry, keeps_values_as_the_bytes_of_their_type) {
    const key test = user_key();
    test.set_integer(u"i", 0x84030201);
    test.set_integer64(u"q", 0x8807060504030201);
    test.set_text(u"t", u"a\u20AC");
    test.set_text(u"e", u"");
    test.set_binary(u"b", std::string_view("\0\1", 2));
    test.set_multi_text(u"m", {u"a", u"bc"});
    test.set_multi_text(u"n", {});
    const struct {
        std::u16string_view name;
        stored_value value;
    } rows[] = {
        {u"i", {value_type::integer, "\x01\x02\x03\x84"}},
        {u"q", {value_type::integer64, "\x01\x02\x03\x04\x05\x06\x07\x88"}},
        {u"t", {value_type::text, std::string("a\0\xAC\x20\0\0", 6)}},
        {u"e", {value_type::text, std::string(2, '\0')}},
        {u"b", {value_type::binary, std::string("\0\1", 2)}},
        {u"m", {value_type::multi_text, std::string("a\0\0\0b\0c\0\0\0\0\0", 12)}},
        {u"n", {value_type::multi_text, std::string(2, '\0')}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value.type);
        EXPECT_EQ(test.get_raw(row.name), row.value);
    }
    EXPECT_EQ(test.get_raw(u"missing"), std::nullopt);
}

TEST_F(registry, reads_text_however_it_ends_and_never_expands_it) {
    const key test = user_key();
    const struct {
        const char* what;
        std::int32_t type;
        std::string bytes;
        std::u16string text;
    } rows[] = {
        {"with its NUL", value_type::text, std::string("a\0b\0\0\0", 6), u"ab"},
        {"without a NUL", value_type::expandable_text, std::string("a\0b\0", 4), u"ab"},
        {"no bytes", value_type::none, "", u""},
        {"half a character", value_type::none, std::string("a\0b", 3), u"a"},
        {"a NUL inside stays", value_type::text, std::string("a\0\0\0b\0\0\0", 8),
         std::u16string(u"a\0b", 3)},
        {"a lone surrogate stays", value_type::text, std::string("\0\xD8\0\0", 4), u"\xD800"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        test.set_raw(u"t", {row.type, row.bytes});
        EXPECT_EQ(test.get_text(u"t", u"default", write_back::no), row.text);
    }
    test.set_raw(u"t", {value_type::expandable_text, std::string("%\0A\0%\0\0\0", 8)});
    EXPECT_EQ(test.get_text(u"t", u"", write_back::no), u"%A%");
    EXPECT_EQ(test.get_bytes_text(u"t", "", write_back::no), "%A%");
    test.set_text(u"t", u"\u00FF\u0100");
    EXPECT_EQ(test.get_bytes_text(u"t", "", write_back::no), "\xFF?");
}

struct list_case {
    const char* what;
    std::string bytes;
    text_list lines;
};

const list_case list_cases[] = {
    {"two lines", std::string("a\0\0\0b\0\0\0\0\0", 10), {u"a", u"b"}},
    {"an empty line ends it", std::string("a\0\0\0\0\0b\0\0\0\0\0", 12), {u"a"}},
    {"nothing but the end", std::string(2, '\0'), {}},
    {"no bytes", "", {}},
    {"the end is missing", std::string("a\0\0\0b\0\0\0", 8), {u"a", u"b"}},
    {"the last line has no NUL", std::string("a\0\0\0b\0", 6), {u"a", u"b"}},
    {"half a character", std::string("a\0\0\0b", 5), {u"a"}},
};

TEST_F(registry, reads_lists_however_they_end) {
    const key test = user_key();
    for (const list_case& row : list_cases) {
        SCOPED_TRACE(row.what);
        test.set_raw(u"m", {value_type::multi_text, row.bytes});
        EXPECT_EQ(test.get_multi_text(u"m", {u"default"}, write_back::no), row.lines);
        EXPECT_THAT(*test.shared_multi_text(u"m"), ElementsAreArray(row.lines));
    }
}

TEST_F(registry, refuses_lines_that_would_end_a_list) {
    const key test = user_key();
    test.set_multi_text(u"m", {u"old"});
    const std::u16string with_nul(u"a\0b", 3);
    const struct {
        text_list lines;
        const char* thrown;
    } rows[] = {
        {{u"a", u"", u"b"}, "registry2.value_error[MULTI_SZ may not contain empty lines]"},
        {{u""}, "registry2.value_error[MULTI_SZ may not contain empty lines]"},
        {{u"a", with_nul}, "registry2.value_error[RegSetValueEx() failed: value \"m\" (87)]"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(thrown_by([&] { test.set_multi_text(u"m", row.lines); }), row.thrown);
        const auto change = [&](line_list& lines) {
            for (const std::u16string& line : row.lines) lines.push_back(line);
            return true;
        };
        EXPECT_EQ(thrown_by([&] { test.change_multi_text(u"m", change); }), row.thrown);
        EXPECT_THAT(test.get_multi_text(u"m", {}, write_back::no), ElementsAre(u"old"));
    }
}

TEST_F(registry, reads_only_values_of_the_right_type_and_size) {
    const key test = user_key();
    const auto as_integer = [&] { test.get_integer(u"v", 1, write_back::yes); };
    const auto as_text = [&] { test.get_text(u"v", u"", write_back::yes); };
    const auto as_bytes_text = [&] { test.get_bytes_text(u"v", "", write_back::yes); };
    const auto as_binary = [&] {
        std::string bytes;
        test.get_binary(u"v", bytes);
    };
    const auto as_list = [&] { test.get_multi_text(u"v", {}, write_back::yes); };
    const auto as_shared_list = [&] { test.shared_multi_text(u"v"); };
    const auto as_changed_list = [&] {
        test.change_multi_text(u"v", [](line_list&) { return true; });
    };
    const auto as_counter = [&] { test.add_to_integer(u"v", 1); };
    const stored_value text{value_type::text, std::string("a\0\0\0", 4)};
    const stored_value number{value_type::integer, "1234"};
    const stored_value short_number{value_type::integer, "12"};
    const struct {
        const char* what;
        stored_value value;
        std::function<void()> read;
        const char* differs;
        int expected;
        int found;
    } rows[] = {
        {"a text as a number", text, as_integer, "Type", 4, 1},
        {"a long text", {value_type::text, std::string(20, '\0')}, as_integer, "Type", 4, 1},
        {"two binary bytes", {value_type::binary, "12"}, as_integer, "Size", 4, 2},
        {"no bytes", {value_type::binary, ""}, as_integer, "Size", 4, 0},
        {"four binary bytes", {value_type::binary, "1234"}, as_integer, "Type", 4, 3},
        {"a number of two bytes", short_number, as_integer, "Size", 4, 2},
        {"five bytes without a type", {value_type::none, "12345"}, as_integer, "Size", 4, 5},
        {"a 64-bit number", {value_type::integer64, "12345678"}, as_integer, "Type", 4, 11},
        {"expandable", {value_type::expandable_text, "1234"}, as_integer, "Type", 4, 2},
        {"a text counted", text, as_counter, "Type", 4, 1},
        {"a number of two bytes counted", short_number, as_counter, "Size", 4, 2},
        {"a number as a text", number, as_text, "Type", 1, 4},
        {"a number as bytes", number, as_bytes_text, "Type", 1, 4},
        {"a list as a text", {value_type::multi_text, ""}, as_text, "Type", 1, 7},
        {"a text as binary", text, as_binary, "Type", 3, 1},
        {"a text as a list", text, as_list, "Type", 7, 1},
        {"an expandable list", {value_type::expandable_text, ""}, as_list, "Type", 7, 2},
        {"a number as a shared list", number, as_shared_list, "Type", 7, 4},
        {"a number as a list to change", number, as_changed_list, "Type", 7, 4},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        test.set_raw(u"v", row.value);
        const std::string domain = *row.differs == 'T' ? "type_mismatch" : "size_mismatch";
        EXPECT_EQ(thrown_by(row.read),
                  "registry2." + domain + "[" + row.differs + " mismatch: value \"v\" expected " +
                      std::to_string(row.expected) + " found " + std::to_string(row.found) + "]");
        EXPECT_EQ(test.get_raw(u"v"), row.value);
    }
    test.set_raw(u"v", {value_type::none, "1234"});
    EXPECT_EQ(test.get_integer(u"v", 1, write_back::yes), 0x34333231u);
}

TEST_F(registry, leaves_the_bytes_alone_when_a_binary_value_is_missing) {
    const key test = user_key();
    std::string bytes = "before";
    test.get_binary(u"b", bytes);
    EXPECT_EQ(bytes, "before");
    test.set_binary(u"b", "");
    test.get_binary(u"b", bytes);
    EXPECT_EQ(bytes, "");
}

TEST_F(registry, says_what_failed_with_name_and_number) {
    const key test = user_key();
    key(test, u"Sub\\Key", when_missing::create);
    const std::u16string no_text(u"\xD800");
    const struct {
        const char* thrown;
        std::function<void()> work;
    } rows[] = {
        {"registry2.key_error[RegOpenKeyEx() failed: key \"No\\Key\" (2)]",
         [&] { key(test, u"No\\Key", when_missing::fail); }},
        {"registry2.key_error[RegOpenKeyEx() failed: key \"?\xE4\" (2)]",
         [&] { key(test, u"\u20AC\u00E4", when_missing::fail); }},
        {"registry2.key_error[RegCreateKeyEx() failed: key \"?\" (87)]",
         [&] { key(test, no_text, when_missing::create); }},
        {"registry2.key_error[RegDeleteKey() failed: key \"Sub\" (5)]",
         [&] { test.delete_key(u"Sub"); }},
        {"registry2.key_error[RegDeleteKey() failed: key \"None\" (2)]",
         [&] { test.delete_key(u"None"); }},
        {"registry2.value_error[RegDeleteValue() failed: value \"None\" (2)]",
         [&] { test.delete_value(u"None"); }},
        {"registry2.value_error[RegQueryValueEx() failed: value \"?\" (87)]",
         [&] { test.get_integer(no_text, 1, write_back::no); }},
        {"registry2.value_error[RegSetValueEx() failed: value \"?\" (87)]",
         [&] { test.set_integer(no_text, 1); }},
    };
    for (const auto& row : rows) EXPECT_EQ(thrown_by(row.work), row.thrown);
}

TEST_F(registry, names_and_counts_what_stands_below_a_key) {
    const key test = user_key();
    key(test, u"z", when_missing::create);
    key(test, u"a\\b", when_missing::create);
    test.set_integer(u"two", 2);
    test.set_integer(u"One", 1);
    test.set_integer(u"three", 3);
    EXPECT_THAT(test.key_names(), ElementsAre(u"z", u"a"));
    EXPECT_THAT(test.value_names(), ElementsAre(u"two", u"One", u"three"));
    EXPECT_EQ(test.query_info().subkeys, 2u);
    EXPECT_EQ(test.query_info().values, 3u);
    test.delete_value(u"ONE");
    test.delete_key(u"Z");
    EXPECT_THAT(test.key_names(), ElementsAre(u"a"));
    EXPECT_THAT(test.value_names(), ElementsAre(u"two", u"three"));
}

TEST_F(registry, makes_a_created_key_again_once_it_was_removed) {
    const key parent = user_key();
    const key created(parent, u"k", when_missing::create);
    const key opened(parent, u"k", when_missing::fail);
    created.set_multi_text(u"m", {u"a"});
    EXPECT_THAT(*created.shared_multi_text(u"m"), ElementsAre(u"a"));
    parent.delete_key(u"k");
    EXPECT_THAT(*created.shared_multi_text(u"m"), IsEmpty());
    EXPECT_EQ(thrown_by([&] { opened.get_integer(u"v", 1, write_back::yes); }),
              "registry2.value_error[RegQueryValueEx() failed: value \"v\" (1018)]");
    EXPECT_EQ(thrown_by([&] { opened.set_integer(u"v", 1); }),
              "registry2.value_error[RegSetValueEx() failed: value \"v\" (1018)]");
    EXPECT_EQ(created.get_integer(u"v", 1, write_back::yes), 1u);
    EXPECT_EQ(opened.get_integer(u"v", 2, write_back::no), 1u);
    parent.delete_key(u"k");
    created.add_to_integer(u"n", 5);
    EXPECT_EQ(created.get_integer(u"n", 0, write_back::no), 5u);
}

TEST_F(registry, gives_the_same_list_until_somebody_writes_it) {
    const key test = user_key();
    test.set_multi_text(u"m", {u"a"});
    const auto first = test.shared_multi_text(u"m");
    test.add_to_integer(u"counter", 1);
    EXPECT_EQ(test.shared_multi_text(u"m"), first);
    EXPECT_EQ(test.shared_multi_text(u"M"), test.shared_multi_text(u"M"));
    child_process child([] { user_key().set_multi_text(u"m", {u"a", u"b"}); });
    ASSERT_EQ(child.wait(), 0);
    EXPECT_THAT(*test.shared_multi_text(u"m"), ElementsAre(u"a", u"b"));
    EXPECT_THAT(*first, ElementsAre(u"a"));
    test.delete_value(u"m");
    EXPECT_THAT(*test.shared_multi_text(u"m"), IsEmpty());
}

TEST_F(registry, loses_no_line_that_two_processes_add) {
    const auto add_lines = [](const char16_t* line) {
        const key test = user_key();
        for (int i = 0; i < 60; ++i) {
            test.change_multi_text(u"m", [&](line_list& lines) {
                lines.push_back(line);
                return true;
            });
        }
    };
    child_process child([&] { add_lines(u"child"); });
    add_lines(u"parent");
    ASSERT_EQ(child.wait(), 0);
    const text_list lines = user_key().get_multi_text(u"m", {}, write_back::no);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), u"child"), 60);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), u"parent"), 60);
}

TEST_F(registry, lays_the_tree_of_an_installation_where_there_is_none) {
    const key& community = at(tree_key::machine_community);
    EXPECT_THAT(community.value_names(), ElementsAre(u"Timeout", u"Server", u"Refresh"));
    EXPECT_EQ(community.get_integer(u"Refresh", 3600, write_back::no), 0u);
    EXPECT_EQ(community.get_integer(u"Timeout", 0, write_back::no), 5000u);
    EXPECT_EQ(get_text(setting_of(tree_key::machine_installation, u"Version"), write_back::no),
              u"");
    EXPECT_THAT(at(tree_key::machine_root).key_names(),
                ElementsAre(u"Account", u"Community", u"Installation", u"Language Recognition"));
    community.delete_value(u"Refresh");
    close_all();
    constexpr const setting& refresh = setting_of(tree_key::machine_community, u"Refresh");
    EXPECT_EQ(get_integer(refresh, write_back::no), 3600u) << "it is laid only once";
}

TEST_F(registry, creates_every_key_of_the_user) {
    for (const key_place& place : key_places) at(place.key);
    const key root(predefined_root::current_user);
    for (const key_place& place : key_places) {
        if (place.root != predefined_root::current_user) continue;
        EXPECT_EQ(thrown_by([&] { key(root, place.path, when_missing::fail); }), "");
    }
    EXPECT_THAT(at(tree_key::user_rules_allow).value_names(), IsEmpty());
}

TEST_F(registry, reads_trees_that_may_not_be_written) {
    for (const key_place& place : key_places) at(place.key);
    at(tree_key::user_thresholds).set_integer(u"Filter", 60);
    close_all();
    for (const auto root : {predefined_root::current_user, predefined_root::local_machine}) {
        ::chmod(store_file(root).c_str(), 0444);
    }
    ::chmod(folder_.path().c_str(), 0755);
    ::chmod(folder_.path("home").c_str(), 0555);
    child_process child([&] {
        test_support::become_nobody();
        const key& community = at(tree_key::machine_community);
        require(community.get_integer(u"Timeout", 1, write_back::yes) == 5000, "reading");
        require(thrown_by([&] { community.set_integer(u"Timeout", 1); }) ==
                    "registry2.value_error[RegSetValueEx() failed: value \"Timeout\" (5)]",
                "writing");
        require(lines_.empty(), "no complaint about the machine's tree");
        const key root(predefined_root::current_user);
        require(lines_.size() == 1, "one about the user's");
        const std::u16string_view path = place_of(tree_key::user_thresholds).path;
        const key thresholds(root, path, when_missing::fail);
        require(thresholds.get_integer(u"Filter", 50, write_back::no) == 60, "the threshold");
        require(thrown_by([&] { key(root, u"Software", when_missing::create); }) ==
                    "registry2.key_error[RegCreateKeyEx() failed: key \"Software\" (5)]",
                "creating does not fall back");
    });
    EXPECT_EQ(child.wait(), 0);
    ::chmod(folder_.path("home").c_str(), 0700);
}

TEST_F(registry, tells_once_that_there_is_no_place_for_it) {
    folder_.file("home", "in the way");
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(thrown_by([] { at(tree_key::user_root); }),
                  "registry2.key_error[RegOpenKeyEx() failed: handle -2147483647 (5)]");
    }
    ASSERT_THAT(lines_, SizeIs(1));
    EXPECT_EQ(lines_[0], "cannot make the folder " + folder_.path("home") + ": Not a directory");
    std::filesystem::remove(folder_.path("home"));
    EXPECT_EQ(thrown_by([] { at(tree_key::user_root); }), "") << "it tries again";
}

TEST_F(registry, begins_anew_when_a_tree_is_garbage) {
    folder_.file("home/user.store", "garbage");
    folder_.file("home/machine.store", std::string(9000, 'g'));
    EXPECT_EQ(get_integer(setting_of(tree_key::user_thresholds, u"Filter"), write_back::yes), 50u);
    EXPECT_EQ(at(tree_key::machine_community).get_integer(u"Refresh", 1, write_back::no), 0u);
    EXPECT_THAT(lines_, SizeIs(2));
}

TEST_F(registry, opens_each_key_of_the_table_once_for_all_threads) {
    std::vector<const key*> seen(8);
    test_support::in_threads(8,
                             [&](int number) { seen[number] = &at(tree_key::user_rules_trust); });
    EXPECT_THAT(seen, ::testing::Each(seen[0]));
}

TEST_F(registry, a_key_of_the_table_opens_again_when_it_is_used) {
    const key& rules = at(tree_key::user_rules_deny);
    rules.set_multi_text(u"Domains", {u"a"});
    EXPECT_THAT(*rules.shared_multi_text(u"Domains"), ElementsAre(u"a"));
    close_all();
    std::filesystem::remove_all(folder_.path("home"));
    EXPECT_THAT(*rules.shared_multi_text(u"Domains"), IsEmpty()) << "it is a fresh home";
    rules.set_multi_text(u"Domains", {u"b"});
    EXPECT_EQ(&at(tree_key::user_rules_deny), &rules);
    EXPECT_THAT(rules.get_multi_text(u"Domains", {}, write_back::no), ElementsAre(u"b"));
}

TEST_F(registry, threads_may_go_on_while_all_is_closed) {
    constexpr std::uint32_t additions = 200;
    std::atomic<bool> is_done = false;
    std::thread counting([&] {
        for (std::uint32_t i = 0; i < additions; ++i) counters::add("User", "Blocked", 1);
        is_done = true;
    });
    while (!is_done) close_all();
    counting.join();
    EXPECT_EQ(get_integer(setting_of(tree_key::user_statistics_user, u"Blocked"), write_back::no),
              additions);
}

TEST_F(registry, counts_in_keys_of_the_table_and_in_others) {
    counters::add("Filter", "Processed", 0xFFFFFFFF);
    counters::add("Filter", "Processed", 3);
    counters::add("Communication\\Protocol", "Queries", 1);
    counters::add("Of\\One's own", "\u00C4pfel", 4);
    EXPECT_EQ(
        get_integer(setting_of(tree_key::user_statistics_filter, u"Processed"), write_back::no),
        2u);
    EXPECT_EQ(
        get_integer(setting_of(tree_key::user_statistics_protocol, u"Queries"), write_back::no),
        1u);
    const key root(predefined_root::current_user);
    const key own(root, u"Software\\Brindlemoss\\Statistics\\Of\\One's own", when_missing::fail);
    EXPECT_EQ(own.get_integer(u"\u00C4pfel", 0, write_back::no), 4u);
    at(tree_key::user_statistics_filter).set_text(u"Blocked", u"many");
    EXPECT_EQ(thrown_by([] { counters::add("Filter", "Blocked", 1); }),
              "registry2.type_mismatch[Type mismatch: value \"Blocked\" expected 4 found 1]");
}

TEST_F(registry, counts_exactly_between_processes_and_threads) {
    constexpr std::uint32_t additions = 100;
    const auto count = [] {
        test_support::in_threads(3, [](int) {
            for (std::uint32_t i = 0; i < additions; ++i) counters::add("User", "Blocked", 1);
        });
    };
    child_process first(count);
    child_process second(count);
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
    EXPECT_EQ(get_integer(setting_of(tree_key::user_statistics_user, u"Blocked"), write_back::no),
              6 * additions);
}

std::string ascii(std::u16string_view text) {
    return {text.begin(), text.end()};
}

std::string shown_default(const setting& row) {
    switch (row.type) {
        case kind::integer: return std::to_string(row.integer_default);
        case kind::text:
            return row.text_default.empty() ? "empty" : "`" + ascii(row.text_default) + "`";
        case kind::multi_text: return "empty";
        case kind::any: return "none";
    }
    return {};
}

// The lines that the page should have for one tree.
std::vector<std::string> wanted_rows(predefined_root root) {
    constexpr const char* kinds[] = {"32-bit", "text", "list", "any"};
    std::vector<std::string> rows;
    for (const key_place& place : key_places) {
        if (place.root != root) continue;
        const std::string key_cell = "| `" + ascii(place.path) + "` |";
        const std::size_t before = rows.size();
        for (const setting& row : settings) {
            if (row.key != place.key) continue;
            rows.push_back(key_cell + " `" + ascii(row.name) + "` | " +
                           kinds[static_cast<std::size_t>(row.type)] + " | " + shown_default(row) +
                           " | " + std::string(row.meaning) + " |");
        }
        if (rows.size() == before) rows.push_back(key_cell + " | | | |");
    }
    return rows;
}

std::vector<std::string> rows_below(const std::string& heading) {
    std::ifstream page(BRINDLEMOSS_EXAMPLES "/../docs/registry.md");
    std::vector<std::string> rows;
    bool below = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("#")) below = line == heading;
        if (below && line.starts_with("| `")) rows.push_back(line);
    }
    return rows;
}

TEST(registry_page, shows_the_table_as_it_is) {
    const struct {
        const char* heading;
        predefined_root root;
    } trees[] = {
        {"## The machine's tree", predefined_root::local_machine},
        {"## The user's tree", predefined_root::current_user},
    };
    for (const auto& tree : trees) {
        EXPECT_THAT(rows_below(tree.heading), ::testing::ElementsAreArray(wanted_rows(tree.root)));
    }
}

}  // namespace
}  // namespace replay::registry2
