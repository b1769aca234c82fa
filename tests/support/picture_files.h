#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Picture files as small as their formats allow: grey, without compression, every byte in sight.
namespace test_support {

// Grey levels from the top row down, without padding.
struct grey_picture {
    int width;
    int height;
    std::vector<std::uint8_t> levels;
};

inline grey_picture flat(int width, int height, std::uint8_t level) {
    return {width, height, std::vector<std::uint8_t>(std::size_t(width) * height, level)};
}

inline std::string big_endian(std::uint64_t number, int width) {
    std::string bytes;
    while (width-- > 0) bytes += static_cast<char>(number >> (8 * width));
    return bytes;
}

inline std::string little_endian(std::uint64_t number, int width) {
    const std::string bytes = big_endian(number, width);
    return {bytes.rbegin(), bytes.rend()};
}

inline std::string bytes_of(std::initializer_list<int> values) {
    std::string bytes;
    for (const int value : values) bytes += static_cast<char>(value);
    return bytes;
}

// PNG (RFC 2083).

inline std::uint32_t crc(std::string_view bytes) {
    std::uint32_t sum = 0xFFFFFFFFu;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320u : 0);
    }
    return ~sum;
}

inline std::string png_chunk(const std::string& type, const std::string& data) {
    return big_endian(data.size(), 4) + type + data + big_endian(crc(type + data), 4);
}

// A zlib stream of stored blocks (RFC 1950, RFC 1951).
inline std::string stored(const std::string& data) {
    std::string stream = "\x78\x01";
    std::uint32_t low = 1, high = 0;
    for (std::size_t at = 0; at < data.size(); at += 65535) {
        const std::string block = data.substr(at, 65535);
        stream += bytes_of({at + block.size() == data.size()});
        stream += little_endian(block.size(), 2) + little_endian(~block.size(), 2) + block;
    }
    for (const char byte : data) {
        low = (low + static_cast<unsigned char>(byte)) % 65521;
        high = (high + low) % 65521;
    }
    return stream + big_endian(high << 16 | low, 4);
}

inline const std::string png_signature = "\x89PNG\r\n\x1A\n";

inline std::string png_header(std::uint32_t width, std::uint32_t height, int depth, int colour_type,
                              int interlace = 0) {
    return png_chunk("IHDR", big_endian(width, 4) + big_endian(height, 4) +
                                 bytes_of({depth, colour_type, 0, 0, interlace}));
}

inline std::string png_rows(const grey_picture& picture) {
    std::string rows;
    for (int y = 0; y < picture.height; ++y) {
        rows += '\0';
        rows.append(picture.levels.begin() + y * picture.width,
                    picture.levels.begin() + (y + 1) * picture.width);
    }
    return rows;
}

// `ahead` and `behind` are chunks around the picture data.
inline std::string png_file(const grey_picture& picture, const std::string& ahead = {},
                            const std::string& behind = {}) {
    return png_signature +
           png_header(std::uint32_t(picture.width), std::uint32_t(picture.height), 8, 0) + ahead +
           png_chunk("IDAT", stored(png_rows(picture))) + behind + png_chunk("IEND", "");
}

// GIF89a.

struct gif_frame {
    grey_picture picture;
    int left = 0;
    int top = 0;
    int time = 0;  // in milliseconds, whole hundredths of a second
};

inline std::string gif_blocks(const std::string& data) {
    std::string blocks;
    for (std::size_t at = 0; at < data.size(); at += 255) {
        const std::string block = data.substr(at, 255);
        blocks += static_cast<char>(block.size()) + block;
    }
    return blocks + '\0';
}

// Codes of 9 bits; the table is cleared before it would need a tenth.
inline std::string gif_codes(const std::vector<std::uint8_t>& levels) {
    constexpr unsigned clear = 256, end = 257;
    std::string bytes;
    unsigned held = 0;
    int held_bits = 0;
    const auto put = [&](unsigned code) {
        held |= code << held_bits;
        for (held_bits += 9; held_bits >= 8; held_bits -= 8, held >>= 8) {
            bytes += static_cast<char>(held);
        }
    };
    for (std::size_t at = 0; at < levels.size(); ++at) {
        if (at % 250 == 0) put(clear);
        put(levels[at]);
    }
    put(end);
    return bytes + static_cast<char>(held);
}

