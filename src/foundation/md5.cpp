#include "foundation/md5.h"

#include <bit>
#include <cstring>

namespace replay {

namespace {

constexpr std::size_t block_size = 64;
using state_words = std::array<std::uint32_t, 4>;

constexpr state_words initial_state = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};

// floor(2^32 * abs(sin(i + 1))), RFC 1321 section 3.4.
constexpr std::array<std::uint32_t, 64> sines = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

constexpr std::array<std::array<int, 4>, 4> rotations = {
    {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}}};

std::uint32_t load_little_endian(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

// The four rounds are templates so that the compiler unrolls each into straight-line code. Each
// step waits for the `b` of the one before: what can be done without it stands apart.
template <int round>
constexpr std::uint32_t add_mixed(std::uint32_t sum, std::uint32_t b, std::uint32_t c,
                                  std::uint32_t d) {
    if constexpr (round == 0) return sum + (d ^ (b & (c ^ d)));
    if constexpr (round == 1) return sum + (c & ~d) + (b & d);
    if constexpr (round == 2) return sum + (b ^ (c ^ d));
    if constexpr (round == 3) return sum + (c ^ (b | ~d));
}

template <int round>
constexpr int word_index(int step) {
    constexpr std::array<int, 4> factor = {1, 5, 3, 7};
    constexpr std::array<int, 4> offset = {0, 1, 5, 0};
    return (step * factor[round] + offset[round]) % 16;
}

template <int round>
void run_round(const std::array<std::uint32_t, 16>& words, state_words& state) {
    auto [a, b, c, d] = state;
    for (int step = 0; step < 16; ++step) {
        const std::uint32_t sum = add_mixed<round>(
            a + words[word_index<round>(step)] + sines[round * 16 + step], b, c, d);
        a = d;
        d = c;
        c = b;
        b += std::rotl(sum, rotations[round][step % 4]);
    }
    state = {a, b, c, d};
}

void digest_block(const unsigned char* block, state_words& state) {
    std::array<std::uint32_t, 16> words;
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = load_little_endian(block + i * 4);
    state_words mixed = state;
    run_round<0>(words, mixed);
    run_round<1>(words, mixed);
    run_round<2>(words, mixed);
    run_round<3>(words, mixed);
    for (std::size_t i = 0; i < state.size(); ++i) state[i] += mixed[i];
}

}  // namespace

md5::md5(std::string_view input) noexcept : digest_{} {
    state_words state = initial_state;
    const auto* bytes = reinterpret_cast<const unsigned char*>(input.data());
    const std::size_t whole = input.size() / block_size * block_size;
    for (std::size_t at = 0; at < whole; at += block_size) digest_block(bytes + at, state);

    // The rest, a one bit, zeros, and the length in bits: one block, or two where the rest leaves
    // no room for the length.
    std::array<unsigned char, 2 * block_size> tail{};
    const std::size_t rest = input.size() - whole;
    if (rest > 0) std::memcpy(tail.data(), bytes + whole, rest);
    tail[rest] = 0x80;
    const std::size_t tail_size = rest < block_size - 8 ? block_size : 2 * block_size;
    const std::uint64_t bits = static_cast<std::uint64_t>(input.size()) * 8;
    for (int i = 0; i < 8; ++i) {
        tail[tail_size - 8 + i] = static_cast<unsigned char>(bits >> (8 * i));
    }
    for (std::size_t at = 0; at < tail_size; at += block_size) digest_block(&tail[at], state);

    for (int i = 0; i < 16; ++i) {
        digest_[i] = static_cast<unsigned char>(state[i / 4] >> (8 * (i % 4)));
    }
}

std::string_view md5::as_text() const noexcept {
    return {reinterpret_cast<const char*>(digest_.data()), digest_.size()};
}

std::string md5::hex() const {
    return coding::translate::base16_encode(as_text());
}

std::string md5::base64(coding::translate::padding fill) const {
    return coding::translate::base64_encode(as_text(), fill);
}

}  // namespace replay
