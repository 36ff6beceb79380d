#pragma once

namespace pexi::Constants {

struct AppConstants
{
    // Below this many items the list screen hides its search field and section indexes:
    // a list that fits on one screen is faster to scan than to search.
    static constexpr int MIN_ITEMS_FOR_SEARCH_AND_INDEXES = 10;
};

struct ImageConstants
{
    // Pictures the user picks in each of the three grids (the unlock screen reads "n of 3").
    static constexpr int DEFAULT_NUM_TARGETS = 3;
};

struct Security
{
    // Generated passwords: 8 is the shortest that most sites accept, 64 the longest that
    // most sites still store untruncated; 20 random characters are far beyond brute force.
    static constexpr int MIN_GEN_PASSWORD_LENGTH = 8;
    static constexpr int MAX_GEN_PASSWORD_LENGTH = 64;
    static constexpr int DEFAULT_GEN_PASSWORD_LENGTH = 20;
};

} // namespace pexi::Constants
