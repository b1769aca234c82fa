#include "services/language_numbers.h"

#include "foundation/ascii.h"

namespace brindlemoss::language {

namespace {

using replay::ascii::equals_ignoring_case;

constexpr numbered_language table[] = {
    {"ab", "", 0, "Abkhazian"},
    {"aa", "", 0, "Afar"},
    {"af", "", 0x0436, "Afrikaans"},
    {"ak", "", 0, "Akan"},
    {"sq", "", 0x041C, "Albanian"},
    {"am", "", 0x045E, "Amharic"},
    {"ar", "", 0x0401, "Arabic"},
    {"hy", "", 0x042B, "Armenian"},
    {"as", "", 0x044D, "Assamese"},
    {"ay", "", 0, "Aymara"},
    {"az-Cyrl", "", 0x082C, "Azerbaijani (Cyrillic)"},
    {"az-Latn", "az", 0x042C, "Azerbaijani (Latin)"},
    {"ba", "", 0x046D, "Bashkir"},
    {"eu", "", 0x042D, "Basque"},
    {"be", "", 0x0423, "Belarusian"},
    {"bn", "", 0x0445, "Bengali"},
    {"bh", "", 0, "Bihari"},
    {"bi", "", 0, "Bislama"},
    {"bs", "", 0x141A, "Bosnian"},
    {"br", "", 0x047E, "Breton"},
    {"bg", "", 0x0402, "Bulgarian"},
    {"my", "", 0x0455, "Burmese"},
    {"ca", "", 0x0403, "Catalan"},
    {"ceb", "", 0, "Cebuano"},
    {"chr", "", 0x045C, "Cherokee"},
    {"zh-Hans", "zh", 0x0804, "Chinese (simplified)"},
    {"zh-Hant", "", 0x0404, "Chinese (traditional)"},
    {"co", "", 0x0483, "Corsican"},
    {"hr", "", 0x041A, "Croatian"},
    {"cs", "", 0x0405, "Czech"},
    {"da", "", 0x0406, "Danish"},
    {"dv", "", 0x0465, "Dhivehi"},
    {"nl", "", 0x0413, "Dutch"},
    {"dz", "", 0x0C51, "Dzongkha"},
    {"en", "", 0x0409, "English"},
    {"eo", "", 0, "Esperanto"},
    {"et", "", 0x0425, "Estonian"},
    {"ee", "", 0, "Ewe"},
    {"fo", "", 0x0438, "Faroese"},
    {"fj", "", 0, "Fijian"},
    {"fil", "tl", 0x0464, "Filipino"},
    {"fi", "", 0x040B, "Finnish"},
    {"fr", "", 0x040C, "French"},
    {"fy", "", 0x0462, "Frisian"},
    {"gaa", "", 0, "Ga"},
    {"gl", "", 0x0456, "Galician"},
    {"lg", "", 0, "Ganda"},
    {"ka", "", 0x0437, "Georgian"},
    {"de", "", 0x0407, "German"},
    {"el", "", 0x0408, "Greek"},
    {"kl", "", 0x046F, "Greenlandic"},
    {"gn", "", 0x0474, "Guarani"},
    {"gu", "", 0x0447, "Gujarati"},
    {"ht", "", 0, "Haitian Creole"},
    {"ha", "", 0x0468, "Hausa"},
    {"haw", "", 0x0475, "Hawaiian"},
    {"he", "iw", 0x040D, "Hebrew"},
    {"hi", "", 0x0439, "Hindi"},
    {"hmn", "", 0, "Hmong"},
    {"hu", "", 0x040E, "Hungarian"},
    {"is", "", 0x040F, "Icelandic"},
    {"ig", "", 0x0470, "Igbo"},
    {"id", "", 0x0421, "Indonesian"},
    {"ia", "", 0, "Interlingua"},
    {"ie", "", 0, "Interlingue"},
    {"iu", "", 0x045D, "Inuktitut"},
    {"ik", "", 0, "Inupiaq"},
    {"ga", "", 0x083C, "Irish"},
    {"it", "", 0x0410, "Italian"},
    {"ja", "", 0x0411, "Japanese"},
    {"jv", "jw", 0, "Javanese"},
    {"kn", "", 0x044B, "Kannada"},
    {"ks", "", 0x0460, "Kashmiri"},
    {"kk", "", 0x043F, "Kazakh"},
    {"kha", "", 0, "Khasi"},
    {"km", "", 0x0453, "Khmer"},
    {"rw", "", 0x0487, "Kinyarwanda"},
    {"ko", "", 0x0412, "Korean"},
    {"kri", "", 0, "Krio"},
    {"ku", "ckb", 0x0492, "Kurdish"},
    {"ky", "", 0x0440, "Kyrgyz"},
    {"lo", "", 0x0454, "Lao"},
    {"la", "", 0x0476, "Latin"},
    {"lv", "", 0x0426, "Latvian"},
    {"lif", "", 0, "Limbu"},
    {"ln", "", 0, "Lingala"},
    {"lt", "", 0x0427, "Lithuanian"},
    {"loz", "", 0, "Lozi"},
    {"lua", "", 0, "Luba-Lulua"},
    {"luo", "", 0, "Luo"},
    {"lb", "", 0x046E, "Luxembourgish"},
    {"mk", "", 0x042F, "Macedonian"},
    {"mg", "", 0, "Malagasy"},
    {"ms", "", 0x043E, "Malay"},
    {"ml", "", 0x044C, "Malayalam"},
    {"mt", "", 0x043A, "Maltese"},
    {"gv", "", 0, "Manx"},
    {"mi", "", 0x0481, "Maori"},
    {"mr", "", 0x044E, "Marathi"},
    {"mfe", "", 0, "Mauritian Creole"},
    {"mn", "", 0x0450, "Mongolian"},
    {"sr-ME", "cnr", 0x2C1A, "Montenegrin"},
    {"na", "", 0, "Nauru"},
    {"nr", "", 0, "Ndebele"},
    {"ne", "", 0x0461, "Nepali"},
    {"new", "", 0, "Newari"},
    {"nb", "no", 0x0414, "Norwegian (Bokm\u00E5l)"},
    {"nn", "no", 0x0814, "Norwegian (Nynorsk)"},
    {"ny", "", 0, "Nyanja"},
    {"oc", "", 0x0482, "Occitan"},
    {"or", "", 0x0448, "Oriya"},
    {"om", "", 0x0472, "Oromo"},
    {"os", "", 0, "Ossetian"},
    {"pam", "", 0, "Pampanga"},
    {"ps", "", 0x0463, "Pashto"},
    {"nso", "", 0x046C, "Pedi"},
    {"fa", "", 0x0429, "Persian"},
    {"pl", "", 0x0415, "Polish"},
    {"pt", "", 0x0416, "Portuguese"},
    {"pa", "", 0x0446, "Punjabi"},
    {"qu", "", 0x046B, "Quechua"},
    {"raj", "", 0, "Rajasthani"},
    {"ro", "", 0x0418, "Romanian"},
    {"rm", "", 0x0417, "Romansh"},
    {"rn", "", 0, "Rundi"},
    {"ru", "", 0x0419, "Russian"},
    {"sm", "", 0, "Samoan"},
    {"sg", "", 0, "Sango"},
    {"sa", "", 0x044F, "Sanskrit"},
    {"sco", "", 0, "Scots"},
    {"gd", "", 0x0491, "Scottish Gaelic"},
    {"sr-Cyrl", "sr", 0x0C1A, "Serbian (Cyrillic)"},
    {"sr-Latn", "", 0x081A, "Serbian (Latin)"},
    {"crs", "", 0, "Seselwa"},
    {"st", "", 0x0430, "Sesotho"},
    {"sn", "", 0, "Shona"},
    {"sd", "", 0x0859, "Sindhi"},
    {"si", "", 0x045B, "Sinhala"},
    {"ss", "", 0, "Siswant"},
    {"sk", "", 0x041B, "Slovak"},
    {"sl", "", 0x0424, "Slovenian"},
    {"so", "", 0x0477, "Somali"},
    {"es", "", 0x0C0A, "Spanish"},
    {"su", "", 0, "Sundanese"},
    {"sw", "", 0x0441, "Swahili"},
    {"sv", "", 0x041D, "Swedish"},
    {"syr", "", 0x045A, "Syriac"},
    {"tg", "", 0x0428, "Tajik"},
    {"ta", "", 0x0449, "Tamil"},
    {"tt", "", 0x0444, "Tatar"},
    {"te", "", 0x044A, "Telugu"},
    {"th", "", 0x041E, "Thai"},
    {"bo", "", 0x0451, "Tibetan"},
    {"ti", "", 0x0473, "Tigrinya"},
    {"to", "", 0, "Tonga"},
    {"ts", "", 0x0431, "Tsonga"},
    {"tn", "", 0x0432, "Tswana"},
    {"tum", "", 0, "Tumbuka"},
    {"tr", "", 0x041F, "Turkish"},
    {"tk", "", 0x0442, "Turkmen"},
    {"tw", "", 0, "Twi"},
    {"uk", "", 0x0422, "Ukrainian"},
    {"ur", "", 0x0420, "Urdu"},
    {"ug", "", 0x0480, "Uyghur"},
    {"uz-Cyrl", "", 0x0843, "Uzbek (Cyrillic)"},
    {"uz-Latn", "uz", 0x0443, "Uzbek (Latin)"},
    {"ve", "", 0x0433, "Venda"},
    {"vi", "", 0x042A, "Vietnamese"},
    {"vo", "", 0, "Volapuk"},
    {"war", "", 0, "Waray"},
    {"cy", "", 0x0452, "Welsh"},
    {"wo", "", 0x0488, "Wolof"},
    {"xh", "", 0x0434, "Xhosa"},
    {"yi", "", 0x043D, "Yiddish"},
    {"yo", "", 0x046A, "Yoruba"},
    {"za", "", 0, "Zhuang"},
    {"zu", "", 0x0435, "Zulu"},
};

// The lower bits of a number are the language, the others the country.
constexpr std::uint32_t language_bits = 0x3FF;

bool is_called(const numbered_language& row, std::string_view name) {
    return equals_ignoring_case(row.tag, name) ||
           equals_ignoring_case(row.tag.substr(0, row.tag.find('-')), name) ||
           (!row.other_tag.empty() && equals_ignoring_case(row.other_tag, name)) ||
           equals_ignoring_case(row.name, name) ||
           equals_ignoring_case(row.name.substr(0, row.name.find(" (")), name);
}

template <typename condition>
const numbered_language* first(condition holds) {
    for (const numbered_language& row : table) {
        if (holds(row)) return &row;
    }
    return nullptr;
}

template <typename condition>
std::vector<const numbered_language*> all(condition holds) {
    std::vector<const numbered_language*> found;
    for (const numbered_language& row : table) {
        if (holds(row)) found.push_back(&row);
    }
    return found;
}

}  // namespace

std::span<const numbered_language> numbered_languages() {
    return table;
}

const numbered_language* language_of_tag(std::string_view tag) {
    if (tag.empty()) return nullptr;
    return first([&](const auto& row) { return row.tag == tag || row.other_tag == tag; });
}

const numbered_language* language_of_number(std::uint32_t number) {
    if (number == 0) return nullptr;
    return first([&](const auto& row) { return row.number == number; });
}

std::vector<const numbered_language*> languages_called(std::string_view name) {
    if (name.empty()) return {};
    return all([&](const auto& row) { return is_called(row, name); });
}

std::vector<const numbered_language*> relatives_of_number(std::uint32_t number) {
    return all([&](const auto& row) {
        return row.number != 0 && (row.number & language_bits) == (number & language_bits);
    });
}

}  // namespace brindlemoss::language
