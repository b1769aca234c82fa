#include "analysis/plugins/urls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "analysis/plugins/top_level_names.h"
#include "foundation/md5.h"
#include "foundation/translate.h"
#include "message/character_set.h"
#include "message/part.h"
#include "platform/character_class.h"
#include "support/printable.h"
#include "support/record_text.h"

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

using replay::internet::message2::part;
using replay::platform::characters;
using test_support::signature_texts;
using testing::IsEmpty;

// The same written down plainly: every embedded URL by recursion and every pass over all of the
// text, on the bytes.
namespace plain {

constexpr std::size_t nowhere = std::u16string::npos;

std::size_t find_mark(const std::u16string& text, std::size_t from) {
    return std::min(
        {text.find(u"http:", from), text.find(u"https:", from), text.find(u"www.", from)});
}

void strip(std::u16string& url) {
    if (url.starts_with(u"http:")) url.erase(0, 5);
    if (url.starts_with(u"https:")) url.erase(0, 6);
    while (url.starts_with(u"/")) url.erase(0, 1);
    const std::size_t at_sign = url.find(u'@');
    if (at_sign != nowhere && at_sign < url.find(u'/')) url.erase(0, at_sign + 1);
    const std::size_t slash = url.find(u'/');
    const std::size_t colon = url.find(u':');
    if (colon != nowhere && colon < slash) {
        url.erase(colon, slash == nowhere ? nowhere : slash - colon);
    }
}

std::u16string decode(const std::u16string& url) {
    using replay::coding::translate::base16_decode;
    using replay::coding::translate::decoding;
    std::string bytes = replay::unicode::from_wide(url, replay::unicode::utf8);
    for (std::size_t at = 0;;) {
        at = bytes.find('%', at);
        if (at == std::string::npos || at + 1 == bytes.size()) break;
        const char next = bytes[at + 1];
        const std::size_t behind_next = bytes.size() - at - 2;
        try {
            if (next == '%') {
                bytes.erase(at, 1);
            } else if (next == 'u' || next == 'U') {
                if (behind_next < 4) break;
                const std::string two = base16_decode(bytes.substr(at + 2, 4), decoding::strict);
                const int number =
                    static_cast<signed char>(two[0]) * 256 + static_cast<signed char>(two[1]);
                bytes.replace(
                    at, 6,
                    replay::unicode::from_wide(std::u16string(1, static_cast<char16_t>(number)),
                                               replay::unicode::utf8));
            } else {
                if (behind_next < 1) break;
                bytes.replace(at, 3, base16_decode(bytes.substr(at + 1, 2), decoding::strict));
            }
        } catch (const replay::coding::translate::generic&) {
        }
        ++at;
    }
    return replay::platform::to_lower(replay::unicode::to_wide(bytes, replay::unicode::utf8));
}

std::vector<std::u16string> split(std::u16string_view text, char16_t separator) {
    std::vector<std::u16string> pieces(1);
    for (const char16_t unit : text) {
        if (unit == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += unit;
        }
    }
    std::erase(pieces, u"");
    return pieces;
}

std::u16string reduce(const std::u16string& url) {
    std::u16string result;
    bool is_host = true;
    for (const std::u16string& piece : split(url, u'/')) {
        if (!is_host) result += u'/';
        for (const char16_t unit : piece) {
            const bool ends_host = unit == u'?' || unit == u'#' || unit == u';';
            if (is_host) {
                if (ends_host) break;
                if (unit == u'.' || unit == u'-' || characters().is_alpha(unit) ||
                    characters().is_digit(unit)) {
                    result += unit;
                }
            } else {
                if (ends_host || unit == u'&') return result;
                if (!characters().is_control(unit)) result += unit;
            }
        }
        is_host = false;
    }
    return result;
}

// Empty where there is none.
std::u16string canonical(const std::u16string& reduced) {
    const std::vector<std::u16string> pieces = split(reduced, u'/');
    if (pieces.empty()) return {};
    const std::u16string& host = pieces.front();
    std::vector<std::u16string> labels = split(host, u'.');
    std::u16string result;
    int count = 0;
    if (labels.size() == 4 && std::all_of(host.begin(), host.end(), [](char16_t unit) {
            return characters().is_digit(unit) || characters().is_punctuation(unit);
        })) {
        result = host;
        count = 4;
    } else {
        std::reverse(labels.begin(), labels.end());
        for (const std::u16string& label : labels) {
            if (count > 4) break;
            if (count == 0) {
                if (!is_top_level_name(label)) return {};
                result = label;
            } else {
                if (label.size() > 63) break;
                result += u'.' + label;
            }
            ++count;
        }
        if (count < 2) return {};
    }
    for (std::size_t i = 1; i < pieces.size() && count <= 4; ++i, ++count) {
        if (pieces[i].size() > 24) break;
        result += u'/' + pieces[i];
    }
    return result;
}

void analyse(std::u16string url, signature_list& signatures) {
    strip(url);
    url = decode(url);
    const std::size_t embedded = url.size() > 1 ? find_mark(url, 1) : nowhere;
    if (embedded != nowhere) analyse(url.substr(embedded), signatures);
    const std::u16string text = canonical(reduce(url));
    if (!text.empty()) push_signature(signatures, u"tru", text);
}

void reduce_signatures(signature_list& signatures) {
    for (auto at = signatures.begin(); at != signatures.end();) {
        const bool is_covered =
            at->kind == u"tru" &&
            std::any_of(std::next(at), signatures.end(), [&](const auto& later) {
                return later.kind == u"tru" && at->digest.starts_with(later.digest);
            });
        at = is_covered ? signatures.erase(at) : std::next(at);
    }
}

}  // namespace plain

