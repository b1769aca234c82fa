#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "faults/ledger.h"

namespace kill_rounds {

// What an operation does to one number of the store: adds to it or sets it.
struct effect {
    std::string fact;  // as stored_facts() names it
    bool adds;
    std::uint32_t number;
};

operation random_operation(std::mt19937& random);

// Calls the library. Throws when the outcome is not the one that the operation has without faults.
void perform(unsigned worker, const operation& wanted);

// All that the call changes in the store.
std::vector<effect> effects_of(unsigned worker, const operation& wanted);

// The identity of the message that a scoring operation rates, which the log tells; empty for the
// others.
std::string message_id(unsigned worker, const operation& wanted);

// Long lists in which the workers' entries stand, and settings under which no sender becomes
// trusted.
void lay_ground();

// Text number `number` of those that write_text puts into the store, of up to some pages.
std::u16string long_text(std::uint32_t number);

// Where they stand.
inline constexpr char16_t texts_path[] = u"Software\\Brindlemoss\\Texts";
std::u16string text_name(unsigned worker);

}  // namespace kill_rounds
