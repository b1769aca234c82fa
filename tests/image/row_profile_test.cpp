#include "image/row_profile.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <string>

namespace brindlemoss::analysis::plugins::image_analysis {

void PrintTo(const row_range& rows, std::ostream* stream) {
    *stream << rows.first << ".." << rows.last;
}

namespace {

using testing::ElementsAre;

std::vector<row_range> combined_quietly(const std::vector<row_range>& segments) {
    return combined(segments, {}, checkpoints());
}

TEST(row_profile, moves_a_midline_to_the_least_row_nearby) {
    EXPECT_EQ(true_midline({9, 1, 5, 5, 5, 5, 1}, 3), 1);
    EXPECT_EQ(true_midline({0, 5, 5, 5, 5, 5, 0}, 3), 3);
    EXPECT_EQ(true_midline({9, 9, 4, 5, 4, 3, 9}, 3), 5);
    EXPECT_EQ(true_midline({9, 4, 5, 5, 5, 4, 9}, 3), 1);
    EXPECT_EQ(true_midline({9, 4, 5, 4, 5, 4, 9}, 3), 3);
    EXPECT_EQ(true_midline({7, 6, 5}, 0), 2);
    EXPECT_EQ(true_midline({5, 6, 7}, 2), 0);
}

TEST(row_profile, is_normalised_piece_by_piece) {
    const std::int32_t cuts[] = {2, 5};
    const std::vector<row_range> pieces = cut_rows(7, cuts);
    EXPECT_THAT(pieces, ElementsAre(row_range{0, 1}, row_range{2, 4}, row_range{5, 6}));
    EXPECT_THAT(normalised({3, 2, 0, 7, 6, 0, 0}, pieces),
                ElementsAre(100, 66, 0, 100, 85, 100, 100));
}

// Looks at all rows again for each that is left out.
std::optional<std::int32_t> slowly_found_waist(const row_profile& profile) {
    auto a = profile.begin(), b = profile.end() - 1;
    while (b - a > 1) {
        const auto [least, most] = std::minmax_element(a, b + 1);
        if (*a == *least || *a < 20) {
            ++a;
        } else if (*b == *least || *b < 20) {
            --b;
        } else if ((a == profile.begin() && *a == *most) ||
                   (b == profile.end() - 1 && *b == *most)) {
            return std::nullopt;
        } else {
            return *least;
        }
    }
    return std::nullopt;
}

TEST(row_profile, has_the_waist_of_the_slow_search) {
    std::mt19937 random(5);
    for (int round = 0; round < 5000; ++round) {
        row_profile profile(2 + random() % 12);
        for (std::int32_t& value : profile) value = static_cast<std::int32_t>(random() % 101);
        ASSERT_EQ(waist_of(profile), slowly_found_waist(profile))
            << testing::PrintToString(profile);
    }
    EXPECT_EQ(waist_of({}), std::nullopt);
}

TEST(row_profile, sets_the_level_by_the_waist) {
    const std::pair<std::int32_t, std::int32_t> rows[] = {{0, 40},  {14, 40}, {15, 45}, {35, 45},
                                                          {36, 50}, {50, 50}, {51, 55}, {55, 55},
                                                          {56, 60}, {60, 60}};
    for (const auto& [waist, level] : rows) EXPECT_EQ(row_level(waist), level) << waist;
    EXPECT_EQ(row_level(61), std::nullopt);
    EXPECT_EQ(row_level(100), std::nullopt);
}

TEST(row_profile, has_segments_of_more_than_one_row_above_the_level) {
    EXPECT_THAT(segments_above({41, 41, 40, 41, 40, 99, 98, 97}, 40),
                ElementsAre(row_range{0, 1}, row_range{5, 7}));
    EXPECT_THAT(segments_above({40, 50, 40}, 40), ElementsAre());
    EXPECT_THAT(segments_above({}, 40), ElementsAre());
}

TEST(row_profile, adds_short_segments_to_their_neighbours) {
    using ranges = std::vector<row_range>;
    EXPECT_EQ(combined_quietly({{0, 2}, {4, 6}}), (ranges{{0, 2}, {4, 6}}));
    EXPECT_EQ(combined_quietly({{0, 1}, {4, 6}, {8, 12}}), (ranges{{0, 6}, {8, 12}}));
    EXPECT_EQ(combined_quietly({{0, 1}, {3, 4}, {8, 12}}), (ranges{{0, 4}, {8, 12}}));
    EXPECT_EQ(combined_quietly({{0, 4}, {6, 7}, {9, 12}}), (ranges{{0, 7}, {9, 12}}));
    EXPECT_EQ(combined_quietly({{0, 4}, {6, 8}, {11, 12}}), (ranges{{0, 4}, {6, 12}}));
    EXPECT_EQ(combined_quietly({{0, 4}, {6, 7}, {9, 10}}), (ranges{{0, 10}}));
    EXPECT_EQ(combined_quietly({{0, 1}, {3, 4}}), (ranges{{0, 4}}));
}

TEST(row_profile, has_segments_that_fit_a_height_or_do_not) {
    EXPECT_TRUE(fit_height({{0, 11}, {20, 27}}, 10));
    EXPECT_TRUE(fit_height({{0, 14}, {20, 27}}, 10));   // 15 rows, 8 rows
    EXPECT_FALSE(fit_height({{0, 15}, {20, 30}}, 10));  // 16 rows
    EXPECT_TRUE(fit_height({{0, 7}, {20, 31}}, 12));    // 8 rows
    EXPECT_FALSE(fit_height({{0, 6}, {20, 31}}, 12));   // 7 rows
    EXPECT_TRUE(fit_height({{0, 1}, {4, 5}}, 4));       // no more than two rows off
    EXPECT_FALSE(fit_height({{0, 6}, {20, 33}}, 10));   // one twice the other
    EXPECT_FALSE(fit_height({{20, 33}, {40, 46}}, 10));
    EXPECT_TRUE(fit_height({{0, 6}, {20, 32}}, 10));
    EXPECT_TRUE(fit_height({{0, 6}, {20, 33}, {40, 46}}, 10));
}

}  // namespace
}  // namespace brindlemoss::analysis::plugins::image_analysis
