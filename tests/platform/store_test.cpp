#include "platform/store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "support/child_process.h"
#include "support/temporary_folder.h"

namespace replay::platform {
namespace {

using test_support::child_process;
using test_support::pipe_ends;
using test_support::require;
using test_support::temporary_folder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr char file_name[] = "a.store";

store_options quiet(std::vector<std::string>* lines = nullptr) {
    store_options options;
    options.message = [lines](std::string_view line) {
        if (lines != nullptr) lines->emplace_back(line);
    };
    return options;
}

stored_value binary(std::string bytes) {
    return {value_type::binary, std::move(bytes)};
}

stored_value integer(std::uint32_t number) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift);
    return {value_type::integer, bytes};
}

// The fault that `work` throws, nullopt for none.
template <typename work>
std::optional<store_fault> fault_of(work&& do_work) {
    try {
        do_work();
    } catch (const store_error& error) {
        return error.fault();
    }
    return std::nullopt;
}

struct value_case {
    const char* what;
    stored_value value;
};

const value_case value_cases[] = {
    {"no type, no bytes", {value_type::none, ""}},
    {"text", {value_type::text, std::string("a\0\0\0", 4)}},
    {"expandable text", {value_type::expandable_text, std::string("\0\0", 2)}},
    {"binary with a NUL", {value_type::binary, std::string("\0\xFF", 2)}},
    {"binary of the size of a number", {value_type::binary, "1234"}},
    {"the least number", {value_type::integer, std::string(4, '\0')}},
    {"the greatest number", {value_type::integer, "\xFF\xFF\xFF\xFF"}},
    {"a number in its order of bytes", {value_type::integer, "\x01\x02\x03\x84"}},
    {"a number too short", {value_type::integer, "\x01\x02"}},
    {"a number without bytes", {value_type::integer, ""}},
    {"a number too long", {value_type::integer, "12345678"}},
    {"a 64-bit number", {value_type::integer64, "\x01\x02\x03\x04\x05\x06\x07\x88"}},
    {"the greatest 64-bit number", {value_type::integer64, std::string(8, '\xFF')}},
    {"a 64-bit number too short", {value_type::integer64, "\x01\x02\x03\x04"}},
    {"a list over many pages", {value_type::multi_text, std::string(300'000, 'x')}},
    {"an unknown type", {12345, "abc"}},
    {"a negative type", {-1, "abc"}},
};

TEST(store, gives_back_what_was_written_also_once_reopened) {
    for (const auto kept :
         {store_options::journal::write_ahead, store_options::journal::rollback}) {
        const temporary_folder folder;
        store_options options = quiet();
        options.kept = kept;
        {
            store writing(folder.path(file_name), options);
            writing.create_key("k");
            for (const value_case& row : value_cases) writing.write("k", row.what, row.value);
            for (const value_case& row : value_cases) {
                SCOPED_TRACE(row.what);
                EXPECT_EQ(writing.read("k", row.what).value, row.value);
            }
        }
        store reading(folder.path(file_name), options);
        for (const value_case& row : value_cases) {
            SCOPED_TRACE(row.what);
            EXPECT_EQ(reading.read("k", row.what).value, row.value);
        }
    }
}

TEST(store, keeps_names_in_the_order_of_their_first_writing) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("z\\2");
    tree.create_key("a");
    tree.create_key("\\z\\\\1\\");
    tree.create_key("m");
    EXPECT_THAT(tree.key_names(""), ElementsAre("z", "a", "m"));
    EXPECT_THAT(tree.key_names("z"), ElementsAre("2", "1"));
    tree.write("a", "z", binary("1"));
    tree.write("a", "b", binary("1"));
    tree.write("a", "", binary("1"));
    tree.write("a", "Z", binary("2"));
    tree.add("a", "sum", 1);
    tree.add("a", "b", 1);
    EXPECT_THAT(tree.value_names("a"), ElementsAre("z", "b", "", "sum"));
    EXPECT_TRUE(tree.delete_value("a", "z"));
    tree.write("a", "z", binary("3"));
    EXPECT_THAT(tree.value_names("a"), ElementsAre("b", "", "sum", "z"));
}

TEST(store, takes_names_without_regard_to_case) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("Software\\\u00C4pfel");
    tree.create_key("SOFTWARE\\\u00E4PFEL\\x");
    EXPECT_THAT(tree.key_names("software"), ElementsAre("\u00C4pfel"));
    tree.write("software\\\u00E4pfel", "Gr\u00D6\u00DFe", binary("1"));
    EXPECT_EQ(tree.read("Software\\\u00C4PFEL", "gr\u00F6\u00DFE").value, binary("1"));
    EXPECT_FALSE(tree.read("Software\\\u00C4pfel", "grosse").found);
}

struct name_case {
    const char* what;
    std::string key;
    std::string value;
    bool taken;
};

const name_case name_cases[] = {
    {"the longest name of a key", std::string(255, 'k'), "", true},
    {"a longer one", std::string(256, 'k'), "", false},
    {"characters count, not bytes", std::string(254, 'k') + "\u00E4", "", true},
    {"a character too many", std::string(255, 'k') + "\u00E4", "", false},
    {"the longest name of a value", "k", std::string(16'383, 'v'), true},
    {"a longer one", "k", std::string(16'384, 'v'), false},
    {"a NUL in a key", std::string("a\0b", 3), "", false},
    {"a NUL in a value", "k", std::string("a\0b", 3), false},
    {"bytes that are no text", "k", "\xFF", false},
    {"SQL", "'; DROP TABLE keys; --", "\"%s\"", true},
};

TEST(store, refuses_names_that_are_none) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    for (const name_case& row : name_cases) {
        SCOPED_TRACE(row.what);
        const auto fault = fault_of([&] {
            tree.create_key(row.key);
            tree.write(row.key, row.value, binary("1"));
        });
        EXPECT_EQ(fault, row.taken ? std::nullopt : std::optional(store_fault::invalid_parameter));
    }
    std::string deep;
    for (int depth = 0; depth < 512; ++depth) deep += "\\d";
    EXPECT_EQ(fault_of([&] { tree.create_key(deep); }), std::nullopt);
    EXPECT_EQ(fault_of([&] { tree.create_key(deep + "\\d"); }), store_fault::invalid_parameter);
}

TEST(store, refuses_a_value_that_no_store_can_hold) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("a");
    constexpr std::size_t most_of_a_row = std::size_t{256} << 20;
    stored_value value = binary(std::string(most_of_a_row - 100, 'x'));
    EXPECT_EQ(fault_of([&] { tree.write("a", "large", value); }), std::nullopt);
    tree.write("a", "v", binary("1"));
    value.bytes.append(100, 'x');
    EXPECT_EQ(fault_of([&] { tree.write("a", "v", value); }), store_fault::invalid_parameter);
    EXPECT_EQ(tree.read("a", "v").value, binary("1"));
}

TEST(store, removes_keys_without_keys_below_them) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("a\\b");
    tree.write("a\\b", "v", binary("1"));
    EXPECT_EQ(fault_of([&] { tree.delete_key("a"); }), store_fault::access_denied);
    EXPECT_EQ(fault_of([&] { tree.delete_key(""); }), store_fault::access_denied);
    EXPECT_EQ(fault_of([&] { tree.delete_key("c"); }), store_fault::not_found);
    EXPECT_EQ(tree.read("a\\b", "v").value, binary("1"));
    tree.delete_key("A\\B");
    EXPECT_FALSE(tree.has_key("a\\b"));
    for (const auto& use : std::vector<std::function<void()>>{
             [&] { tree.read("a\\b", "v"); }, [&] { tree.write("a\\b", "v", binary("2")); },
             [&] { tree.add("a\\b", "v", 1); }, [&] { tree.delete_value("a\\b", "v"); },
             [&] { tree.value_names("a\\b"); }, [&] { tree.key_names("a\\b"); }}) {
        EXPECT_EQ(fault_of(use), store_fault::key_deleted);
    }
    tree.create_key("a\\b");
    EXPECT_FALSE(tree.read("a\\b", "v").found);
}

TEST(store, follows_a_key_that_another_removed_and_made_again) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("a");
    tree.write("a", "v", binary("1"));
    const value_stamp before = tree.read("a", "v").stamp;
    {
        store other(folder.path(file_name), quiet());
        other.delete_key("a");
        other.create_key("a");
        other.write("a", "v", binary("2"));
    }
    const store::reading after = tree.read("a", "v", before);
    EXPECT_FALSE(after.unchanged);
    EXPECT_EQ(after.value, binary("2"));
    {
        store other(folder.path(file_name), quiet());
        other.delete_key("a");
        other.create_key("a");
    }
    tree.write("a", "w", binary("3"));
    EXPECT_EQ(tree.read("a", "w").value, binary("3"));
}

TEST(store, sees_at_once_what_another_process_wrote) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("a");
    tree.write("a", "list", binary("old"));
    const value_stamp stamp = tree.read("a", "list").stamp;
    tree.add("a", "counter", 1);
    EXPECT_TRUE(tree.read("a", "list", stamp).unchanged) << "another value was written";
    child_process child([&] {
        store other(folder.path(file_name), quiet());
        other.write("a", "list", binary("new"));
        other.write("a", "list", binary("old"));
        other.write("a", "list", binary("new"));
    });
    ASSERT_EQ(child.wait(), 0);
    const store::reading seen = tree.read("a", "list", stamp);
    EXPECT_FALSE(seen.unchanged);
    EXPECT_EQ(seen.value, binary("new"));
}

