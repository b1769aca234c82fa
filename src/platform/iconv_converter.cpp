#include "platform/iconv_converter.h"

#include <bit>
#include <cstddef>

namespace replay::platform {
namespace {

constexpr const char* native_utf16 =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";
constexpr auto failed = static_cast<std::size_t>(-1);

}  // namespace

iconv_converter::iconv_converter(const char* name) : converter_(iconv_open(native_utf16, name)) {}

iconv_converter::~iconv_converter() {
    if (is_open()) iconv_close(converter_);
}

bool iconv_converter::is_open() const {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): iconv_open()'s own sign of a failure
    return converter_ != reinterpret_cast<iconv_t>(-1);
}

std::optional<char16_t> iconv_converter::decode_one(std::string_view bytes) {
    char16_t room[8];
    char* to = reinterpret_cast<char*>(room);
    std::size_t space = sizeof room;
    char* from = const_cast<char*>(bytes.data());  // iconv() only reads it
    std::size_t left = bytes.size();
    iconv(converter_, nullptr, nullptr, nullptr, nullptr);
    if (iconv(converter_, &from, &left, &to, &space) == failed) return std::nullopt;
    // A character may be held back in case a combining one follows.
    if (iconv(converter_, nullptr, nullptr, &to, &space) == failed) return std::nullopt;
    if (space != sizeof room - sizeof(char16_t)) return std::nullopt;
    return room[0];
}

}  // namespace replay::platform
