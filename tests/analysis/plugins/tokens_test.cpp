#include "analysis/plugins/tokens.h"
#include "analysis/plugins/folded_words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "analysis/plugins/token_signatures.h"
#include "analysis/report_text.h"
#include "foundation/md5.h"
#include "foundation/translate.h"
#include "platform/character_class.h"
#include "support/record_text.h"

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

using replay::internet::message2::part;
using test_support::printable;
using test_support::signature_texts;
using test_support::test_texts;
using testing::ElementsAre;

using strings = std::vector<std::string>;

std::u16string normalised(std::u16string text) {
    normalise(text);
    return text;
}

strings words_of(const token_list& tokens) {
    strings words;
    for (std::size_t i = 0; i < tokens.size(); ++i) words.push_back(printable(tokens[i]));
    return words;
}

strings words_of(const folded_words& folded) {
    strings words;
    for (std::size_t i = 0; i < folded.size(); ++i) {
        std::u16string word;
        folded.append_to(word, i);
        EXPECT_EQ(folded.length(i), word.size());
        words.push_back(printable(word));
    }
    return words;
}

folded_words folded(std::u16string_view text) {
    return folded_words(token_list(normalised(std::u16string(text))));
}

using pushing = void (*)(const folded_words&, signature_list&);

strings signatures_of(std::u16string_view text, pushing push) {
    signature_list signatures;
    push(folded(text), signatures);
    return signature_texts(signatures);
}

// A text that folds to the words, empty ones too.
std::u16string text_of(const std::vector<std::u16string>& words) {
    std::u16string text;
    for (const std::u16string& word : words) text.append(word).append(u", ");
    return text;
}

struct text_case {
    const char* what;
    std::u16string_view text;
    std::string wanted;
};

using namespace std::string_view_literals;

TEST(normalising, makes_blanks_and_lower_case) {
    const text_case cases[] = {
        {"line ends and tabs", u"A\r\nB\tC\vd", "a  b c d"},
        {"NUL, escape and DEL", u"a\0b\x1B\x7F"sv, "a b  "},
        {"further spaces", u"a\u0085b\u00A0c\u2028d\u3000e", "a b c d e"},
        {"soft hyphen and zero width are control", u"a\u00ADb\u200Bc", "a b c"},
        {"other scripts", u"\u0416\u0391\u00C9", "{436}{3B1}{E9}"},
        {"dotted capital I", u"\u0130", "i"},
        {"halves of a pair", u"\xD83DX\xDE00", "{D83D}x{DE00}"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(printable(normalised(std::u16string(row.text))), row.wanted);
    }
}

// Runs of ASCII may be done in another way than single units.
TEST(normalising, each_unit_does_the_same_wherever_it_stands) {
    std::u16string all;
    std::u16string wanted;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        all += static_cast<char16_t>(unit);
        wanted += normalised(std::u16string(1, static_cast<char16_t>(unit)));
    }
    for (std::size_t shift = 0; shift < 70; ++shift) {
        SCOPED_TRACE(shift);
        const std::u16string padding(shift, u'X');
        ASSERT_EQ(normalised(padding + all), std::u16string(shift, u'x') + wanted);
    }
}

struct words_case {
    const char* what;
    std::u16string_view text;
    strings wanted;
};

