#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "analysis/record.h"
#include "message/part.h"

// The words of a message's visible text, and the tests on them. Time and memory grow linearly with
// the text, whatever it holds. Classes of units are those of platform/character_class.h.
namespace brindlemoss::analysis::plugins::text_analysis {

// Puts a blank for each unit of the classes space and control, and the others in lower case.
void normalise(std::u16string& text);

// The words of a text in their order, repeated ones too. They stand one behind the other in one
// buffer, which takes 2 bytes a unit of the text, and 4 bytes a word. A view of a word is good
// until the list is changed.
class token_list {
public:
    // Words are what stands between blanks of a normalised text, less its punctuation. What begins
    // with "http:" or "https:" is left out; punctuation alone is an empty word. Throws
    // std::length_error for a text of 2 to the 32 units or more. The text need not outlive the
    // list.
    explicit token_list(std::u16string_view normalised);

    std::size_t size() const noexcept { return size_; }

    std::u16string_view operator[](std::size_t index) const noexcept {
        return {units_.get() + bounds_[index], bounds_[index + 1] - bounds_[index]};
    }

    // All words without anything between them.
    std::u16string_view units() const noexcept { return {units_.get(), bounds_[size_]}; }

    void erase(std::size_t index);

private:
    void read(std::u16string_view normalised);

    std::unique_ptr<char16_t[]> units_;
    std::unique_ptr<std::uint32_t[]> bounds_;  // of a word its begin, and behind it its end
    std::size_t size_ = 0;
};

// Finds words that a sender put in for this one recipient: mailbox names of "To" and "CC" that
// occur exactly once. Adds "Part.Text.Address_Customization" for each, at most 3, and takes the
// word out of the list, so that the text has the same signatures for every recipient. A header
// that its character set cannot convert is passed over; coding::translate::invalid_codeword of a
// broken encoded word is not caught.
void check_address_customisation(const replay::internet::message2::part& root, token_list& tokens,
                                 test_list& tests);

// Adds "Part.Text.Permutated_Token" for the words that begin with a letter and hold one of the
// digits 0 to 9, at most 3.
void check_permutated_tokens(const token_list& tokens, test_list& tests);

}  // namespace brindlemoss::analysis::plugins::text_analysis