inline std::string gif_screen(int width, int height) {
    std::string bytes = "GIF89a" + little_endian(std::uint64_t(width), 2) +
                        little_endian(std::uint64_t(height), 2) + bytes_of({0xF7, 0, 0});
    for (int level = 0; level < 256; ++level) bytes.append(3, static_cast<char>(level));
    return bytes;
}

inline std::string gif_image(int left, int top, int width, int height, const std::string& codes) {
    std::string bytes = ",";
    for (const int number : {left, top, width, height}) {
        bytes += little_endian(std::uint64_t(number), 2);
    }
    return bytes + bytes_of({0, 8}) + gif_blocks(codes);
}

inline std::string gif_file(const std::vector<gif_frame>& frames, const std::string& ahead = {}) {
    std::string bytes = gif_screen(frames[0].picture.width, frames[0].picture.height) + ahead;
    for (const gif_frame& each : frames) {
        bytes += bytes_of({0x21, 0xF9, 4, 0}) + little_endian(std::uint64_t(each.time / 10), 2) +
                 bytes_of({0, 0});
        bytes += gif_image(each.left, each.top, each.picture.width, each.picture.height,
                           gif_codes(each.picture.levels));
    }
    return bytes + ";";
}

// JPEG (ITU-T T.81), baseline, of one level for each block of 8 by 8 pixels.

inline std::string jpeg_segment(int marker, const std::string& data) {
    return bytes_of({0xFF, marker}) + big_endian(data.size() + 2, 2) + data;
}

inline std::string jpeg_frame_header(int width, int height, int components = 1) {
    std::string data = bytes_of({8}) + big_endian(std::uint64_t(height), 2) +
                       big_endian(std::uint64_t(width), 2) + bytes_of({components});
    for (int each = 1; each <= components; ++each) data += bytes_of({each, 0x11, 0});
    return jpeg_segment(0xC0, data);
}

inline std::string jpeg_scan_header(int components = 1) {
    std::string data = bytes_of({components});
    for (int each = 1; each <= components; ++each) data += bytes_of({each, 0});
    return jpeg_segment(0xDA, data + bytes_of({0, 63, 0}));
}

// Quantisation by 8, which makes a coefficient a level, and codes for the size of a difference (4
// bits) and the end of a block (1 bit).
inline std::string jpeg_tables() {
    const std::string sizes = bytes_of({0, 0, 0, 12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}) +
                              bytes_of({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    const std::string end = bytes_of({1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    return jpeg_segment(0xDB, '\0' + std::string(64, '\x08')) + jpeg_segment(0xC4, '\0' + sizes) +
           jpeg_segment(0xC4, '\x10' + end);
}

// The coded levels of the blocks of one component, in order.
inline std::string jpeg_codes(const std::vector<int>& levels) {
    std::string bits;
    const auto put = [&](int value, int count) {
        while (count-- > 0) bits += static_cast<char>('0' + (value >> count & 1));
    };
    int before = 128;
    for (const int level : levels) {
        const int difference = level - before;
        int size = 0;
        while ((difference < 0 ? -difference : difference) >> size != 0) ++size;
        put(size, 4);
        put(difference < 0 ? difference - 1 : difference, size);
        put(0, 1);
        before = level;
    }
    while (bits.size() % 8 != 0) bits += '1';
    std::string bytes;
    for (std::size_t at = 0; at < bits.size(); at += 8) {
        bytes += static_cast<char>(std::stoi(bits.substr(at, 8), nullptr, 2));
        if (bytes.back() == '\xFF') bytes += '\0';
    }
    return bytes;
}

// A picture of blocks, `columns` in a row; `ahead` are segments in front of its header.
inline std::string jpeg_file(int columns, const std::vector<int>& levels,
                             const std::string& ahead = {}) {
    const int rows = static_cast<int>(levels.size()) / columns;
    return "\xFF\xD8" + ahead + jpeg_tables() + jpeg_frame_header(columns * 8, rows * 8) +
           jpeg_scan_header() + jpeg_codes(levels) + "\xFF\xD9";
}

}  // namespace test_support
