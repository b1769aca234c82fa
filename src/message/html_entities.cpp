#include "message/html_entities.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>

namespace replay::html {

namespace {

constexpr std::size_t longest_name = sizeof(entity_row::name);

// The name as entity_row holds it; 0, which is no entity's, where it cannot be one.
template <typename unit>
constexpr std::uint64_t packed(std::basic_string_view<unit> name) {
    if (name.size() > longest_name) return 0;
    std::uint64_t bytes = 0;
    for (const unit letter : name) {
        if (letter < unit{'0'} || letter > unit{'z'}) return 0;
        bytes = bytes << 8 | static_cast<std::uint64_t>(letter);
    }
    for (std::size_t i = name.size(); i < longest_name; ++i) bytes <<= 8;
    return bytes;
}

constexpr entity_row row(std::string_view name, char16_t unit) {
    return {packed(name), unit};
}

constexpr entity_row rows[] = {
    row("AElig", 0x00C6),   row("Aacute", 0x00C1),  row("Acirc", 0x00C2),    row("Agrave", 0x00C0),
    row("Alpha", 0x0391),   row("Aring", 0x00C5),   row("Atilde", 0x00C3),   row("Auml", 0x00C4),
    row("Beta", 0x0392),    row("Ccedil", 0x00C7),  row("Chi", 0x03A7),      row("Dagger", 0x2021),
    row("Delta", 0x0394),   row("ETH", 0x00D0),     row("Eacute", 0x00C9),   row("Ecirc", 0x00CA),
    row("Egrave", 0x00C8),  row("Epsilon", 0x0395), row("Eta", 0x0397),      row("Euml", 0x00CB),
    row("Gamma", 0x0393),   row("Iacute", 0x00CD),  row("Icirc", 0x00CE),    row("Igrave", 0x00CC),
    row("Iota", 0x0399),    row("Iuml", 0x00CF),    row("Kappa", 0x039A),    row("Lambda", 0x039B),
    row("Mu", 0x039C),      row("Ntilde", 0x00D1),  row("Nu", 0x039D),       row("OElig", 0x0152),
    row("Oacute", 0x00D3),  row("Ocirc", 0x00D4),   row("Ograve", 0x00D2),   row("Omega", 0x03A9),
    row("Omicron", 0x039F), row("Oslash", 0x00D8),  row("Otilde", 0x00D5),   row("Ouml", 0x00D6),
    row("Phi", 0x03A6),     row("Pi", 0x03A0),      row("Prime", 0x2033),    row("Psi", 0x03A8),
    row("Rho", 0x03A1),     row("Scaron", 0x0160),  row("Sigma", 0x03A3),    row("THORN", 0x00DE),
    row("Tau", 0x03A4),     row("Theta", 0x0398),   row("Uacute", 0x00DA),   row("Ucirc", 0x00DB),
    row("Ugrave", 0x00D9),  row("Upsilon", 0x03A5), row("Uuml", 0x00DC),     row("Xi", 0x039E),
    row("Yacute", 0x00DD),  row("Yuml", 0x0178),    row("Zeta", 0x0396),     row("aacute", 0x00E1),
    row("acirc", 0x00E2),   row("acute", 0x00B4),   row("aelig", 0x00E6),    row("agrave", 0x00E0),
    row("alefsym", 0x2135), row("alpha", 0x03B1),   row("amp", 0x0026),      row("and", 0x2227),
    row("ang", 0x2220),     row("apos", 0x0027),    row("aring", 0x00E5),    row("asymp", 0x2248),
    row("atilde", 0x00E3),  row("auml", 0x00E4),    row("bdquo", 0x201E),    row("beta", 0x03B2),
    row("brvbar", 0x00A6),  row("bull", 0x2022),    row("cap", 0x2229),      row("ccedil", 0x00E7),
    row("cedil", 0x00B8),   row("cent", 0x00A2),    row("chi", 0x03C7),      row("circ", 0x02C6),
    row("clubs", 0x2663),   row("cong", 0x2245),    row("copy", 0x00A9),     row("crarr", 0x21B5),
    row("cup", 0x222A),     row("curren", 0x00A4),  row("dArr", 0x21D3),     row("dagger", 0x2020),
    row("darr", 0x2193),    row("deg", 0x00B0),     row("delta", 0x03B4),    row("diams", 0x2666),
    row("divide", 0x00F7),  row("eacute", 0x00E9),  row("ecirc", 0x00EA),    row("egrave", 0x00E8),
    row("empty", 0x2205),   row("emsp", 0x2003),    row("ensp", 0x2002),     row("epsilon", 0x03B5),
    row("equiv", 0x2261),   row("eta", 0x03B7),     row("eth", 0x00F0),      row("euml", 0x00EB),
    row("euro", 0x20AC),    row("exist", 0x2203),   row("fnof", 0x0192),     row("forall", 0x2200),
    row("frac12", 0x00BD),  row("frac14", 0x00BC),  row("frac34", 0x00BE),   row("frasl", 0x2044),
    row("gamma", 0x03B3),   row("ge", 0x2265),      row("gt", 0x003E),       row("hArr", 0x21D4),
    row("harr", 0x2194),    row("hearts", 0x2665),  row("hellip", 0x2026),   row("iacute", 0x00ED),
    row("icirc", 0x00EE),   row("iexcl", 0x00A1),   row("igrave", 0x00EC),   row("image", 0x2111),
    row("infin", 0x221E),   row("int", 0x222B),     row("iota", 0x03B9),     row("iquest", 0x00BF),
    row("isin", 0x2208),    row("iuml", 0x00EF),    row("kappa", 0x03BA),    row("lArr", 0x21D0),
    row("lambda", 0x03BB),  row("lang", 0x2329),    row("laquo", 0x00AB),    row("larr", 0x2190),
    row("lceil", 0x2308),   row("ldquo", 0x201C),   row("le", 0x2264),       row("lfloor", 0x230A),
    row("lowast", 0x2217),  row("loz", 0x25CA),     row("lrm", 0x200E),      row("lsaquo", 0x2039),
    row("lsquo", 0x2018),   row("lt", 0x003C),      row("macr", 0x00AF),     row("mdash", 0x2014),
    row("micro", 0x00B5),   row("middot", 0x00B7),  row("minus", 0x2212),    row("mu", 0x03BC),
    row("nabla", 0x2207),   row("nbsp", 0x00A0),    row("ndash", 0x2013),    row("ne", 0x2260),
    row("ni", 0x220B),      row("not", 0x00AC),     row("notin", 0x2209),    row("nsub", 0x2284),
    row("ntilde", 0x00F1),  row("nu", 0x03BD),      row("oacute", 0x00F3),   row("ocirc", 0x00F4),
    row("oelig", 0x0153),   row("ograve", 0x00F2),  row("oline", 0x203E),    row("omega", 0x03C9),
    row("omicron", 0x03BF), row("oplus", 0x2295),   row("or", 0x2228),       row("ordf", 0x00AA),
    row("ordm", 0x00BA),    row("oslash", 0x00F8),  row("otilde", 0x00F5),   row("otimes", 0x2297),
    row("ouml", 0x00F6),    row("para", 0x00B6),    row("part", 0x2202),     row("permil", 0x2030),
    row("perp", 0x22A5),    row("phi", 0x03C6),     row("pi", 0x03C0),       row("piv", 0x03D6),
    row("plusmn", 0x00B1),  row("pound", 0x00A3),   row("prime", 0x2032),    row("prod", 0x220F),
    row("prop", 0x221D),    row("psi", 0x03C8),     row("quot", 0x0022),     row("rArr", 0x21D2),
    row("radic", 0x221A),   row("rang", 0x232A),    row("raquo", 0x00BB),    row("rarr", 0x2192),
    row("rceil", 0x2309),   row("rdquo", 0x201D),   row("real", 0x211C),     row("reg", 0x00AE),
    row("rfloor", 0x230B),  row("rho", 0x03C1),     row("rlm", 0x200F),      row("rsaquo", 0x203A),
    row("rsquo", 0x2019),   row("sbquo", 0x201A),   row("scaron", 0x0161),   row("sdot", 0x22C5),
    row("sect", 0x00A7),    row("shy", 0x00AD),     row("sigma", 0x03C3),    row("sigmaf", 0x03C2),
    row("sim", 0x223C),     row("spades", 0x2660),  row("sub", 0x2282),      row("sube", 0x2286),
    row("sum", 0x2211),     row("sup", 0x2283),     row("sup1", 0x00B9),     row("sup2", 0x00B2),
    row("sup3", 0x00B3),    row("supe", 0x2287),    row("szlig", 0x00DF),    row("tau", 0x03C4),
    row("there4", 0x2234),  row("theta", 0x03B8),   row("thetasym", 0x03D1), row("thinsp", 0x2009),
    row("thorn", 0x00FE),   row("tilde", 0x02DC),   row("times", 0x00D7),    row("trade", 0x2122),
    row("uArr", 0x21D1),    row("uacute", 0x00FA),  row("uarr", 0x2191),     row("ucirc", 0x00FB),
    row("ugrave", 0x00F9),  row("uml", 0x00A8),     row("upsih", 0x03D2),    row("upsilon", 0x03C5),
    row("uuml", 0x00FC),    row("weierp", 0x2118),  row("xi", 0x03BE),       row("yacute", 0x00FD),
    row("yen", 0x00A5),     row("yuml", 0x00FF),    row("zeta", 0x03B6),     row("zwj", 0x200D),
    row("zwnj", 0x200C),
};

static_assert(std::ranges::adjacent_find(rows, std::greater_equal{}, &entity_row::name) ==
                  std::end(rows),
              "the search by halves wants ascending names");

}  // namespace

std::span<const entity_row> entity_table() noexcept {
    return rows;
}

std::optional<char16_t> find_entity(std::u16string_view name) noexcept {
    const std::uint64_t wanted = packed(name);
    const auto* const found = std::ranges::lower_bound(rows, wanted, {}, &entity_row::name);
    if (found == std::end(rows) || found->name != wanted) return std::nullopt;
    return found->unit;
}

}  // namespace replay::html