// The digests of the signatures, each behind a blank, "!" in front of what is not as it must be.
std::string digests(const signature_list& signatures) {
    std::string texts;
    for (const auto& each : signatures) {
        texts += each.kind == u"tru" && each.comment.empty() && !each.matched ? " " : " !";
        texts += test_support::printable(each.digest);
    }
    return texts;
}

// Of equal digests the last, which alone can stand in the end.
signature_list distinct(signature_list signatures) {
    std::set<std::u16string> known;
    signatures.reverse();
    std::erase_if(signatures, [&](const auto& each) { return !known.insert(each.digest).second; });
    signatures.reverse();
    return signatures;
}

std::string links_give(const std::vector<std::u16string>& links) {
    part root;
    signature_list signatures;
    analyse_links(root, links, signatures);
    return digests(distinct(std::move(signatures)));
}

std::string scan_gives(std::u16string_view text) {
    signature_list signatures;
    scan_text(text, signatures);
    return digests(distinct(std::move(signatures)));
}

// Gives the number of signatures.
std::size_t expect_the_plain_way(const std::u16string& link) {
    SCOPED_TRACE(test_support::printable(link));
    signature_list plainly;
    plain::analyse(link, plainly);
    EXPECT_EQ(links_give({link}), digests(distinct(plainly)));
    return plainly.size();
}

std::u16string repeated(std::u16string_view piece, std::size_t times) {
    std::u16string text;
    for (std::size_t i = 0; i < times; ++i) text += piece;
    return text;
}

const std::u16string label63(63, u'l');
const std::u16string label64(64, u'l');
const std::u16string piece24(24, u'p');
const std::u16string piece25(25, u'p');
const std::string narrow24(24, 'p');
const std::string narrow63(63, 'l');

struct url_case {
    const char* what;
    std::u16string url;
    std::string digests;
};

