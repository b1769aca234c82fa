#include "platform/store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "support/child_process.h"
#include "support/size_limit.h"
#include "support/temporary_folder.h"

namespace {

namespace clock = replay::platform::clock;
namespace platform = replay::platform;
namespace value_type = platform::value_type;
using platform::store_error;
using platform::store_fault;
using platform::store_options;
using platform::stored_value;
using platform::value_stamp;
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

class store : public testing::Test {
protected:
    // The store, with a key "a" in it, open until close().
    platform::store& begun() {
        if (!tree_) tree_.emplace(file_, quiet(&lines_));
        tree_->create_key("a");
        return *tree_;
    }
    void close() { tree_.reset(); }

    // Leaves a store with something in it.
    void make() {
        for (int i = 0; i < 400; ++i) {
            begun().write("a", std::to_string(i), binary(std::string(300, 'x')));
        }
        close();
    }

    // As a process leaves the log that was killed.
    void write_to_a_log_that_is_left(std::string_view name) {
        child_process writer([&] { begun().write("a", name, binary("1")); });  // and never closes
        ASSERT_EQ(writer.wait(), 0);
        ASSERT_TRUE(std::filesystem::exists(file_ + "-wal"));
    }

    std::vector<std::string> files_set_aside() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
            const std::string name = entry.path().filename();
            if (name.find(".damaged-") != std::string::npos) names.push_back(name);
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    const temporary_folder folder_;
    const std::string file_ = folder_.path(file_name);
    std::vector<std::string> lines_;

private:
    std::optional<platform::store> tree_;
};

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

TEST_F(store, gives_back_what_was_written_also_once_reopened) {
    const struct {
        const char* what;
        stored_value value;
    } rows[] = {
        {"no type, no bytes", {value_type::none, ""}},
        {"text", {value_type::text, std::string("a\0\0\0", 4)}},
        {"binary with a NUL", {value_type::binary, std::string("\0\xFF", 2)}},
        {"the least number", {value_type::integer, std::string(4, '\0')}},
        {"a number in its order of bytes", {value_type::integer, "\x01\x02\x03\x84"}},
        {"a number too short", {value_type::integer, "\x01\x02"}},
        {"a number without bytes", {value_type::integer, ""}},
        {"a number too long", {value_type::integer, "12345678"}},
        {"a 64-bit number", {value_type::integer64, "\x01\x02\x03\x04\x05\x06\x07\x88"}},
        {"a 64-bit number too short", {value_type::integer64, "\x01\x02\x03\x04"}},
        {"a list over many pages", {value_type::multi_text, std::string(300'000, 'x')}},
        {"an unknown type", {12345, "abc"}},
    };
    for (const auto kept :
         {store_options::journal::write_ahead, store_options::journal::rollback}) {
        const temporary_folder folder;
        store_options options = quiet();
        options.kept = kept;
        for (const bool is_written : {false, true}) {
            platform::store tree(folder.path(file_name), options);
            tree.create_key("k");
            for (const auto& row : rows) {
                SCOPED_TRACE(row.what);
                if (!is_written) tree.write("k", row.what, row.value);
                EXPECT_EQ(tree.read("k", row.what).value, row.value);
            }
        }
    }
}

TEST_F(store, keeps_names_in_the_order_of_their_first_writing) {
    platform::store& tree = begun();
    tree.create_key("z\\2");
    tree.create_key("\\z\\\\1\\");
    tree.create_key("m");
    EXPECT_THAT(tree.key_names(""), ElementsAre("a", "z", "m"));
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

TEST_F(store, takes_names_without_regard_to_case) {
    platform::store& tree = begun();
    tree.create_key("Software\\\u00C4pfel");
    tree.create_key("SOFTWARE\\\u00E4PFEL\\x");
    EXPECT_THAT(tree.key_names("software"), ElementsAre("\u00C4pfel"));
    tree.write("software\\\u00E4pfel", "Gr\u00D6\u00DFe", binary("1"));
    EXPECT_EQ(tree.read("Software\\\u00C4PFEL", "gr\u00F6\u00DFE").value, binary("1"));
    EXPECT_FALSE(tree.read("Software\\\u00C4pfel", "grosse").found);
}

TEST_F(store, refuses_names_that_are_none) {
    const struct {
        const char* what;
        std::string key;
        std::string value;
        bool taken;
    } rows[] = {
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
    platform::store& tree = begun();
    for (const auto& row : rows) {
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

TEST_F(store, refuses_a_value_that_no_store_can_hold) {
    platform::store& tree = begun();
    constexpr std::size_t most_of_a_row = std::size_t{256} << 20;
    stored_value value = binary(std::string(most_of_a_row - 100, 'x'));
    EXPECT_EQ(fault_of([&] { tree.write("a", "large", value); }), std::nullopt);
    tree.write("a", "v", binary("1"));
    value.bytes.append(100, 'x');
    EXPECT_EQ(fault_of([&] { tree.write("a", "v", value); }), store_fault::invalid_parameter);
    EXPECT_EQ(tree.read("a", "v").value, binary("1"));
}

TEST_F(store, removes_keys_without_keys_below_them) {
    platform::store& tree = begun();
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

TEST_F(store, follows_a_key_that_another_removed_and_made_again) {
    platform::store& tree = begun();
    tree.write("a", "v", binary("1"));
    const value_stamp before = tree.read("a", "v").stamp;
    platform::store other(file_, quiet());
    other.delete_key("a");
    other.create_key("a");
    other.write("a", "v", binary("2"));
    const platform::store::reading after = tree.read("a", "v", before);
    EXPECT_FALSE(after.unchanged);
    EXPECT_EQ(after.value, binary("2"));
    other.delete_key("a");
    other.create_key("a");
    tree.write("a", "w", binary("3"));
    EXPECT_EQ(tree.read("a", "w").value, binary("3"));
}

TEST_F(store, sees_at_once_what_another_process_wrote) {
    platform::store& tree = begun();
    tree.write("a", "list", binary("old"));
    const value_stamp stamp = tree.read("a", "list").stamp;
    tree.add("a", "counter", 1);
    EXPECT_TRUE(tree.read("a", "list", stamp).unchanged) << "another value was written";
    child_process child([&] {
        platform::store other(file_, quiet());
        other.write("a", "list", binary("new"));
        other.write("a", "list", binary("old"));
        other.write("a", "list", binary("new"));
    });
    ASSERT_EQ(child.wait(), 0);
    const platform::store::reading seen = tree.read("a", "list", stamp);
    EXPECT_FALSE(seen.unchanged);
    EXPECT_EQ(seen.value, binary("new"));
}

TEST_F(store, is_of_use_on_both_sides_of_a_fork) {
    platform::store& tree = begun();
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
TEST_F(store, goes_on_in_a_child_when_the_parent_closes_it) {
    platform::store& tree = begun();
    pipe_ends open_in_child;
    pipe_ends closed_in_parent;
    child_process child([&] {
        tree.write("a", "first", binary("1"));
        open_in_child.put('.');
        closed_in_parent.get();
        tree.write("a", "second", binary("2"));
    });
    ASSERT_TRUE(open_in_child.get());
    close();
    closed_in_parent.put('.');
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(begun().read("a", "first").value, binary("1"));
    EXPECT_EQ(begun().read("a", "second").value, binary("2"));
}

TEST_F(store, adds_in_32_bits) {
    const struct {
        const char* what;
        std::optional<stored_value> before;
        std::uint32_t amount;
        bool added;
        std::uint32_t sum;
    } rows[] = {
        {"a missing value counts as 0", std::nullopt, 7, true, 7},
        {"nothing added makes the value", std::nullopt, 0, true, 0},
        {"up to the greatest", integer(0xFFFFFFFE), 1, true, 0xFFFFFFFF},
        {"over the greatest", integer(0xFFFFFFFF), 1, true, 0},
        {"as far as it goes", integer(0xFFFFFFFF), 0xFFFFFFFF, true, 0xFFFFFFFE},
        {"a text stays", stored_value{value_type::text, "1234"}, 1, false, 0},
        {"a number of another size stays", stored_value{value_type::integer, "12"}, 1, false, 0},
        {"a 64-bit number stays", stored_value{value_type::integer64, "12345678"}, 1, false, 0},
    };
    platform::store& tree = begun();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        if (row.before) tree.write("a", row.what, *row.before);
        EXPECT_EQ(tree.add("a", row.what, row.amount), row.added);
        EXPECT_EQ(tree.read("a", row.what).value, row.added ? integer(row.sum) : *row.before);
    }
}

TEST_F(store, changes_nothing_when_an_update_throws_or_does_not_want_to) {
    platform::store& tree = begun();
    tree.write("a", "v", binary("1"));
    EXPECT_THROW(tree.update("a", "v",
                             [](const auto&) -> std::optional<stored_value> {
                                 throw std::logic_error("no");
                             }),
                 std::logic_error);
    tree.update("a", "v", [](const auto&) { return std::nullopt; });
    EXPECT_EQ(tree.read("a", "v").value, binary("1"));
    tree.write("a", "v", binary("2"));  // no transaction was left open
    EXPECT_EQ(platform::store(file_, quiet()).read("a", "v").value, binary("2"));
}

std::string alien_database() {
    const temporary_folder folder;
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

TEST_F(store, sets_a_damaged_file_aside_and_begins_a_new_one) {
    make();
    const std::string good = folder_.read(file_name);
    const struct {
        const char* what;
        std::string bytes;
    } rows[] = {
        {"one byte", "x"},
        {"a text", std::string(5000, 'g')},
        {"a cut header", good.substr(0, 50)},
        {"cut behind the first page", good.substr(0, 4096)},
        {"a page too few", good.substr(0, good.size() - 4096)},
        {"a flipped byte in the magic", with_byte_flipped(good, 3)},
        {"a flipped byte in the tables' page", with_byte_flipped(good, 100)},
        {"a page of garbage in the middle", with_garbage(good, good.size() / 8192 * 4096)},
        {"somebody else's database", alien_database()},
    };
    store_options options = quiet(&lines_);
    options.initial = {{"first", "v", integer(5)}, {"second", "", std::nullopt}};
    std::vector<std::string> before;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        folder_.file(file_name, row.bytes);
        {
            platform::store tree(file_, options);
            EXPECT_THAT(tree.key_names(""), ElementsAre("first", "second"));
            EXPECT_EQ(tree.read("first", "v").value, integer(5));
            tree.write("second", "w", binary("1"));
        }
        ASSERT_THAT(lines_, SizeIs(1));
        EXPECT_THAT(lines_[0], HasSubstr("the store " + file_ + " is damaged ("));
        EXPECT_EQ(lines_[0].find('\n'), std::string::npos);
        const std::vector<std::string> aside = files_set_aside();
        ASSERT_THAT(aside, SizeIs(1));
        EXPECT_EQ(folder_.read(aside[0]), row.bytes);
        EXPECT_EQ(platform::store(file_, options).read("second", "w").value, binary("1"));
        EXPECT_THAT(lines_, SizeIs(1));
        lines_.clear();
        std::filesystem::remove(folder_.path(aside[0]));
    }
}

TEST_F(store, never_writes_over_a_file_that_was_set_aside) {
    const clock::standing time(clock::time_point(std::chrono::seconds(1'000'000'000)));
    std::vector<std::string> kept;
    for (const char* garbage : {"first garbage", "second garbage", "third garbage"}) {
        folder_.file(file_name, garbage);
        platform::store(file_, quiet());
    }
    for (const std::string& name : files_set_aside()) kept.push_back(folder_.read(name));
    EXPECT_THAT(kept, ElementsAre("first garbage", "second garbage", "third garbage"));
}

TEST_F(store, begins_anew_where_the_file_was_emptied_or_removed_and_its_log_left) {
    for (const bool is_removed : {false, true}) {
        SCOPED_TRACE(is_removed);
        lines_.clear();
        make();
        write_to_a_log_that_is_left("v");
        std::filesystem::resize_file(file_, 0);
        if (is_removed) std::filesystem::remove(file_);
        const platform::store tree(file_, quiet(&lines_));
        EXPECT_THAT(platform::store(file_, quiet(&lines_)).key_names(""), IsEmpty());
        EXPECT_THAT(lines_, SizeIs(1));
        EXPECT_THAT(files_set_aside(), testing::Contains(testing::EndsWith("-wal")));
        for (const std::string& name : files_set_aside()) {
            std::filesystem::remove(folder_.path(name));
        }
    }
}

TEST_F(store, is_one_file_when_nobody_has_it_open) {
    make();
    platform::store(file_, quiet()).write("a", "v", integer(1));
    std::filesystem::copy(file_, folder_.path("copy"));
    platform::store(file_, quiet()).write("a", "v", integer(2));
    EXPECT_FALSE(std::filesystem::exists(file_ + "-wal"));
    std::filesystem::rename(folder_.path("copy"), file_);
    EXPECT_EQ(platform::store(file_, quiet()).read("a", "v").value, integer(1));
}

TEST_F(store, opens_beside_a_log_of_garbage) {
    make();
    folder_.file("a.store-wal", std::string(10'000, 'g'));
    EXPECT_THAT(begun().value_names("a"), SizeIs(400));
    EXPECT_THAT(lines_, IsEmpty());
}

TEST_F(store, goes_on_with_the_file_that_has_its_name) {
    const temporary_folder other_folder;
    platform::store& tree = begun();
    tree.write("a", "v", binary("old"));
    const value_stamp stamp = tree.read("a", "v").stamp;
    {
        platform::store other(other_folder.path(file_name), quiet());
        other.create_key("a");
        other.write("a", "v", binary("new"));
    }
    std::filesystem::rename(other_folder.path(file_name), file_);
    std::filesystem::remove(file_ + "-wal");
    std::filesystem::remove(file_ + "-shm");
    EXPECT_EQ(tree.read("a", "v", stamp).value, binary("new"));
    std::filesystem::remove(file_);
    EXPECT_FALSE(tree.has_key("a"));
    tree.create_key("b");
    EXPECT_TRUE(platform::store(file_, quiet()).has_key("b"));
}

TEST_F(store, leaves_the_file_of_a_newer_program_alone) {
    make();
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(file_.c_str(), &handle), SQLITE_OK);
    sqlite3_exec(handle, "PRAGMA user_version = 2", nullptr, nullptr, nullptr);
    sqlite3_close(handle);
    EXPECT_EQ(fault_of([&] { platform::store(file_, quiet()); }), store_fault::open_failed);
    EXPECT_THAT(files_set_aside(), IsEmpty());
}

TEST_F(store, reads_what_it_may_not_write) {
    for (const auto kept :
         {store_options::journal::write_ahead, store_options::journal::rollback}) {
        for (const mode_t folder_mode : {0555, 0777}) {
            const temporary_folder folder;
            store_options options = quiet();
            options.kept = kept;
            {
                platform::store tree(folder.path(file_name), options);
                tree.create_key("a");
                tree.write("a", "v", binary("1"));
            }
            ::chmod(folder.path(file_name).c_str(), 0444);
            ::chmod(folder.path().c_str(), folder_mode);
            child_process child([&] {
                test_support::become_nobody();
                platform::store tree(folder.path(file_name), options);
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
TEST_F(store, reads_a_log_that_was_left_and_takes_none_for_damage_that_it_may_not_read) {
    make();
    write_to_a_log_that_is_left("0");
    std::filesystem::remove(file_ + "-shm");
    ::chmod(file_.c_str(), 0444);
    for (const bool readable : {true, false}) {
        SCOPED_TRACE(readable);
        ::chmod((file_ + "-wal").c_str(), readable ? 0444 : 0000);
        ::chmod(folder_.path().c_str(), readable ? 0555 : 0777);
        child_process child([&] {
            test_support::become_nobody();
            const auto open = [&] { return platform::store(file_, quiet()).read("a", "0"); };
            if (readable) {
                require(open().value == binary("1"), "the last write");
            } else {
                require(fault_of(open) == store_fault::open_failed, "no reading");
            }
        });
        EXPECT_EQ(child.wait(), 0);
        EXPECT_THAT(files_set_aside(), IsEmpty());
    }
    ::chmod(folder_.path().c_str(), 0700);
}

TEST_F(store, says_when_there_are_no_rights_at_all) {
    make();
    ::chmod(file_.c_str(), 0000);
    ::chmod(folder_.path().c_str(), 0555);
    child_process child([&] {
        test_support::become_nobody();
        for (const std::string& file : {file_, folder_.path("new")}) {
            const auto open = [&] { platform::store(file, quiet()); };
            require(fault_of(open) == store_fault::access_denied, "neither reading nor making");
        }
    });
    EXPECT_EQ(child.wait(), 0);
    ::chmod(folder_.path().c_str(), 0700);
}

// Another process, which holds the store for itself from the beginning on.
class locking_process {
public:
    explicit locking_process(const std::string& file)
        : child_([this, &file] {
              sqlite3* handle = nullptr;
              sqlite3_open(file.c_str(), &handle);
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

TEST_F(store, fails_when_it_is_locked_for_too_long_and_then_goes_on) {
    store_options options = quiet(&lines_);
    options.busy_timeout = std::chrono::milliseconds(20);
    platform::store tree(file_, options);
    tree.create_key("a");
    tree.write("a", "v", binary("1"));
    locking_process other(file_);
    EXPECT_EQ(fault_of([&] { tree.write("a", "v", binary("2")); }), store_fault::locked);
    EXPECT_EQ(fault_of([&] { tree.add("a", "n", 2); }), store_fault::locked);
    EXPECT_THAT(lines_, SizeIs(1)) << "the same fault is told once";
    EXPECT_EQ(tree.read("a", "v").value, binary("1"));
    EXPECT_EQ(other.unlock_and_end(), 0);
    tree.write("a", "v", binary("3"));
    EXPECT_EQ(tree.read("a", "v").value, binary("3"));
}

TEST_F(store, waits_for_a_short_lock) {
    platform::store& tree = begun();
    locking_process other(file_);
    std::thread writer([&] { tree.write("a", "v", binary("2")); });
    other.unlock();
    writer.join();
    EXPECT_EQ(tree.read("a", "v").value, binary("2"));
}

TEST_F(store, keeps_what_it_has_when_no_more_can_be_written) {
    const stored_value large = binary(std::string(1'000'000, 'x'));
    child_process child([&] {
        platform::store& tree = begun();
        tree.write("a", "v", binary("1"));
        ::signal(SIGXFSZ, SIG_IGN);
        const auto write = [&] { tree.write("a", "v", large); };
        {
            const test_support::size_limit little(200'000);
            require(fault_of(write).has_value(), "a write that does not fit");
            require(lines_.size() == 1, "one line");
            require(tree.read("a", "v").value == binary("1"), "the value before");
        }
        write();
        close();
    });
    ASSERT_EQ(child.wait(), 0);
    EXPECT_EQ(begun().read("a", "v").value, large);
}

TEST_F(store, is_for_its_user_alone) {
    begun();
    for (const char* companion : {"", "-wal", "-shm"}) {
        SCOPED_TRACE(companion);
        EXPECT_EQ(std::filesystem::status(file_ + companion).permissions(),
                  std::filesystem::perms(0600));
    }
}

}  // namespace
