#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/log.h"
#include "message/part.h"

namespace brindlemoss::services {

// What the engine asks of the account. Names and values are UTF-8, a setting that is not there is
// empty.
struct footer_account {
    std::function<bool()> is_logged_in;
    std::function<bool()> log_in;
    std::function<std::string(std::string_view name)> setting;
};

// The account service of the process.
footer_account account_of_process();

// What became of a message.
enum class footer_outcome {
    added,
    no_place,       // no part of it takes a footer: neither plain text nor HTML with an end of body
    not_enabled,    // footer_engine::why_disabled() tells why
    news_posting,   // has a header Newsgroups
    signed_mail,    // multipart/signed: a footer would break the signature
    already_there,  // in one part at least
    no_plain_text,  // it has plain text, and the wording has none for it: that counts as being
                    // there
};

// Adds a footer, whose wording may tell how many messages were blocked, to mail that goes out.
//
// Wording and count are those of the moment when the object was made. Any thread may call.
class footer_engine {
public:
    static constexpr std::chrono::milliseconds longest_fetch = std::chrono::minutes(1);

    // That of the process, made on first use. It stays as it is, enabled or not, until the module
    // is unloaded.
    static footer_engine& instance();
    static void destroy();

    // Logs in unless the account is, and fetches the wording where the account or the user wants a
    // footer; what goes wrong is logged, and leaves the object without a footer. Waits for the
    // network: a server that is silent for 30 s is given up, as is one that sends more than 1 MB,
    // or takes longer than `limit` for all of it but looking up its name.
    footer_engine(replay::log& log, const footer_account& account,
                  std::chrono::milliseconds limit = longest_fetch);

    bool enabled() const { return enabled_; }

    // For people, empty when it is enabled.
    const std::string& why_disabled() const { return why_disabled_; }

    // The footer for "text/plain" or "text/html", in any case, while enabled; it may be empty.
    std::optional<std::u16string> get_footer(std::u16string_view content_type) const;

    // Puts the footer into a message, given and left as bytes: behind each plain text and before
    // the first "</body>" of each HTML text, attached messages left alone. A part whose charset has
    // no form for its new text becomes UTF-8.
    //
    // True when `text` was written anew, with CR LF behind every line; that is so also for a
    // message without a place for the footer. False when the message is not to have one, with
    // `text` as it was.
    //
    // Throws what reading the message, part::text(), set_text() and unparse() throw, and then
    // `text` is as it was.
    bool insert(std::string& text) const;

    // The same, and tells what was done.
    footer_outcome insert_and_tell(std::string& text) const;

private:
    using part = replay::internet::message2::part;

    struct obstacle {
        int log_level;
        std::string reason;
    };

    std::optional<obstacle> prepare(const footer_account& account, std::chrono::milliseconds limit);
    void take_wording(const std::string& body, const std::string& count);
    std::optional<footer_outcome> reason_against(part& item) const;
    bool add_to(part& item) const;

    bool enabled_ = false;
    std::u16string plain_text_;
    std::u16string html_text_;
    std::string why_disabled_;
};

}  // namespace brindlemoss::services
