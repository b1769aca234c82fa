#include "services/language_identifier.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>  // for the library's header, which lacks it
#include <string>
#include <utility>

#include <cld2/public/compact_lang_det.h>
#include <cld2/public/encodings.h>

#include "platform/character_class.h"
#include "platform/shared_library.h"
#include "platform/utf16.h"
#include "platform/utf8.h"
#include "services/language_numbers.h"

namespace brindlemoss::language {

namespace platform = replay::platform;

namespace {

constexpr char library_file[] = "libcld2.so.0";

// The functions by the names that the linker knows them by.
constexpr char detect_symbol[] =
    "_ZN4CLD233ExtDetectLanguageSummaryCheckUTF8EPKcibPKNS_8CLDHintsEiPNS_8LanguageEPiPdPSt6vectorI"
    "NS_11ResultChunkESaISA_EES7_PbS7_";
constexpr char tag_symbol[] = "_ZN4CLD212LanguageCodeENS_8LanguageE";

using detect_function = decltype(&CLD2::ExtDetectLanguageSummaryCheckUTF8);
using tag_function = decltype(&CLD2::LanguageCode);

// The words of a text with a blank between each two.
struct sample {
    std::u16string words;
    std::size_t letters = 0;
    std::size_t cyrillic_letters = 0;
};

bool is_cyrillic(char16_t unit) {
    return unit >= 0x0400 && unit < 0x0530;
}

// Hyphens for line ends, joiners and the like, which must not split a word.
bool is_invisible(char16_t unit, platform::character_class::flags classes) {
    constexpr char16_t first_behind_controls = 0xA0;
    return classes == platform::character_class::control && unit >= first_behind_controls;
}

// The library takes no text in which there is any of these.
bool is_noncharacter(char16_t unit) {
    return unit >= 0xFFFE || (unit >= 0xFDD0 && unit <= 0xFDEF);
}

// Marks, above all, without which Thai and Hindi cannot be read. Characters beyond 16 bits count as
// blanks: they are pictures, and letters too rare to decide anything.
bool belongs_to_word(char16_t unit, platform::character_class::flags classes) {
    return classes == 0 && !platform::is_surrogate(unit) && !is_noncharacter(unit);
}

sample sample_of(std::u16string_view text) {
    namespace character_class = platform::character_class;
    const platform::character_table& characters = platform::characters();
    sample taken;
    std::u16string& words = taken.words;
    words.reserve(std::min(text.size(), manager::most_characters));
    for (const char16_t unit : text) {
        const character_class::flags classes = characters.classes(unit);
        if ((classes & character_class::alpha) != 0) {
            words += unit;
            ++taken.letters;
            if (is_cyrillic(unit)) ++taken.cyrillic_letters;
        } else if (belongs_to_word(unit, classes)) {
            words += unit;
        } else if (is_invisible(unit, classes)) {
            continue;
        } else if (!words.empty() && words.back() != u' ') {
            words += u' ';
        }
        if (words.size() == manager::most_characters) break;
    }
    if (words.ends_with(u' ')) words.pop_back();
    return taken;
}

const numbered_language* language_of(const std::string& tag, const sample& taken) {
    const bool is_cyrillic_text = taken.cyrillic_letters * 2 > taken.letters;
    const std::string with_script = tag + (is_cyrillic_text ? "-Cyrl" : "-Latn");
    const numbered_language* const found = language_of_tag(with_script);
    return found != nullptr ? found : language_of_tag(tag);
}

}  // namespace

manager::generic::generic(std::string message) : exception(std::move(message)) {
    append_domain("language");
}

manager::initialization::initialization(std::string message) : generic(std::move(message)) {
    append_domain("initialization");
}

struct manager::library {
    struct answer {
        CLD2::Language language;
        bool is_reliable;
        int percent;  // of the text that is in the language
    };

    answer detect(const std::string& utf8) const;

    platform::shared_library file{library_file};
    detect_function detect_language = file.symbol<detect_function>(detect_symbol);
    tag_function tag_of = file.symbol<tag_function>(tag_symbol);
};

manager::library::answer manager::library::detect(const std::string& utf8) const {
    constexpr CLD2::CLDHints no_hints = {nullptr, nullptr, CLD2::UNKNOWN_ENCODING,
                                         CLD2::UNKNOWN_LANGUAGE};
    constexpr bool is_plain_text = true;
    constexpr int no_flags = 0;
    std::array<CLD2::Language, 3> languages{};
    std::array<int, 3> percents{};
    std::array<double, 3> scores{};
    int letter_bytes = 0;
    bool is_reliable = false;
    int valid_bytes = 0;
    const CLD2::Language language =
        detect_language(utf8.data(), static_cast<int>(utf8.size()), is_plain_text, &no_hints,
                        no_flags, languages.data(), percents.data(), scores.data(), nullptr,
                        &letter_bytes, &is_reliable, &valid_bytes);
    const auto place = std::find(languages.begin(), languages.end(), language);
    const int percent = place == languages.end() ? 0 : percents[place - languages.begin()];
    return {language, is_reliable && language != CLD2::UNKNOWN_LANGUAGE, percent};
}

manager::manager(std::u16string_view, std::u16string_view, std::u16string_view) try
    : library_(std::make_unique<const library>()) {
} catch (const platform::shared_library::failure& failure) {
    throw initialization(failure.what());
}

manager::~manager() = default;

identification manager::identify(std::u16string_view text) {
    const sample taken = sample_of(text);
    if (taken.letters == 0) return {.status = identification::no_letters};
    if (taken.words.size() < fewest_characters) return {.status = identification::too_short};

    const library::answer answer = library_->detect(platform::to_utf8(taken.words));
    if (!answer.is_reliable) return {.status = identification::unreliable};
    const numbered_language* const language = language_of(library_->tag_of(answer.language), taken);
    if (language == nullptr || language->number == 0) {
        return {.status = identification::without_number};
    }
    const std::size_t speaking =
        taken.words.size() * static_cast<std::size_t>(answer.percent) / 100;
    return {identification::recognised, language->number, weight_of(speaking)};
}

std::uint16_t weight_of(std::size_t characters) {
    constexpr std::size_t most_counted_singly = 1024;
    constexpr double root_of_these = 32;
    if (characters <= most_counted_singly) {
        return static_cast<std::uint16_t>(std::max<std::size_t>(characters, 1));
    }
    const std::size_t counted = std::min(characters, manager::most_characters);
    return static_cast<std::uint16_t>(root_of_these * std::sqrt(static_cast<double>(counted)));
}

}  // namespace brindlemoss::language
