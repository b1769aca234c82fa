#include "services/localization.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/registry.h"
#include "platform/paths.h"
#include "services/language_files.h"
#include "services/string_table.h"
#include "support/in_threads.h"
#include "support/temporary_folder.h"

namespace {

namespace registry = replay::registry2;
namespace fs = std::filesystem;
using brindlemoss::services::localization;
using brindlemoss::services::string_table;
using registry::tree_key;
using std::string;
using std::u16string;
using test_support::temporary_folder;

// "group|item|text" of each text, in order.
std::vector<u16string> texts_of(const string_table& table) {
    std::vector<u16string> texts;
    for (const auto& [group, items] : table.all()) {
        for (const auto& [item, text] : items) texts.push_back(group + u"|" + item + u"|" + text);
    }
    return texts;
}

TEST(string_table, reads_groups_items_and_texts) {
    const struct {
        const char* what;
        string bytes;
        std::vector<u16string> texts;
    } rows[] = {
        {"nothing", "", {}},
        {"LF, CR LF, no end at all", "[A]\nb=c\r\n[D]\r\nE=F", {u"a|b|c", u"d|e|F"}},
        {"a mark in front of a group", "\xEF\xBB\xBF[a]\nb=c", {u"a|b|c"}},
        {"the mark counts only in front",
         "[a]\n\xEF\xBB\xBF"
         "b=c",
         {u"a|\uFEFFb|c"}},
        {"more signs", "a=b=c", {u"|a|b=c"}},
        {"an empty item, an empty text", "[g]\n=value\nx=\n", {u"g||value", u"g|x|"}},
        {"white space", "[g]\n \t a b\t=\u3000 c d \u00A0\n", {u"g|a b|c d"}},
        {"white space of a group stays", "[ g ]\na=b", {u" g |a|b"}},
        {"what is no group for its blanks", "[g]\n [h]\na=b\n[i] \nc=d", {u"g|a|b", u"g|c|d"}},
        {"a bracket that does not close", "[g\na=b\n[=c", {u"|[|c", u"|a|b"}},
        {"a bracket alone", "[g]\n[\na=b\n]\n", {u"g|a|b"}},
        {"an empty group", "[g]\n[]\na=b", {u"|a|b"}},
        {"a sign within a group", "[a=b]\nc=d", {u"a=b|c|d"}},
        {"no sign", "[g]\ncomment\n; other\n\na=b", {u"g|a|b"}},
        {"the later one", "[G]\na=1\nA=2\n[h]\na=3\n[g]\nA =4", {u"g|a|4", u"h|a|3"}},
        {"beyond ASCII", "[\u00C6\u00D8]\n\u0416=\u0416", {u"\u00E6\u00F8|\u0436|\u0416"}},
        {"no UTF-8", "[g]\na\xFF=\xC3\nb=\xE2\x82\n", {u"g|a\uFFFD|\uFFFD", u"g|b|\uFFFD"}},
        {"a NUL", string("[g]\na\0=b\0c", 10), {u16string(u"g|a\0|b\0c", 8)}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(texts_of(string_table(row.bytes)), row.texts);
    }
}

TEST(string_table, a_line_is_one_line_however_long) {
    for (const std::size_t size : {8190u, 8191u, 8192u, 8193u, 1u << 20}) {
        SCOPED_TRACE(size);
        const string_table table("a=" + string(size, 'x') + "\r\n[" + string(size, 'G') + "]\nb=c");
        ASSERT_NE(table.find(u"", u"a"), nullptr);
        EXPECT_EQ(*table.find(u"", u"a"), u16string(size, u'x'));
        EXPECT_NE(table.find(u16string(size, u'g'), u"b"), nullptr);
    }
}

TEST(string_table, a_file_too_large_counts_as_none) {
    const temporary_folder folder;
    const string path = folder.file("a.ini", "a=b\n");
    fs::resize_file(path, string_table::most_file_bytes);
    EXPECT_NE(string_table::read(path).find(u"", u"a"), nullptr);
    fs::resize_file(path, string_table::most_file_bytes + 1);
    EXPECT_TRUE(string_table::read(path).all().empty());
    EXPECT_TRUE(string_table::read(folder.path("missing")).all().empty());
    EXPECT_TRUE(string_table::read(folder.path()).all().empty());
    EXPECT_TRUE(string_table::read("/dev/zero").all().empty());
}

// An installation with language files.
class localization_test : public testing::Test {
protected:
    localization_test() { name_directory(folder_.path("product")); }
    ~localization_test() override { registry::close_all(); }

    static void name_directory(const string& path) {
        registry::at(tree_key::machine_installation)
            .set_text(u"Directory", u16string(path.begin(), path.end()));
    }
    static void name_partner(std::uint32_t number) {
        registry::at(tree_key::machine_installation).set_integer(u"Partner", number);
    }
    void lay(const string& name, const string& bytes) {
        folder_.file("product/Languages/" + name, bytes);
    }
    void lay_two_languages() {
        lay("EN0.ini", "[G]\nBoth=both\nEnglish=only\nBlank=not blank\n[H]\nBoth=other\n");
        lay("DA0.ini", "[g]\nboth=begge\nblank=\ndanish=dansk\n");
    }
    // "-" where there is none.
    u16string text(const u16string& group, const u16string& item) const {
        return texts_.get_string(group, item).value_or(u"-");
    }

    temporary_folder folder_;
    replay::platform::paths::scoped_home home_{folder_.path("home")};
    localization texts_;
};

TEST_F(localization_test, gives_the_users_language_and_else_english) {
    lay_two_languages();
    EXPECT_EQ(text(u"g", u"both"), u"-");  // nothing is loaded
    texts_.reload();
    EXPECT_EQ(text(u"g", u"both"), u"both");
    EXPECT_EQ(text(u"g", u"danish"), u"-");

    texts_.set_language(u"DA");
    EXPECT_EQ(text(u"g", u"both"), u"both");  // as it was loaded
    texts_.reload();
    EXPECT_EQ(text(u"G", u"BOTH"), u"begge");
    EXPECT_EQ(text(u"g", u"danish"), u"dansk");
    EXPECT_EQ(text(u"g", u"english"), u"only");
    EXPECT_EQ(text(u"g", u"blank"), u"not blank");  // an empty text is none
    EXPECT_EQ(text(u"h", u"both"), u"other");
    EXPECT_EQ(text(u"h", u"english"), u"-");

    fs::remove(folder_.path("product/Languages/DA0.ini"));
    EXPECT_EQ(text(u"g", u"both"), u"begge");
    texts_.reload();
    EXPECT_EQ(text(u"g", u"both"), u"both");
    EXPECT_EQ(text(u"g", u"danish"), u"-");
}

TEST_F(localization_test, takes_the_files_of_the_partner) {
    lay("EN0.ini", "a=0");
    lay("EN7.ini", "a=7");
    lay("EN-1.ini", "a=-1");
    lay("0.ini", "b=no language");
    for (const std::uint32_t partner : {0u, 7u, 0xFFFFFFFFu}) {
        name_partner(partner);
        texts_.reload();
        const string number = std::to_string(static_cast<std::int32_t>(partner));
        EXPECT_EQ(text(u"", u"a"), u16string(number.begin(), number.end()));
        // Nobody has chosen a language yet.
        EXPECT_EQ(text(u"", u"b"), partner == 0 ? u"no language" : u"-");
    }
}

TEST_F(localization_test, finds_the_folder_and_the_file_whatever_their_case) {
    folder_.file("product/languages/en0.INI", "a=lower");
    texts_.reload();
    EXPECT_EQ(text(u"", u"a"), u"lower");
    lay("En0.ini", "a=upper");
    name_directory(folder_.path("product/"));
    texts_.reload();
    EXPECT_EQ(text(u"", u"a"), u"upper");
    lay("EN0.ini", "a=exact");
    texts_.reload();
    EXPECT_EQ(text(u"", u"a"), u"exact");
}

TEST_F(localization_test, a_language_leads_to_no_other_folder) {
    lay("EN0.ini", "a=english");
    folder_.file("product/secret0.ini", "a=secret");
    folder_.file("product/Languages/below/x0.ini", "a=below");
    const string outside = folder_.path("product/secret");
    for (const u16string& language :
         {u16string(u"../secret"), u16string(outside.begin(), outside.end()), u16string(u"below/x"),
          u16string(u"..\\secret"), u16string(u"..\0", 3), u16string(u"EN0.ini\0", 8),
          u16string(1 << 16, u'x'), u16string(1, u'\xD800')}) {
        texts_.set_language(language);
        texts_.reload();
        EXPECT_EQ(text(u"", u"a"), u"english");
    }
}

TEST_F(localization_test, a_missing_key_of_the_installation_means_the_products_own_data) {
    namespace files = brindlemoss::services::language_files;
    name_directory("");
    const string own = files::folder();
    name_directory(folder_.path("elsewhere"));
    EXPECT_EQ(files::folder(), "");
    texts_.reload();
    EXPECT_EQ(text(u"", u"a"), u"-");
    EXPECT_EQ(texts_.get_languages(), u"");
    const registry::key top(registry::predefined_root::local_machine);
    registry::key(top, u"Software\\Brindlemoss", registry::when_missing::fail)
        .delete_key(u"Installation");
    registry::close_all();
    EXPECT_EQ(files::folder(), own);
    texts_.reload();
    EXPECT_EQ(text(u"", u"a"), u"-");
}

TEST_F(localization_test, lists_each_language_once) {
    lay("DA0.ini", "[System]\n3=dansk\n4=Danish\n");
    lay("DA7.ini", "[system]\n3=dansk\n4=Danish\n");
    lay("da12.INI", "[system]\n3=dansk\n4=Danish\n");
    lay("EN0.ini", "[system]\n3=English\n");
    lay("SV0.txt", "[system]\n3=svenska\n");
    lay("own.ini", "");
    fs::create_directory(folder_.path("product/Languages/FR0.ini"));
    std::vector<u16string> rows;
    const u16string all = texts_.get_languages();
    for (std::size_t begin = 0, end; begin < all.size(); begin = end + 1) {
        end = all.find(u'\r', begin);
        ASSERT_NE(end, u16string::npos);
        rows.push_back(all.substr(begin, end - begin));
    }
    EXPECT_THAT(rows, testing::UnorderedElementsAre(
                          testing::AnyOf(u"DA\tdansk\tDanish", u"da\tdansk\tDanish"),
                          u"EN\tEnglish\t", u"own.ini\t\t"));
}

TEST_F(localization_test, readers_see_one_whole_state_while_the_language_changes) {
    lay("EN0.ini", "a=english");
    lay("DA0.ini", "a=dansk");
    texts_.set_language(u"DA");
    texts_.reload();
    std::atomic<bool> done{false};
    std::atomic<int> odd{0};
    test_support::in_threads(4, [&](int number) {
        for (int i = 0; number == 0 && i < 40; ++i) {
            texts_.set_language(i % 2 == 0 ? u"EN" : u"DA");
            texts_.reload();
        }
        if (number == 0) done = true;
        do {
            const u16string seen = text(u"", u"a");
            if (seen != u"dansk" && seen != u"english") ++odd;
        } while (!done);
    });
    EXPECT_EQ(odd, 0);
    EXPECT_EQ(text(u"", u"a"), u"dansk");
}

}  // namespace