TEST(store, is_of_use_on_both_sides_of_a_fork) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("a");
    tree.write("a", "before", binary("1"));
    child_process child([&] {
        require(tree.read("a", "before").value == binary("1"), "what was before");
        for (int i = 0; i < 200; ++i) tree.add("a", "sum", 1);
    });
    for (int i = 0; i < 200; ++i) tree.add("a", "sum", 1);
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(tree.read("a", "sum").value, integer(400));
}

// A connection carried over the fork would have no locks in the child, and the parent would take
// the log away from under it.
TEST(store, goes_on_in_a_child_when_the_parent_closes_it) {
    const temporary_folder folder;
    auto tree = std::make_unique<store>(folder.path(file_name), quiet());
    tree->create_key("a");
    pipe_ends open_in_child;
    pipe_ends closed_in_parent;
    child_process child([&] {
        tree->write("a", "first", binary("1"));
        open_in_child.put('.');
        closed_in_parent.get();
        tree->write("a", "second", binary("2"));
    });
    ASSERT_TRUE(open_in_child.get());
    tree.reset();
    closed_in_parent.put('.');
    EXPECT_EQ(child.wait(), 0);
    store again(folder.path(file_name), quiet());
    EXPECT_EQ(again.read("a", "first").value, binary("1"));
    EXPECT_EQ(again.read("a", "second").value, binary("2"));
}