const url_case url_cases[] = {
    {"user, port, query", u"http://user:pw@www.example.com:8080/a/b?x=1", " com.example.www/a/b"},
    {"at most five elements", u"http://example.co.uk/a/b/c/d/e", " uk.co.example/a/b"},
    {"address", u"http://1.2.3.4/a/b", " 1.2.3.4/a"},
    {"address with a dot behind", u"http://1.2.3.4./a", " 1.2.3.4./a"},
    {"three labels of digits", u"http://1.2.3/a", ""},
    {"a letter in an address", u"http://1.2.3.4a/", ""},
    {"digits of another script", u"http://1.2.3.\u0664/", " 1.2.3.{664}"},
    {"unknown top-level name", u"http://localhost/", ""},
    {"no name below", u"http://com/", ""},
    {"nothing", u"", ""},
    {"empty labels", u"http://..www..example.com../a", " com.example.www/a"},
    {"both schemes", u"http:https://example.com", " com.example"},
    {"schemes the other way round", u"https:http://example.com/a", ""},
    {"scheme of another kind", u"ftp://example.com/", ""},
    {"the first of two at signs", u"http://a@b.org@example.com/", " com.orgexample.b"},
    {"at sign in the path", u"http://example.com/a@b.org", " com.example/a@b.org"},
    {"colon without slash", u"http:example.com:80www.example.org", " com.example"},
    {"port alone, then the host", u"http://:80/www.example.com:80/a", " com.example.www/a"},
    {"other signs in a host", u"http://ex_am!ple .c&om/a", " com.example/a"},
    {"query in the host, then a path", u"http://example.com?q/a/b", " com.example/a/b"},
    {"query ends the path", u"http://example.com/a?b/c", " com.example/a"},
    {"ampersand ends the path", u"http://example.com/a&b/c", " com.example/a"},
    {"control units in the path", u"http://example.com/\u0001a\u200D/\u0002/b", " com.example/a/b"},
    {"path for the host, all its signs", u"http://!/1.2!.3$.4:5/a/b", " 1.2!.3$.4:5/a"},
    {"path for the host, long", u"http://_/" + piece25 + u".com/a",
     " com." + std::string(25, 'p') + "/a"},
    {"path for the host ends the URL", u"http://!/example.com?a/b", " com.example"},
    {"longest label", u"http://a." + label63 + u".com/b", " com." + narrow63 + ".a/b"},
    {"label too long", u"http://a." + label64 + u".b.com/c", " com.b/c"},
    {"longest piece", u"http://a.example.com/" + piece24 + u"/b",
     " com.example.a/" + narrow24 + "/b"},
    {"piece too long", u"http://a.example.com/" + piece25 + u"/b", " com.example.a"},
    {"long but for control units", u"http://a.example.com/\u0001" + piece24 + u"\u0001/b",
     " com.example.a/" + narrow24 + "/b"},
    {"piece too long behind the fifth", u"http://example.com/a/b/c/" + piece25,
     " com.example/a/b/c"},
    {"upper case", u"http://EXAMPLE.com/A", " com.example/a"},

    {"escaped letter", u"http://example.com/%41", " com.example/a"},
    {"escaped slash", u"http://example.com%2fa%2Fb", " com.example/a/b"},
    {"escaped port stays", u"http://example%3a.com%3a/", " com.example"},
    {"two signs", u"http://example.com/a%%41", " com.example/a%41"},
    {"sign not decoded again", u"http://example.com/%2541", " com.example/%41"},
    {"bad digit, then good", u"http://example.com/%4%41", " com.example/%4a"},
    {"cut off", u"http://example.com/a%4", " com.example/a%4"},
    {"two bytes of a letter", u"http://example.com/%C3%89", " com.example/{E9}"},
    {"four bytes", u"http://example.com/%F0%90%8d%88", " com.example/{D800}{DF48}"},
    {"half a letter", u"http://example.com/%c3a", " com.example/{FFFD}a"},
    {"signed low byte", u"http://example.com/%u00e9", " com.example/{FFE9}"},
    {"signed high byte", u"http://example.com/%U4e2D%u9E01", " com.example/{4E2D}{9E01}"},
    {"escaped surrogates", u"http://example.com/%ud83d%ude00", " com.example/{FFFD}{FFFD}"},
    {"unit escape, bad digit", u"http://example.com/%u004g", " com.example/%u004g"},
    {"unit escape cut off ends the decoding", u"http://example.com/%u%41", " com.example/%u%41"},
    {"four bytes in a pair", u"http://example.com/%u\xD800\xDF48", " com.example/%u{D800}{DF48}"},
    {"three bytes in two units", u"http://example.com/%u\u00E9%", " com.example/%u{E9}%"},

    {"embedded", u"http://r.example.com/?u=http://t.example.org/x",
     " org.example.t/x com.example.r"},
    {"embedded twice", u"http://a.com/www.b.com/https://c.com/d",
     " com.c/d com.b.www/https:/c.com com.a/www.b.com/https:/c.com"},
    {"embedded in the host", u"http://awww.b.com/", " com.b.www com.b.awww"},
    {"embedded, escaped", u"http://a.com/?http%3a%2f%2fb.com%2f%2541", " com.b/a com.a"},
    {"embedded, escaped twice", u"http://a.com/?www.b.com%3fhttp%253a//c.com/%25252541",
     " com.c/%41 com.b.www/c.com/%2541 com.a"},
    {"nothing behind a port comes back", u"http://z.com/www.q@www.b.www.com:x@c.org",
     " com.www com.www.b.www com.z"},
    {"a port that was cut does not come back", u"http:a.com/www.x@awww.b.com:p@c.com/q",
     " com.b.www/q com.b.awww/q com.a/www.x@awww.b.com:p@c.com/q"},
};

