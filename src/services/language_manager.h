#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "foundation/log.h"
#include "foundation/sync.h"
#include "message/part.h"
#include "services/language_identifier.h"

namespace brindlemoss::services {

// Tells the language of a message, and whether the user wants mail in it. Any thread may call.
//
// The identifier is made when the first text is to be identified; when that fails the exception
// comes out, and the next call tries again.
class language_manager {
public:
    using part = replay::internet::message2::part;
    using identifier_maker = std::function<std::unique_ptr<language::identifier>()>;

    // That of the process, made on first use; it stays until the process ends.
    static language_manager& instance();

    // The log must outlive the object.
    language_manager(replay::log& log, identifier_maker make_identifier);

    // The number of the language (LCID) in which most of the message is written, 0 when it cannot
    // be told. What counts are the texts, plain or HTML, that are no attachments; the root always
    // counts, attached messages never. The weights of one language add up, in 16 bits; of two with
    // the same weight the higher number wins.
    //
    // The log is told of each text. Throws what making the identifier throws (for the process
    // language::manager::initialization), what part::text() and part::attachment() throw, and
    // replay::coding::translate::invalid_codeword for a broken entity of HTML.
    std::uint32_t classify(part& message);

    // False when the user does not want mail in the language of the message. Reads the user's
    // "Mode" and "Languages". With no languages the answer is true at once, `language` stays as it
    // is and the message is not looked at; otherwise `language` is what classify() gives. Mail in a
    // language that cannot be told is wanted. Throws like classify(), and registry2::generic.
    bool accept(part& message, int& language);

private:
    language::identifier& identifier();
    language::identification identify(std::u16string_view text);

    replay::log& log_;
    const identifier_maker make_identifier_;
    replay::mutex making_;
    std::unique_ptr<language::identifier> identifier_;  // set once, under making_
};

// The number that an entry of "Languages" stands for; 0, which is no language, when it is none.
std::uint32_t language_of_entry(std::u16string_view entry);

}  // namespace brindlemoss::services