TEST(store, keeps_every_acknowledged_write_of_a_killed_process) {
    constexpr int rounds = 4;
    constexpr int writes = 1500;
    const temporary_folder folder;
    int acknowledged = 0;
    for (int round = 0; round < rounds; ++round) {
        pipe_ends acknowledgements;
        child_process child([&] {
            acknowledgements.close_reading();
            store tree(folder.path(file_name), quiet());
            tree.create_key("a");
            for (int i = acknowledged;; ++i) {
                tree.write("a", "v" + std::to_string(i), binary(std::string(200, 'x')));
                tree.add("a", "sum", 1);
                acknowledgements.put('.');
            }
        });
        acknowledgements.close_writing();
        for (int i = 0; i < writes && acknowledgements.get(); ++i) ++acknowledged;
        child.kill(SIGKILL);
        EXPECT_EQ(child.wait(), -SIGKILL);
        while (acknowledgements.get()) ++acknowledged;

        std::vector<std::string> lines;
        store tree(folder.path(file_name), quiet(&lines));
        EXPECT_THAT(lines, IsEmpty());
        for (int i = 0; i < acknowledged; ++i) {
            ASSERT_TRUE(tree.read("a", "v" + std::to_string(i)).found) << i;
        }
    }
    EXPECT_GE(acknowledged, rounds * writes);
}

TEST(store, loses_no_addition_of_threads_and_processes) {
    constexpr std::uint32_t additions = 150;
    const temporary_folder folder;
    {
        store tree(folder.path(file_name), quiet());
        tree.create_key("a");
    }
    const auto add_in_threads = [&] {
        store tree(folder.path(file_name), quiet());
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 3; ++thread) {
            threads.emplace_back([&] {
                for (std::uint32_t i = 0; i < additions; ++i) tree.add("a", "sum", 3);
            });
        }
        for (std::thread& thread : threads) thread.join();
    };
    {
        child_process first(add_in_threads);
        child_process second(add_in_threads);
        EXPECT_EQ(first.wait(), 0);
        EXPECT_EQ(second.wait(), 0);
    }
    store tree(folder.path(file_name), quiet());
    EXPECT_EQ(tree.read("a", "sum").value, integer(2 * 3 * 3 * additions));
}

