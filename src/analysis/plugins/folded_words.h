#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "analysis/plugins/tokens.h"

namespace brindlemoss::analysis::plugins::text_analysis {

// The words of a list, each as the ascending set of its letters, with figures and signs that look
// like a letter taken for it: "c1ick" and "click" give the same, "listen" and "silent" too.
//
// Takes 4 bytes a word, and beside them the text of each different one that holds more than ASCII
// letters and digits. The list need not outlive it.
class folded_words {
public:
    explicit folded_words(const token_list& words);
    ~folded_words();
    folded_words(const folded_words&) = delete;
    folded_words& operator=(const folded_words&) = delete;

    std::size_t size() const noexcept { return size_; }

    // A number that words share when they fold to the same, and only then.
    std::uint32_t operator[](std::size_t index) const noexcept { return identities_[index]; }

    std::size_t length(std::size_t index) const noexcept;

    // Adds the letters of a word to the end of a text.
    void append_to(std::u16string& text, std::size_t index) const;

private:
    class other_words;

    std::size_t size_;
    std::unique_ptr<std::uint32_t[]> identities_;
    std::unique_ptr<other_words> others_;  // null while there are none
};

}  // namespace brindlemoss::analysis::plugins::text_analysis