TEST(urls, of_one_link) {
    for (const url_case& row : url_cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(links_give({row.url}), row.digests);
        expect_the_plain_way(row.url);
    }
}

const url_case scan_cases[] = {
    {"blanks", u"   ", ""},
    {"nothing", u"", ""},
    {"no mark", u"see example.com for http and www", ""},
    {"one", u"  see www.a.com ", " com.a.www"},
    {"blank ends it", u"www.a.com/b c/d www.e.com", " com.a.www/b com.e.www"},
    {"one a word", u"www.a.com,www.b.com", " com.b.www com.b.comwww.a.www"},
    {"within a word", u"see:http://a.com/", " com.a"},
    {"quoted, over a blank", u"\"http://a.com/b c\"d www.e.com", " com.a/b c com.e.www"},
    {"in round brackets", u"(www.a.com)www.b.com", " com.a.www com.b.www"},
    {"in pointed brackets", u"<www.a.com/ b> c", " com.a.www/ b"},
    {"in square brackets", u"x[www.a.com/b]c", " com.a.www/b"},
    {"of another kind of bracket", u"{www.a.com/b}c", " com.a.www/b}c"},
    {"the wrong mate", u"(http://a.com/b]>\" c)", " com.a/b]>\" c"},
    {"a bracket not right in front", u"( www.a.com/b) c", " com.a.www/b)"},
    {"no mate", u"<http://a.com/b www.c.com", " com.c.www com.a/b www.c.com"},
    {"the mate stays for the next word", u"\"www.a.com\"www.b.com/\" c", " com.a.www com.b.www"},
    {"the earliest mark", u"https://a.com/", " com.a"},
    {"mark cut off by the end", u"http www", ""},
};

TEST(urls, of_a_text) {
    for (const url_case& row : scan_cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(scan_gives(row.url), row.digests);
    }
}

const std::vector<std::u16string> pieces = [] {
    auto words = plain::split(
        u"http: https: http:// www. www / / @ : % %% %u %25 %2525 %u0025 %2f %3A %40 %3f %77ww. "
        u"http%3a http%253a %68ttp: %c3%a9 %c3 %u00e9 %u0068 %ud800 4 1 a F u 1.2.3.4 . . - com "
        u".com .com/ a.org ? # ; & ! \" ( ) < > [ ] \u0001 \u00E9 \u0130 \u212A \u023A \u4E2D "
        u"\xD800\xDF48 \xD800 llllllllllllllllllllllllllllllllllllllll",
        u' ');
    words.emplace_back(u" ");
    return words;
}();

std::u16string random_text(std::mt19937& random, std::size_t most_pieces) {
    std::u16string text;
    for (std::size_t count = random() % most_pieces; count > 0; --count) {
        text += pieces[random() % pieces.size()];
    }
    return text;
}

TEST(urls, agree_with_the_plain_way_on_random_texts) {
    std::mt19937 random(20090401);
    std::size_t with_several = 0;
    for (int round = 0; round < 40'000 && !testing::Test::HasFailure(); ++round) {
        const std::u16string text = random_text(random, round % 8 == 0 ? 120 : 16);
        with_several += expect_the_plain_way(text) > 1;
    }
    EXPECT_GT(with_several, 500u);
}

