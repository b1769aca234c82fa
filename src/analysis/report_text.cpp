#include "analysis/report_text.h"

#include <array>
#include <cstdio>

#include "message/character_set.h"

namespace brindlemoss::analysis {

std::u16string widen(std::string_view bytes) {
    return replay::unicode::to_wide(bytes, replay::unicode::byte_for_byte);
}

std::u16string address_text(const void* address) {
    std::array<char, 32> text;
    const int size = std::snprintf(text.data(), text.size(), "%p", address);
    return widen({text.data(), static_cast<std::size_t>(size)});
}

std::u16string number_text(long long number) {
    return widen(std::to_string(number));
}

}  // namespace brindlemoss::analysis
