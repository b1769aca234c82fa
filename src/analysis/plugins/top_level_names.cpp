#include "analysis/plugins/top_level_names.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace brindlemoss::analysis::plugins::text_analysis {
namespace {

constexpr std::u16string_view names[] = {
    u"ac",   u"ad",  u"ae",   u"aero",   u"af",   u"ag",  u"ai",   u"al",  u"am",  u"an",
    u"ao",   u"aq",  u"ar",   u"arpa",   u"as",   u"at",  u"au",   u"aw",  u"ax",  u"az",
    u"ba",   u"bb",  u"bd",   u"be",     u"bf",   u"bg",  u"bh",   u"bi",  u"biz", u"bj",
    u"bm",   u"bn",  u"bo",   u"br",     u"bs",   u"bt",  u"bv",   u"bw",  u"by",  u"bz",
    u"ca",   u"cat", u"cc",   u"cd",     u"cf",   u"cg",  u"ch",   u"ci",  u"ck",  u"cl",
    u"cm",   u"cn",  u"co",   u"com",    u"coop", u"cr",  u"cu",   u"cv",  u"cx",  u"cy",
    u"cz",   u"de",  u"dj",   u"dk",     u"dm",   u"do",  u"dz",   u"ec",  u"edu", u"ee",
    u"eg",   u"er",  u"es",   u"et",     u"eu",   u"fi",  u"fj",   u"fk",  u"fm",  u"fo",
    u"fr",   u"ga",  u"gb",   u"gd",     u"ge",   u"gf",  u"gg",   u"gh",  u"gi",  u"gl",
    u"gm",   u"gn",  u"gov",  u"gp",     u"gq",   u"gr",  u"gs",   u"gt",  u"gu",  u"gw",
    u"gy",   u"hk",  u"hm",   u"hn",     u"hr",   u"ht",  u"hu",   u"id",  u"ie",  u"il",
    u"im",   u"in",  u"info", u"int",    u"io",   u"iq",  u"ir",   u"is",  u"it",  u"je",
    u"jm",   u"jo",  u"jobs", u"jp",     u"ke",   u"kg",  u"kh",   u"ki",  u"km",  u"kn",
    u"kr",   u"kw",  u"ky",   u"kz",     u"la",   u"lb",  u"lc",   u"li",  u"lk",  u"lr",
    u"ls",   u"lt",  u"lu",   u"lv",     u"ly",   u"ma",  u"mc",   u"md",  u"mg",  u"mh",
    u"mil",  u"mk",  u"ml",   u"mm",     u"mn",   u"mo",  u"mobi", u"mp",  u"mq",  u"mr",
    u"ms",   u"mt",  u"mu",   u"museum", u"mv",   u"mw",  u"mx",   u"my",  u"mz",  u"na",
    u"name", u"nc",  u"ne",   u"net",    u"nf",   u"ng",  u"ni",   u"nl",  u"no",  u"np",
    u"nr",   u"nu",  u"nz",   u"om",     u"org",  u"pa",  u"pe",   u"pf",  u"pg",  u"ph",
    u"pk",   u"pl",  u"pm",   u"pn",     u"pr",   u"pro", u"ps",   u"pt",  u"pw",  u"py",
    u"qa",   u"re",  u"ro",   u"ru",     u"rw",   u"sa",  u"sb",   u"sc",  u"sd",  u"se",
    u"sg",   u"sh",  u"si",   u"sj",     u"sk",   u"sl",  u"sm",   u"sn",  u"so",  u"sr",
    u"st",   u"su",  u"sv",   u"sy",     u"sz",   u"tc",  u"td",   u"tel", u"tf",  u"tg",
    u"th",   u"tj",  u"tk",   u"tl",     u"tm",   u"tn",  u"to",   u"tp",  u"tr",  u"travel",
    u"tt",   u"tv",  u"tw",   u"tz",     u"ua",   u"ug",  u"uk",   u"um",  u"us",  u"uy",
    u"uz",   u"va",  u"vc",   u"ve",     u"vg",   u"vi",  u"vn",   u"vu",  u"wf",  u"ws",
    u"ye",   u"yt",  u"yu",   u"za",     u"zm",   u"zw",
};

static_assert(std::size(names) == 266);
static_assert(std::ranges::is_sorted(names, std::ranges::less_equal{}));

}  // namespace

bool is_top_level_name(std::u16string_view label) {
    return std::ranges::binary_search(names, label);
}

}  // namespace brindlemoss::analysis::plugins::text_analysis