// Deep nests of one shape, which random texts do not make.
TEST(urls, agree_with_the_plain_way_on_deep_nests) {
    constexpr std::u16string_view shapes[] = {
        u"http:",          u"http://",         u"www.",          u"www.a.com/",
        u"http://!/",      u"?www.@",          u"www.@/",        u"http://a.com:80/",
        u"www.a@b.com?",   u"www.a.com%2541/", u"www..",         u"http%3a//a.com/",
        u"/www.\u0001/",   u"www.-.",          u"1.2.3.4/www.@", u"www.%25",
        u"http://a.com#/", u"www.x:",          u"www.a.com%%/&", u"http://b.net/?q=",
    };
    const std::u16string endings[] = {u"",
                                      u"com",
                                      u"com/a/b/c",
                                      u"/1.2.3.4/b/c",
                                      u"x.com:80",
                                      label64 + u".com/\u0001/a",
                                      u"%2525252541.com/%25252541"};
    for (const std::u16string_view shape : shapes) {
        for (const std::u16string& ending : endings) {
            expect_the_plain_way(repeated(shape, 30) + ending);
        }
    }
}

// Each level has one more to decode than is allowed for.
std::u16string escaped_nest(unsigned levels) {
    return repeated(u"www.a.com/", levels) + u"http://b.com/%" + repeated(u"25", levels) + u"41";
}

TEST(urls, are_decoded_so_many_times_at_most) {
    for (const unsigned levels :
         {most_url_decodings - 1, most_url_decodings, most_url_decodings + 1}) {
        SCOPED_TRACE(levels);
        const std::u16string text = escaped_nest(levels);
        const std::string inmost = levels < most_url_decodings    ? " com.b/a"
                                   : levels == most_url_decodings ? " com.b/%41"
                                                                  : " com.b/%2541";
        EXPECT_TRUE(links_give({text}).starts_with(inmost + " com.a.www/http:/b.com "));
    }
}

TEST(urls, give_so_many_signatures_at_most) {
    for (const std::size_t depth :
         {most_url_signatures - 1, most_url_signatures, most_url_signatures + 1}) {
        SCOPED_TRACE(depth);
        part root;
        signature_list signatures;
        const std::u16string pair = u"www.a.com/www.b.com/";
        const std::u16string nest = repeated(pair, depth / 2 + 1);
        const std::u16string link = nest.substr(0, depth * (pair.size() / 2));
        analyse_links(root, {link, u"http://c.com/"}, signatures);
        EXPECT_EQ(signatures.size(), most_url_signatures);
        const bool has_room = depth < most_url_signatures;
        EXPECT_EQ(signatures.back().digest == u"com.c", has_room);
    }
}

