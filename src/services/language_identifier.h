#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "foundation/exception.h"

namespace brindlemoss::language {

// What a text is written in. It counts only with a status of `recognised` or above.
struct identification {
    // Why not, for the log.
    enum : int {
        no_letters = 0,
        too_short = 2,
        unreliable = 4,
        without_number = 5,  // a language that Windows has no number for
        recognised = 6,
    };

    int status = no_letters;
    std::uint32_t language = 0;  // LCID
    std::uint16_t weight = 0;    // how much text speaks for it; 1 and more when recognised
};

// Tells languages of texts. One call at a time.
class identifier {
public:
    virtual ~identifier() = default;
    virtual identification identify(std::u16string_view text) = 0;
};

// The identifier over the library CLD2, which is opened when a manager is made and not before: a
// program that does not need it is not to pay for the loading of its tables.
//
// Any text will do, surrogates without a partner and characters that no text should hold included.
// What is no letter, nor a mark that belongs to one, counts as a blank, and many blanks as one;
// characters that cannot be seen, such as hyphens for line ends, as nothing. Of what is left the
// first most_characters are looked at, so that time and memory for a text of any length stay those
// of a long letter, less one pass over what is skipped.
class manager : public identifier {
public:
    class generic : public replay::exception {
    public:
        explicit generic(std::string message);
    };

    // The library cannot be opened.
    class initialization : public generic {
    public:
        explicit initialization(std::string message);
    };

    // Below about this many the library guesses, and one answer in ten is wrong.
    static constexpr std::size_t fewest_characters = 40;
    static constexpr std::size_t most_characters = 8192;

    // Where an identifier's files lie, and what the installation says about them: CLD2 holds its
    // tables itself and needs none of it. Throws initialization.
    manager(std::u16string_view folder, std::u16string_view configuration,
            std::u16string_view database);
    ~manager() override;

    // `recognised` only where the library calls its answer reliable.
    //
    // The weight is the number of characters that speak for the language, up to 1024; from there on
    // it grows with their square root, to 2896 for most_characters. So the weights of a plain text
    // and its twin in HTML are much alike and add up to twice the one, a few lines in another
    // language never outweigh a letter, and twenty of the longest texts do not yet wrap in 16 bits.
    identification identify(std::u16string_view text) override;

private:
    struct library;
    std::unique_ptr<const library> library_;
};

// The weight of so many characters, as manager::identify() gives it.
std::uint16_t weight_of(std::size_t characters);

}  // namespace brindlemoss::language