TEST(tokenising, splits_at_blanks_and_drops_punctuation) {
    const words_case cases[] = {
        {"nothing", u"", {}},
        {"apostrophe", u"can't", {"cant"}},
        {"comma and blank", u"a, b", {"a", "b"}},
        {"a comma alone is an empty word", u",", {""}},
        {"several of these", u" , -- a . ", {"", "", "a", ""}},
        {"figures and marks stay", u"1a a\u0301", {"1a", "a{301}"}},
        {"dashes and currencies are punctuation", u"a\u2014b\u20AC$|c", {"abc"}},
        {"URLs", u"a http://b/c https://d e", {"a", "e"}},
        {"bare schemes", u"http: https:x http:", {}},
        {"not at the front", u"(http://b xhttp:a", {"httpb", "xhttpa"}},
        {"not a scheme", u"http https http;: httpx:y", {"http", "https", "http", "httpxy"}},
        {"halves of a pair", u"\xD83D\xDE00 \xD83D", {"{D83D}{DE00}", "{D83D}"}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(words_of(token_list(row.text)), row.wanted);
    }
}

std::string customised(std::string_view word) {
    return "5 Part.Text.Address_Customization -- Token: \"" + std::string(word) + "\"";
}

// The tests that fire for the words, and what is left.
void expect_customised(const part& root, std::u16string_view text, const strings& words,
                       const strings& left) {
    token_list tokens(text);
    test_list tests;
    check_address_customisation(root, tokens, tests);
    strings wanted;
    for (const std::string& word : words) wanted.push_back(customised(word));
    EXPECT_EQ(test_texts(tests), wanted);
    EXPECT_EQ(words_of(tokens), left);
}

TEST(address_customisation, finds_mailbox_names_that_occur_once) {
    const struct {
        const char* what;
        const char* headers;
        std::u16string_view text;
        strings words;
        strings left;
    } cases[] = {
        {"once", "To: jim@x", u"hello jim how", {"jim"}, {"hello", "how"}},
        {"twice", "To: jim@x", u"jim jim", {}, {"jim", "jim"}},
        {"never", "To: jim@x", u"jimmy ji", {}, {"jimmy", "ji"}},
        {"neither header", "", u"jim", {}, {"jim"}},
        {"upper case in the address", "To: JIM@X", u"jim", {"jim"}, {}},
        {"two domains of one name", "To: jim@x, jim@y", u"a jim", {"jim"}, {"a"}},
        {"no domain", "To: jim", u"a jim", {"jim"}, {"a"}},
        {"signs in front", "To: @@jim@x", u"a jim", {"jim"}, {"a"}},
        {"signs alone", "To: @", u", a", {}, {"", "a"}},
        {"the display name does not count", "To: ann <jim@x>", u"ann", {}, {"ann"}},
        {"a name with punctuation is no word", "To: j.im@x", u"j.im", {}, {"jim"}},
        {"bytes over 127", "To: m\xFCller@x", u"m\u00FCller", {"m{FC}ller"}, {}},
        {"To goes first", "CC: jim@x\nTo: ann@x", u"jim ann a", {"ann", "jim"}, {"a"}},
        {"in the order of the addresses, at most three",
         "To: c@x, b@x\nCC: d@x, a@x",
         u"a b c d",
         {"c", "b", "d"},
         {"a"}},
        {"what does not fire does not count",
         "To: e@x, f@x, c@x, b@x, a@x",
         u"a b c e e",
         {"c", "b", "a"},
         {"e", "e"}},
        {"a broken header is passed over",
         "To: jim@x, =?shift_jis?B?gQ==?= <bob@x>\nCC: ann@x",
         u"jim ann",
         {"ann"},
         {"jim"}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        expect_customised(part(row.headers), row.text, row.words, row.left);
    }
}

TEST(address_customisation, broken_encoded_words_are_not_caught) {
    part root;
    root.add_header("CC", "=?utf-8?Q?a=XY?= <jim@x>");
    token_list tokens(u"jim");
    test_list tests;
    EXPECT_THROW(check_address_customisation(root, tokens, tests),
                 replay::coding::translate::invalid_codeword);
}

TEST(address_customisation, finds_a_name_among_very_many) {
    std::string to = "To: ";
    std::u16string text;
    strings left;
    for (int i = 0; i < 50'000; ++i) {
        const std::string name = std::string("n").append(std::to_string(i));
        to += name + "@x, ";
        if (i == 41'234) continue;
        text += widen(name + " " + name + " ");
        left.insert(left.end(), 2, name);
    }
    expect_customised(part(to), text + u"n41234", {"n41234"}, left);
}

TEST(permutated_tokens, begin_with_a_letter_and_hold_a_digit) {
    const auto permutated = [](std::string word) {
        return "5 Part.Text.Permutated_Token -- Token: \"" + std::move(word) + "\"";
    };
    const words_case cases[] = {
        {"in front", u"1abc", {}},
        {"first digit and last", u"a0 b9", {permutated("a0"), permutated("b9")}},
        {"signs beside the digits", u"a/ b:", {}},
        {"digits of other scripts", u"a\u0661", {}},
        {"letters of other scripts",
         u"\u0436"
         u"1",
         {permutated("{436}1")}},
        {"a mark or a half of a pair is no letter",
         u"\u0301"
         u"1 \xD83D"
         u"1",
         {}},
        {"empty words between", u", 1 , a1 ,", {permutated("a1")}},
        {"at most three",
         u"a1 b 2 c3 d4 e5",
         {permutated("a1"), permutated("c3"), permutated("d4")}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        test_list tests;
        check_permutated_tokens(token_list(row.text), tests);
        EXPECT_EQ(test_texts(tests), row.wanted);
    }
}

TEST(folding, gives_the_set_of_letters) {
    const words_case cases[] = {
        {"look-alikes", u"c1ick click", {"cik", "cik"}},
        {"results are not replaced again", u"8l1", {"bi"}},
        {"empty words stay", u", a ,", {"", "a", ""}},
        {"across 64 and 128", u"z9\u00E9\u0436z9", {"9z{E9}{436}"}},
        {"ends of the range",
         u"\xFFFF\u4E00"
         u"a",
         {"a{4E00}{FFFF}"}},
        {"halves of pairs apart", u"\xD83D\xDE00\xD83D\xDE01", {"{D83D}{DE00}{DE01}"}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(words_of(folded(row.text)), row.wanted);
    }
}

// Punctuation never gets this far in a text; what it would fold to is still set.
TEST(folding, every_unit_by_itself) {
    std::map<char16_t, char16_t> wanted{{u'l', u'i'}, {u'0', u'o'}, {u'1', u'i'}, {u'3', u'e'},
                                        {u'4', u'a'}, {u'7', u't'}, {u'8', u'b'}};
    const auto& characters = replay::platform::characters();
    for (unsigned number = 1; number <= 0xFFFF; ++number) {
        const auto unit = static_cast<char16_t>(number);
        if (characters.is_space(unit) || characters.is_punctuation(unit)) continue;
        const folded_words words(token_list(std::u16string(3, unit)));
        wanted.try_emplace(unit, unit);
        ASSERT_EQ(words.size(), 1u) << number;
        std::u16string letters;
        words.append_to(letters, 0);
        ASSERT_EQ(letters, std::u16string(1, wanted[unit])) << number;
    }
}

TEST(block_signatures, begin_above_48_units) {
    const std::u16string letters = u"abcdefghijkmnopqrstuvwxy";  // 24 that fold to themselves
    const std::u16string twice = letters + u" " + letters + u" ";
    const std::u16string over = twice + u"z";
    const std::u16string over_and_rest = over + u" rest";
    std::u16string five_blocks;
    for (const char16_t figure : {u'2', u'5', u'6', u'9', u'z'}) {
        for (int i = 0; i < 2; ++i) five_blocks += letters + figure + u' ';
    }
    const strings first_49 = {
        "tbd vSG+mwfNbl/gFs1LjLWrPg -- Block: "
        "\"abcdefghijkmnopqrstuvwxyabcdefghijkmnopqrstuvwxyz\""};
    const words_case cases[] = {
        {"nothing", u"", {}},
        {"48 units",
         twice,
         {"tbd yDHKl4dplAXT9sro2fkvoA -- Block: "
          "\"abcdefghijkmnopqrstuvwxyabcdefghijkmnopqrstuvwxy\""}},
        {"49 units", over, first_49},
        {"a rest behind a block", over_and_rest, first_49},
        {"at most four",
         five_blocks,
         {"tbd HrIp2Smxk20rgWtdBXwDtg -- Block: "
          "\"2abcdefghijkmnopqrstuvwxy2abcdefghijkmnopqrstuvwxy\"",
          "tbd xZOu4lkqm2R0fIbOfVldhA -- Block: "
          "\"5abcdefghijkmnopqrstuvwxy5abcdefghijkmnopqrstuvwxy\"",
          "tbd Zpa7PoUkMfT9gstiEvVkrg -- Block: "
          "\"6abcdefghijkmnopqrstuvwxy6abcdefghijkmnopqrstuvwxy\"",
          "tbd Hbhgp8vdcYCuCdEia5lFQg -- Block: "
          "\"9abcdefghijkmnopqrstuvwxy9abcdefghijkmnopqrstuvwxy\""}},
        {"other scripts",
         u"the uroe \u0436\u0430\u0431\u0430 l00k",
         {"tbd l9D+apCOgtA4nLwdfi+PCQ -- Block: \"ehteoru{430}{431}{436}iko\""}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(signatures_of(row.text, push_block_signatures), row.wanted);
    }
}

TEST(length_curve_signatures, come_every_32_words_from_the_65th_on) {
    const std::pair<int, std::string> curves[] = {
        {64, "Na1rWta1rWt"}, {96, "FrWta1rWta1"}, {128, "Gta1rWta1rW"}, {160, "K1rWta1rWta"}};
    for (const int size : {0, 64, 65, 96, 97, 128, 129, 160, 161, 193}) {
        SCOPED_TRACE(size);
        std::vector<std::u16string> words;
        for (int i = 0; i < size; ++i)
            words.push_back(std::u16string(u"abcde").substr(0, i * 7 % 5));
        strings wanted;
        for (const auto& [offset, digest] : curves) {
            if (size <= offset) continue;
            wanted.push_back("tlc " + digest + " -- Offset: " + std::to_string(offset) +
                             " Tokens: " + std::to_string(size));
        }
        EXPECT_EQ(signatures_of(text_of(words), push_length_curve_signatures), wanted);
    }
}

TEST(length_curve_signatures, all_steps_up_and_all_down) {
    std::vector<std::u16string> shrinking(65);
    for (std::size_t i = 0; i < shrinking.size(); ++i) {
        for (std::size_t unit = 0; unit < 70 - i; ++unit) {
            shrinking[i] += static_cast<char16_t>(0x4E00 + unit);
        }
    }
    EXPECT_THAT(
        signatures_of(text_of(std::vector<std::u16string>(65, u"x")), push_length_curve_signatures),
        ElementsAre("tlc P////////// -- Offset: 64 Tokens: 65"));
    EXPECT_THAT(signatures_of(text_of(shrinking), push_length_curve_signatures),
                ElementsAre("tlc A -- Offset: 64 Tokens: 65"));
}

TEST(structure_signatures, want_8_different_words_and_10_repetitions) {
    const std::string twice =
        "tsd NYcAHiTCJKcS4O7jwlVMCQ -- Tokens: 18 Unique: 8 Structure: "
        "0.1.2.3.4.5.6.7.0.1.2.3.4.5.6.7.0.1";
    const words_case cases[] = {
        {"nothing", u"", {}},
        {"8 and 10",
         u"a b c d e f g h a a a a a a a a a a",
         {"tsd 6BXL95sFXosTTjfBFRK+OA -- Tokens: 18 Unique: 8 Structure: "
          "0.1.2.3.4.5.6.7.0.0.0.0.0.0.0.0.0.0"}},
        {"8 and 9", u"a b c d e f g h a a a a a a a a a", {}},
        {"7 and 21", u"a b c d e f g a b c d e f g a b c d e f g a b c d e f g", {}},
        {"the same for two thresholds", u"a b c d e f g h a b c d e f g h a b", {twice, twice}},
        {"by letters, not by words",
         u"a b c d e f g h aa bb cc dd ee ff gg hh aaa b-b",
         {twice, twice}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(signatures_of(row.text, push_structure_signatures), row.wanted);
    }
}

// Counts, and looks pairs up, with an ordered map and nothing else.
strings structures_slowly(const std::vector<std::u16string>& words) {
    std::map<std::u16string, int> counts;
    for (const std::u16string& word : words) ++counts[word];
    strings lines;
    for (int threshold = 0; threshold <= 7; ++threshold) {
        std::map<std::pair<std::u16string, int>, std::size_t> table;
        std::string structure;
        std::size_t total = 0;
        for (const std::u16string& word : words) {
            if (counts[word] <= threshold) continue;
            const auto number = table.try_emplace({word, counts[word]}, table.size()).first->second;
            structure += (structure.empty() ? "" : ".") + std::to_string(number);
            ++total;
        }
        if (table.size() < 8 || total - table.size() < 10) continue;
        lines.push_back("tsd " +
                        replay::md5(structure).base64(replay::coding::translate::padding::none) +
                        " -- Tokens: " + std::to_string(total) +
                        " Unique: " + std::to_string(table.size()) + " Structure: " + structure);
    }
    return lines;
}

// Sets of units, some of them long, so that the table of words grows and numbers have many digits.
TEST(structure_signatures, are_those_of_the_slow_way) {
    std::minstd_rand random(7);
    std::size_t signatures = 0;
    for (const unsigned vocabulary : {6u, 8u, 30u, 400u, 5000u}) {
        SCOPED_TRACE(vocabulary);
        std::vector<std::u16string> words;
        for (unsigned i = 0; i < vocabulary * 4; ++i) {
            const unsigned word =
                static_cast<unsigned>(random() % vocabulary * random() % vocabulary);
            std::u16string units;
            for (unsigned unit = 0; unit < word % 7; ++unit) {
                units += static_cast<char16_t>(0x4E00 + unit);
            }
            if (word > 0) units += static_cast<char16_t>(0xAC00 + word / 7);
            words.push_back(units);
        }
        const strings wanted = structures_slowly(words);
        signatures += wanted.size();
        ASSERT_EQ(signatures_of(text_of(words), push_structure_signatures), wanted);
    }
    EXPECT_GT(signatures, 20u);
}

TEST(structure_signatures, eight_at_the_most) {
    std::u16string text;
    for (int i = 0; i < 9; ++i) text += u"a b c d e f g h ";
    const strings lines = signatures_of(text, push_structure_signatures);
    EXPECT_EQ(lines.size(), 8u);
    EXPECT_EQ(std::set<std::string>(lines.begin(), lines.end()).size(), 1u);
}

TEST(structure_signatures, show_a_long_pattern_in_part) {
    for (const std::size_t numbers :
         {524288u, 524289u}) {  // "0.1.2. ...": two units each, less one
        std::u16string text;
        for (std::size_t i = 0; i < numbers; ++i) text.append({char16_t(u'a' + i % 8 * 3), u' '});
        signature_list found;
        push_structure_signatures(folded_words(token_list(text)), found);
        ASSERT_FALSE(found.empty());
        const std::u16string& comment = found.front().comment;
        const std::size_t shown = comment.size() - comment.find(u"0.1.");
        EXPECT_EQ(shown, std::min(numbers * 2 - 1, longest_shown_structure));
    }
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::text_analysis
