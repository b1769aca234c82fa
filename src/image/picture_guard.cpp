#include "image/picture_guard.h"

#include <algorithm>
#include <iterator>

#include "image/format_guards.h"

namespace brindlemoss::analysis::plugins::image_analysis {

namespace {

using namespace std::string_view_literals;

// The decoder takes sizes as signed numbers of 32 bits.
constexpr std::size_t most_bytes = 0x7FFFFFFF;

struct signature {
    std::string_view text;
    picture_format format;
};

constexpr signature signatures[] = {
    {"GIF87a"sv, picture_format::gif},
    {"GIF89a"sv, picture_format::gif},
    {"\x89PNG\r\n\x1A\n"sv, picture_format::png},
    {"\xFF\xD8"sv, picture_format::jpeg},
    // Pictures of other kinds.
    {"BM"sv, picture_format::other},                 // BMP
    {"\0\0\1\0"sv, picture_format::other},           // ICO
    {"II*\0"sv, picture_format::other},              // TIFF, raw pictures of cameras
    {"MM\0*"sv, picture_format::other},              // the same
    {"II\xBC"sv, picture_format::other},             // JPEG XR
    {"8BPS"sv, picture_format::other},               // PSD
    {"\x8BJNG\r\n\x1A\n"sv, picture_format::other},  // JNG
    {"\x8AMNG\r\n\x1A\n"sv, picture_format::other},  // MNG
    {"P1"sv, picture_format::other},                 // PBM, PGM, PPM
    {"P2"sv, picture_format::other},
    {"P3"sv, picture_format::other},
    {"P4"sv, picture_format::other},
    {"P5"sv, picture_format::other},
    {"P6"sv, picture_format::other},
    {"PF"sv, picture_format::other},  // PFM
    {"Pf"sv, picture_format::other},
    {"\x59\xA6\x6A\x95"sv, picture_format::other},  // Sun raster
    {"FORM"sv, picture_format::other},              // IFF, LBM
    {"/* XPM */"sv, picture_format::other},         // XPM
    {"#define "sv, picture_format::other},          // XBM
    {"DDS "sv, picture_format::other},              // DirectDraw surface
    {"\x01\xDA"sv, picture_format::other},          // SGI
    {"#?RADIANCE"sv, picture_format::other},        // HDR
    {"#?RGBE"sv, picture_format::other},
    {"\x76\x2F\x31\x01"sv, picture_format::other},          // OpenEXR
    {"\xFF\x4F\xFF\x51"sv, picture_format::other},          // JPEG 2000 code stream
    {"\0\0\0\x0CjP  \r\n\x87\n"sv, picture_format::other},  // JP2
    {"\x0A\x05\x01"sv, picture_format::other},              // PCX
};

bool is_webp(std::string_view bytes) {
    return bytes.starts_with("RIFF") &&
           bytes.substr(std::min<std::size_t>(8, bytes.size())).starts_with("WEBP");
}

}  // namespace

picture_format format_of(std::string_view bytes) {
    const auto* const found =
        std::find_if(std::begin(signatures), std::end(signatures),
                     [&](const signature& each) { return bytes.starts_with(each.text); });
    if (found != std::end(signatures)) return found->format;
    return is_webp(bytes) ? picture_format::other : picture_format::unknown;
}

std::optional<admitted_picture> admit(picture_format format, std::string_view bytes) {
    if (bytes.size() > most_bytes) return std::nullopt;
    switch (format) {
        case picture_format::gif: return admit_gif(bytes);
        case picture_format::png: return admit_png(bytes);
        case picture_format::jpeg: return admit_jpeg(bytes);
        default: return std::nullopt;
    }
}

}  // namespace brindlemoss::analysis::plugins::image_analysis