struct sum_case {
    const char* what;
    std::optional<stored_value> before;
    std::uint32_t amount;
    bool added;
    std::uint32_t sum;
};

const sum_case sum_cases[] = {
    {"a missing value counts as 0", std::nullopt, 7, true, 7},
    {"nothing added makes the value", std::nullopt, 0, true, 0},
    {"up to the greatest", integer(0xFFFFFFFE), 1, true, 0xFFFFFFFF},
    {"over the greatest", integer(0xFFFFFFFF), 1, true, 0},
    {"as far as it goes", integer(0xFFFFFFFF), 0xFFFFFFFF, true, 0xFFFFFFFE},
    {"a text stays", stored_value{value_type::text, "1234"}, 1, false, 0},
    {"a number of another size stays", stored_value{value_type::integer, "12"}, 1, false, 0},
    {"a 64-bit number stays", stored_value{value_type::integer64, "12345678"}, 1, false, 0},
};

TEST(store, adds_in_32_bits) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("a");
    for (const sum_case& row : sum_cases) {
        SCOPED_TRACE(row.what);
        if (row.before) tree.write("a", row.what, *row.before);
        EXPECT_EQ(tree.add("a", row.what, row.amount), row.added);
        EXPECT_EQ(tree.read("a", row.what).value, row.added ? integer(row.sum) : *row.before);
    }
}

TEST(store, updates_while_no_other_process_writes) {
    constexpr int changes = 150;
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("a");
    const auto append = [&] {
        for (int i = 0; i < changes; ++i) {
            tree.update("a", "list", [](const std::optional<stored_value>& before) {
                return binary((before ? before->bytes : "") + ".");
            });
        }
    };
    child_process child(append);
    append();
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(tree.read("a", "list").value, binary(std::string(2 * changes, '.')));
}

TEST(store, changes_nothing_when_an_update_throws_or_does_not_want_to) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("a");
    tree.write("a", "v", binary("1"));
    EXPECT_THROW(tree.update("a", "v",
                             [](const auto&) -> std::optional<stored_value> {
                                 throw std::logic_error("no");
                             }),
                 std::logic_error);
    tree.update("a", "v", [](const auto&) { return std::nullopt; });
    EXPECT_EQ(tree.read("a", "v").value, binary("1"));
    tree.write("a", "v", binary("2"));  // no transaction was left open
    store other(folder.path(file_name), quiet());
    EXPECT_EQ(other.read("a", "v").value, binary("2"));
}

// A store with something in it, closed.
std::string made_store(const temporary_folder& folder) {
    store tree(folder.path(file_name), quiet());
    tree.create_key("a");
    for (int i = 0; i < 400; ++i) tree.write("a", std::to_string(i), binary(std::string(300, 'x')));
    return tree.file();
}

std::string alien_database(const temporary_folder& folder) {
    sqlite3* handle = nullptr;
    sqlite3_open(folder.path("alien").c_str(), &handle);
    sqlite3_exec(handle, "CREATE TABLE precious (x); INSERT INTO precious VALUES (1)", nullptr,
                 nullptr, nullptr);
    sqlite3_close(handle);
    return folder.read("alien");
}

std::string with_byte_flipped(std::string bytes, std::size_t at) {
    bytes.at(at) = static_cast<char>(bytes.at(at) ^ 0xFF);
    return bytes;
}

std::string with_garbage(std::string bytes, std::size_t at) {
    return bytes.replace(at, 4096, 4096, 'g');
}