TEST(urls, in_great_depth_give_what_they_give_in_small) {
    EXPECT_EQ(links_give({repeated(u"http:", 100'000)}), "");
    EXPECT_EQ(links_give({repeated(u"http://", 100'001) + u"a.com/b"}), " com.a/b");
    EXPECT_EQ(links_give({repeated(u"www.", 1'000'000) + u"com/a"}),
              " com.www/a com.www.www/a com.www.www.www/a com.www.www.www.www");
    EXPECT_EQ(links_give({repeated(u"http://a.com/?", 100'000)}), " com.a");
    EXPECT_EQ(
        links_give({repeated(u"?www.@", 100'000) + u"/1.2.3." + std::u16string(100'000, u'-')}),
        " 1.2.3." + std::string(100'000, '-'));
}

signature_list list_of(const std::vector<std::u16string>& texts) {
    signature_list signatures;
    for (const std::u16string& text : texts) {
        const std::size_t blank = text.find(u' ');
        push_signature(signatures, text.substr(0, blank), text.substr(blank + 1), u"c");
    }
    return signatures;
}

TEST(url_signatures, give_way_to_a_later_beginning) {
    struct row {
        const char* what;
        std::vector<std::u16string> before;
        std::vector<std::string> after;
    };
    const row rows[] = {
        {"a later beginning", {u"tru com.a/b/c", u"tru com.a/b"}, {"tru com.a/b -- c"}},
        {"equal ones",
         {u"tru a", u"tbd x", u"tru a", u"tsd y", u"tru a", u"tlc z"},
         {"tbd x -- c", "tsd y -- c", "tru a -- c", "tlc z -- c"}},
        {"something between in order",
         {u"tru ab/", u"tru abc", u"tru ab-", u"tru ab"},
         {"tru ab -- c"}},
        {"longer ones kept hide no beginning",
         {u"tru abd", u"tru ab", u"tru abc"},
         {"tru ab -- c", "tru abc -- c"}},
        {"an empty one", {u"tru a", u"tru "}, {"tru  -- c"}},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(each.what);
        signature_list signatures = list_of(each.before);
        reduce_url_signatures(signatures);
        EXPECT_EQ(signature_texts(signatures), each.after);
    }
}

TEST(url_signatures, are_reduced_as_by_comparing_all_pairs) {
    std::mt19937 random(7);
    std::size_t dropped = 0;
    for (int round = 0; round < 3000; ++round) {
        std::vector<std::u16string> texts;
        for (std::size_t count = random() % 30; count > 0; --count) {
            std::u16string text = random() % 8 == 0 ? u"twu " : u"tru ";
            for (std::size_t size = random() % 6; size > 0; --size) {
                text += u"ab/\xFFFD"[random() % 4];
            }
            texts.push_back(text);
        }
        signature_list signatures = list_of(texts);
        signature_list plainly = signatures;
        reduce_url_signatures(signatures);
        plain::reduce_signatures(plainly);
        ASSERT_EQ(signature_texts(signatures), signature_texts(plainly));
        dropped += texts.size() - plainly.size();
    }
    EXPECT_GT(dropped, 1000u);
}

// A message with one part more for each of the values of "Content-Disposition".
part message_with(const std::vector<std::string>& dispositions) {
    part root("Content-Type: multipart/mixed; boundary=b\n\n");
    for (const std::string& value : dispositions) {
        part& child = root.children.emplace_back();
        child.add_header("Content-Disposition", value);
    }
    return root;
}

constexpr const char* unconvertible = "attachment; filename=\"=?windows-99?Q?x?=\"";
constexpr const char* broken = "attachment; filename=\"=?utf-8?Q?=4g?=\"";

std::string links_in_message(part root, const std::vector<std::u16string>& links) {
    signature_list signatures;
    analyse_links(root, links, signatures);
    return digests(distinct(std::move(signatures)));
}

TEST(links, that_name_an_attached_file_do_not_count) {
    const std::vector<std::string> names = {"attachment; filename=\"www.A.com\"", unconvertible,
                                            "inline; filename=www.b.com"};
    EXPECT_EQ(links_in_message(message_with(names), {u"www.a.com", u"www.b.com", u"www.a.com",
                                                     u"http://www.a.com", u"www.c.com"}),
              " com.a.www com.c.www");
    EXPECT_EQ(links_in_message(message_with(names), {u"WWW.A.COM"}), " com.a.www");

    part deep = message_with({});
    part& message = deep.children.emplace_back("Content-Type: message/rfc822\n\n");
    message.children.push_back(message_with(names));
    EXPECT_EQ(links_in_message(deep, {u"www.b.com", u"www.d.com"}), " com.d.www");
}

TEST(links, meet_a_broken_name_only_when_they_must) {
    const std::vector<std::string> names = {"attachment; filename=www.a.com", broken};
    using replay::coding::translate::invalid_codeword;
    EXPECT_EQ(links_in_message(message_with(names), {}), "");
    EXPECT_EQ(links_in_message(message_with(names), {u"www.a.com", u"www.a.com"}), "");
    part root = message_with(names);
    signature_list signatures;
    EXPECT_THROW(analyse_links(root, {u"www.a.com", u"www.b.com"}, signatures), invalid_codeword);
    EXPECT_THAT(signatures, IsEmpty());
}

TEST(top_level_names, are_those_that_were_agreed) {
    std::u16string all;
    std::size_t count = 0;
    const auto try_name = [&](const std::u16string& name) {
        if (!is_top_level_name(name)) return;
        all += name + u' ';
        ++count;
    };
    const auto try_all_below = [&](auto& self, const std::u16string& name) -> void {
        try_name(name);
        if (name.size() == 4) return;
        for (char16_t letter = u'a'; letter <= u'z'; ++letter) self(self, name + letter);
    };
    try_all_below(try_all_below, u"");
    try_name(u"museum");
    try_name(u"travel");
    EXPECT_EQ(count, 266u);
    EXPECT_EQ(replay::md5(replay::unicode::from_wide(all, replay::unicode::utf8)).hex(),
              "4caf3fc141ba5a493c2c3f2f4ad79408");
    for (const auto* other : {u"COM", u"co.", u"comm", u"museums", u"c\u043Em", u"xn--p1ai"}) {
        EXPECT_FALSE(is_top_level_name(other));
    }
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::text_analysis