std::vector<std::string> files_set_aside(const temporary_folder& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        const std::string name = entry.path().filename();
        if (name.find(".damaged-") != std::string::npos) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

TEST(store, sets_a_damaged_file_aside_and_begins_a_new_one) {
    const temporary_folder source;
    made_store(source);
    const std::string good = source.read(file_name);
    const struct {
        const char* what;
        std::string bytes;
    } rows[] = {
        {"one byte", "x"},
        {"a text", std::string(5000, 'g')},
        {"a cut header", good.substr(0, 50)},
        {"cut in the first page", good.substr(0, 3000)},
        {"cut behind the first page", good.substr(0, 4096)},
        {"half of it", good.substr(0, good.size() / 2)},
        {"a page too few", good.substr(0, good.size() - 4096)},
        {"a flipped byte in the magic", with_byte_flipped(good, 3)},
        {"a flipped byte in the tables' page", with_byte_flipped(good, 100)},
        {"a page of garbage in the middle", with_garbage(good, good.size() / 8192 * 4096)},
        {"somebody else's database", alien_database(source)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const temporary_folder folder;
        folder.file(file_name, row.bytes);
        std::vector<std::string> lines;
        store_options options = quiet(&lines);
        options.initial = {{"first", "v", integer(5)}, {"second", "", std::nullopt}};
        {
            store tree(folder.path(file_name), options);
            EXPECT_THAT(tree.key_names(""), ElementsAre("first", "second"));
            EXPECT_EQ(tree.read("first", "v").value, integer(5));
            tree.write("second", "w", binary("1"));
        }
        ASSERT_THAT(lines, SizeIs(1));
        EXPECT_THAT(lines[0], HasSubstr(folder.path(file_name)));
        EXPECT_EQ(lines[0].find('\n'), std::string::npos);
        const std::vector<std::string> aside = files_set_aside(folder);
        ASSERT_THAT(aside, SizeIs(1));
        EXPECT_EQ(folder.read(aside[0]), row.bytes);
        store again(folder.path(file_name), options);
        EXPECT_EQ(again.read("second", "w").value, binary("1"));
        EXPECT_THAT(lines, SizeIs(1));
    }
}

TEST(store, never_writes_over_a_file_that_was_set_aside) {
    const clock::standing time(clock::time_point(std::chrono::seconds(1'000'000'000)));
    const temporary_folder folder;
    for (const char* garbage : {"first garbage", "second garbage", "third garbage"}) {
        folder.file(file_name, garbage);
        store(folder.path(file_name), quiet());
    }
    const std::vector<std::string> aside = files_set_aside(folder);
    ASSERT_THAT(aside, SizeIs(3));
    EXPECT_EQ(folder.read(aside[0]), "first garbage");
    EXPECT_EQ(folder.read(aside[1]), "second garbage");
    EXPECT_EQ(folder.read(aside[2]), "third garbage");
}

TEST(store, sets_the_log_aside_with_an_emptied_file) {
    const temporary_folder folder;
    child_process child([&] {
        store tree(folder.path(file_name), quiet());
        tree.create_key("a");
        ::raise(SIGKILL);  // so that the log stays
    });
    ASSERT_EQ(child.wait(), -SIGKILL);
    ASSERT_FALSE(folder.read("a.store-wal").empty());
    std::filesystem::resize_file(folder.path(file_name), 0);
    std::vector<std::string> lines;
    store tree(folder.path(file_name), quiet(&lines));
    EXPECT_THAT(lines, SizeIs(1));
    EXPECT_THAT(tree.key_names(""), IsEmpty());
    std::size_t logs = 0;
    for (const std::string& name : files_set_aside(folder)) {
        if (name.ends_with("-wal")) ++logs;
    }
    EXPECT_EQ(logs, 1u);
}

TEST(store, is_one_file_when_nobody_has_it_open) {
    const temporary_folder folder;
    made_store(folder);
    store(folder.path(file_name), quiet()).write("a", "v", integer(1));
    std::filesystem::copy(folder.path(file_name), folder.path("copy"));
    store(folder.path(file_name), quiet()).write("a", "v", integer(2));
    EXPECT_FALSE(std::filesystem::exists(folder.path("a.store-wal")));
    std::filesystem::rename(folder.path("copy"), folder.path(file_name));
    EXPECT_EQ(store(folder.path(file_name), quiet()).read("a", "v").value, integer(1));
}

// As a process leaves the log that was killed.
void write_to_a_log_that_is_left(const temporary_folder& folder, std::string_view name) {
    child_process writer([&] {
        auto* const never_closed = new store(folder.path(file_name), quiet());
        never_closed->write("a", name, binary("1"));
    });
    ASSERT_EQ(writer.wait(), 0);
    ASSERT_TRUE(std::filesystem::exists(folder.path("a.store-wal")));
}

TEST(store, begins_anew_where_the_file_was_removed_and_its_log_left) {
    const temporary_folder folder;
    made_store(folder);
    write_to_a_log_that_is_left(folder, "v");
    std::filesystem::remove(folder.path(file_name));
    std::vector<std::string> lines;
    const store tree(folder.path(file_name), quiet(&lines));
    EXPECT_THAT(lines, SizeIs(1));
    EXPECT_THAT(store(folder.path(file_name), quiet(&lines)).key_names(""), IsEmpty());
    EXPECT_THAT(lines, SizeIs(1));
    EXPECT_THAT(files_set_aside(folder), testing::Contains(testing::EndsWith("-wal")));
}

TEST(store, opens_beside_a_log_of_garbage) {
    const temporary_folder folder;
    made_store(folder);
    folder.file("a.store-wal", std::string(10'000, 'g'));
    std::vector<std::string> lines;
    store tree(folder.path(file_name), quiet(&lines));
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_THAT(tree.value_names("a"), SizeIs(400));
}

TEST(store, goes_on_with_the_file_that_has_its_name) {
    const temporary_folder folder;
    const temporary_folder other_folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("a");
    tree.write("a", "v", binary("old"));
    const value_stamp stamp = tree.read("a", "v").stamp;
    {
        store other(other_folder.path(file_name), quiet());
        other.create_key("a");
        other.write("a", "v", binary("new"));
    }
    std::filesystem::rename(other_folder.path(file_name), folder.path(file_name));
    std::filesystem::remove(folder.path("a.store-wal"));
    std::filesystem::remove(folder.path("a.store-shm"));
    EXPECT_EQ(tree.read("a", "v", stamp).value, binary("new"));
    std::filesystem::remove(folder.path(file_name));
    EXPECT_FALSE(tree.has_key("a"));
    tree.create_key("b");
    store again(folder.path(file_name), quiet());
    EXPECT_TRUE(again.has_key("b"));
}

TEST(store, leaves_the_file_of_a_newer_program_alone) {
    const temporary_folder folder;
    made_store(folder);
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(folder.path(file_name).c_str(), &handle), SQLITE_OK);
    sqlite3_exec(handle, "PRAGMA user_version = 2", nullptr, nullptr, nullptr);
    sqlite3_close(handle);
    const auto open = [&] { store(folder.path(file_name), quiet()); };
    EXPECT_EQ(fault_of(open), store_fault::open_failed);
    EXPECT_THAT(files_set_aside(folder), IsEmpty());
}

TEST(store, reads_what_it_may_not_write) {
    for (const auto kept :
         {store_options::journal::write_ahead, store_options::journal::rollback}) {
        for (const mode_t folder_mode : {0555, 0777}) {
            const temporary_folder folder;
            store_options options = quiet();
            options.kept = kept;
            {
                store tree(folder.path(file_name), options);
                tree.create_key("a");
                tree.write("a", "v", binary("1"));
            }
            ::chmod(folder.path(file_name).c_str(), 0444);
            ::chmod(folder.path().c_str(), folder_mode);
            child_process child([&] {
                test_support::become_nobody();
                store tree(folder.path(file_name), options);
                require(tree.read_only(), "read-only");
                require(tree.read("a", "v").value == binary("1"), "the value");
                for (const auto& use : std::vector<std::function<void()>>{
                         [&] { tree.write("a", "v", binary("2")); }, [&] { tree.add("a", "n", 1); },
                         [&] { tree.create_key("b"); }, [&] { tree.delete_key("a"); },
                         [&] { tree.delete_value("a", "v"); }}) {
                    require(fault_of(use) == store_fault::access_denied, "denied");
                }
            });
            EXPECT_EQ(child.wait(), 0);
            ::chmod(folder.path().c_str(), 0700);
        }
    }
}

// A log that was left, without the index that SQLite keeps in a file beside it.
TEST(store, reads_a_log_that_was_left_and_takes_none_for_damage_that_it_may_not_read) {
    for (const bool readable : {true, false}) {
        SCOPED_TRACE(readable);
        const temporary_folder folder;
        made_store(folder);
        write_to_a_log_that_is_left(folder, "0");
        std::filesystem::remove(folder.path("a.store-shm"));
        ::chmod(folder.path(file_name).c_str(), 0444);
        ::chmod(folder.path("a.store-wal").c_str(), readable ? 0444 : 0000);
        ::chmod(folder.path().c_str(), readable ? 0555 : 0777);
        child_process child([&] {
            test_support::become_nobody();
            const auto open = [&] { return store(folder.path(file_name), quiet()).read("a", "0"); };
            if (readable) {
                require(open().value == binary("1"), "the last write");
            } else {
                require(fault_of(open) == store_fault::open_failed, "no reading");
            }
        });
        EXPECT_EQ(child.wait(), 0);
        EXPECT_THAT(files_set_aside(folder), IsEmpty());
        ::chmod(folder.path().c_str(), 0700);
    }
}

TEST(store, says_when_there_are_no_rights_at_all) {
    const temporary_folder folder;
    made_store(folder);
    ::chmod(folder.path(file_name).c_str(), 0000);
    ::chmod(folder.path().c_str(), 0555);
    child_process child([&] {
        test_support::become_nobody();
        const auto open = [&](const char* name) { store(folder.path(name), quiet()); };
        require(fault_of([&] { open(file_name); }) == store_fault::access_denied, "no reading");
        require(fault_of([&] { open("new"); }) == store_fault::access_denied, "no making");
    });
    EXPECT_EQ(child.wait(), 0);
    ::chmod(folder.path().c_str(), 0700);
}

// Another process, which holds the store in the folder for itself from the beginning on.
class locking_process {
public:
    explicit locking_process(const temporary_folder& folder)
        : child_([this, &folder] {
              sqlite3* handle = nullptr;
              sqlite3_open(folder.path(file_name).c_str(), &handle);
              sqlite3_exec(handle, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
              locked_.put('.');
              unlock_.get();
              sqlite3_exec(handle, "COMMIT", nullptr, nullptr, nullptr);
              sqlite3_close(handle);
          }) {
        EXPECT_TRUE(locked_.get());
    }

    void unlock() const { unlock_.put('.'); }

    int unlock_and_end() {
        unlock();
        return child_.wait();
    }

private:
    pipe_ends locked_;
    pipe_ends unlock_;
    child_process child_;
};

TEST(store, fails_when_it_is_locked_for_too_long_and_then_goes_on) {
    const temporary_folder folder;
    std::vector<std::string> lines;
    store_options options = quiet(&lines);
    options.busy_timeout = std::chrono::milliseconds(20);
    store tree(folder.path(file_name), options);
    tree.create_key("a");
    tree.write("a", "v", binary("1"));
    locking_process other(folder);
    EXPECT_EQ(fault_of([&] { tree.write("a", "v", binary("2")); }), store_fault::locked);
    EXPECT_EQ(fault_of([&] { tree.add("a", "n", 2); }), store_fault::locked);
    EXPECT_THAT(lines, SizeIs(1)) << "the same fault is told once";
    EXPECT_EQ(tree.read("a", "v").value, binary("1"));
    EXPECT_EQ(other.unlock_and_end(), 0);
    tree.write("a", "v", binary("3"));
    EXPECT_EQ(tree.read("a", "v").value, binary("3"));
}

TEST(store, waits_for_a_short_lock) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("a");
    locking_process other(folder);
    std::thread writer([&] { tree.write("a", "v", binary("2")); });
    other.unlock();
    writer.join();
    EXPECT_EQ(tree.read("a", "v").value, binary("2"));
}

TEST(store, keeps_what_it_has_when_no_more_can_be_written) {
    const temporary_folder folder;
    child_process child([&] {
        std::vector<std::string> lines;
        store tree(folder.path(file_name), quiet(&lines));
        tree.create_key("a");
        tree.write("a", "v", binary("1"));
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit little{200'000, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &little);
        const auto write = [&] { tree.write("a", "v", binary(std::string(1'000'000, 'x'))); };
        require(fault_of(write).has_value(), "a write that does not fit");
        require(lines.size() == 1, "one line");
        require(tree.read("a", "v").value == binary("1"), "the value before");
        const rlimit plenty{RLIM_INFINITY, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &plenty);
        write();
    });
    ASSERT_EQ(child.wait(), 0);
    store tree(folder.path(file_name), quiet());
    EXPECT_EQ(tree.read("a", "v").value, binary(std::string(1'000'000, 'x')));
}

TEST(store, is_for_its_user_alone) {
    const temporary_folder folder;
    store tree(folder.path(file_name), quiet());
    tree.create_key("a");
    for (const char* name : {"a.store", "a.store-wal", "a.store-shm"}) {
        SCOPED_TRACE(name);
        struct stat status {};
        ASSERT_EQ(::stat(folder.path(name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600u);
    }
}

}  // namespace
}  // namespace replay::platform
