#include "services/footer_engine.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <utility>
#include <vector>

#include "account/account_service.h"
#include "account/settings_document.h"
#include "foundation/ascii.h"
#include "foundation/http.h"
#include "foundation/joined.h"
#include "foundation/module.h"
#include "foundation/process_wide.h"
#include "foundation/registry.h"
#include "message/character_set.h"
#include "platform/character_class.h"

namespace brindlemoss::services {

namespace http = replay::internet::http;
namespace registry = replay::registry2;
namespace unicode = replay::unicode;
using account::account_service;
using account::settings_document;
using registry::setting_of;
using registry::tree_key;
using registry::write_back;
using replay::joined;
using replay::internet::message2::part;
using replay::internet::message2::part_map;

namespace {

constexpr int progress_level = 0;
constexpr int failure_level = 3;
constexpr std::int32_t status_ok = 200;

constexpr std::string_view plain_type = "text/plain";
constexpr std::string_view html_type = "text/html";

// Tells that an HTML text has its footer.
constexpr std::u16string_view marker = u"<!-- Brindlemoss Signature -->";

// A footer goes into each of up to 50,000 parts.
constexpr std::size_t largest_wording = 1 << 20;

bool does_user_want_it() {
    return registry::get_integer(setting_of(tree_key::user_outbound_emails, u"Insert Footer"),
                                 write_back::yes) != 0;
}

std::string count_of_blocked() {
    const std::uint32_t count = registry::get_integer(
        setting_of(tree_key::user_statistics_filter, u"Blocked"), write_back::yes);
    return std::to_string(static_cast<std::int32_t>(count));
}

std::u16string with_each_replaced(std::u16string_view text, std::u16string_view placeholder,
                                  std::u16string_view replacement) {
    std::u16string replaced;
    for (;;) {
        const std::size_t at = text.find(placeholder);
        replaced.append(text.substr(0, at));
        if (at == text.npos) return replaced;
        replaced.append(replacement);
        text.remove_prefix(at + placeholder.size());
    }
}

// By the method of Knuth, Morris and Pratt: a text made to almost match everywhere takes no longer.
bool contains(std::u16string_view text, std::u16string_view wanted) {
    if (wanted.empty()) return true;
    if (text.size() < wanted.size()) return false;
    std::vector<std::size_t> fall_back(wanted.size(), 0);  // the longest border of each prefix
    const auto matched_with = [&](char16_t unit, std::size_t matched) {
        while (matched != 0 && wanted[matched] != unit) matched = fall_back[matched - 1];
        return wanted[matched] == unit ? matched + 1 : matched;
    };
    for (std::size_t i = 1; i < wanted.size(); ++i) {
        fall_back[i] = matched_with(wanted[i], fall_back[i - 1]);
    }
    std::size_t matched = 0;
    return std::any_of(text.begin(), text.end(), [&](char16_t unit) {
        matched = matched_with(unit, matched);
        return matched == wanted.size();
    });
}

// Of the first "</body>", in any case. No letter beyond ASCII has one of these as its lower case.
std::size_t end_of_body(std::u16string_view html) {
    constexpr std::u16string_view tag = u"</body>";
    const auto is_equal = [](char16_t unit, char16_t lower) {
        return unit == lower || (unit >= u'A' && unit <= u'Z' && unit + (u'a' - u'A') == lower);
    };
    const auto found = std::search(html.begin(), html.end(), tag.begin(), tag.end(), is_equal);
    return found == html.end() ? html.npos : static_cast<std::size_t>(found - html.begin());
}

}  // namespace

footer_account account_of_process() {
    return {
        [] { return account_service::instance().document_loaded(); },
        [] { return account_service::instance().login(); },
        // After a login from the kept document a fetch takes it out of force at any moment.
        [](std::string_view name) { return account_service::instance().last_setting(name); },
    };
}

footer_engine& footer_engine::instance() {
    return process_wide<footer_engine>::until_unload(singleton::footer, [] {
        return std::make_unique<footer_engine>(module::instance().log_of(subsystem::footer),
                                               account_of_process());
    });
}

void footer_engine::destroy() {
    process_wide<footer_engine>::destroy();
}

footer_engine::footer_engine(replay::log& log, const footer_account& account,
                             std::chrono::milliseconds limit) {
    std::optional<obstacle> found;
    try {
        found = prepare(account, limit);
    } catch (const std::exception& error) {
        found = {failure_level, std::string("the wording could not be had: ") + error.what()};
    }
    enabled_ = !found;
    if (enabled_) return;
    why_disabled_ = std::move(found->reason);
    log.write(found->log_level, "No footer: " + why_disabled_);
}

// What stands in the way of a footer, if anything does.
std::optional<footer_engine::obstacle> footer_engine::prepare(const footer_account& account,
                                                              std::chrono::milliseconds limit) {
    if (!account.is_logged_in() && !account.log_in()) {
        return obstacle{failure_level, "the account could not be logged in to"};
    }
    if (account.setting("BrindlemossLogin.Parameters.MailTag") != "1" && !does_user_want_it()) {
        return obstacle{progress_level, "it is switched off"};
    }
    const std::string count = count_of_blocked();
    const std::string url = account.setting("BrindlemossLogin.URL.Email");
    if (url.empty()) return obstacle{failure_level, "the account's settings name no wording"};
    http::monitor_type unwatched;
    const http::response_type wording = http::get(http::request_type(url), unwatched,
                                                  {.body_size = largest_wording, .whole = limit});
    if (wording.status != status_ok) {
        return obstacle{failure_level, "the server of the wording answered with status " +
                                           std::to_string(wording.status)};
    }
    take_wording(wording.body, count);
    return std::nullopt;
}

void footer_engine::take_wording(const std::string& body, const std::string& count) {
    const settings_document wording = settings_document::of_utf8(body);
    const std::u16string wide_count(count.begin(), count.end());
    const auto footer = [&](std::u16string_view name, std::u16string_view line_break) {
        return with_each_replaced(with_each_replaced(wording.setting(name), u"|br|", line_break),
                                  u"|Blocked|", wide_count);
    };
    plain_text_ = footer(u"Brindlemoss.MailTag.PlainTxt", u"\r\n");
    html_text_ = footer(u"Brindlemoss.MailTag.HtmlTxt", u"<br>");
}

std::optional<std::u16string> footer_engine::get_footer(std::u16string_view content_type) const {
    if (!enabled_) return std::nullopt;
    const std::u16string lowered = replay::platform::to_lower(content_type);
    if (lowered == u"text/html") return html_text_;
    if (lowered == u"text/plain") return plain_text_;
    return std::nullopt;
}

bool footer_engine::insert(std::string& text) const {
    const footer_outcome outcome = insert_and_tell(text);
    return outcome == footer_outcome::added || outcome == footer_outcome::no_place;
}

footer_outcome footer_engine::insert_and_tell(std::string& text) const {
    if (!enabled_) return footer_outcome::not_enabled;
    part message(text);
    if (message.headers.find("Newsgroups")) return footer_outcome::news_posting;
    if (message.content_type == "multipart/signed") return footer_outcome::signed_mail;
    part_map parts;
    message.flatten(parts, true);
    for (const auto& [level, entry] : parts) {
        if (const auto reason = reason_against(*entry.item)) return *reason;
    }
    footer_outcome outcome = footer_outcome::no_place;
    for (const auto& [level, entry] : parts) {
        if (add_to(*entry.item)) outcome = footer_outcome::added;
    }
    text = message.unparse_text(text.size());
    return outcome;
}

// Why a message that holds this part is to have no footer. An empty footer stands in every text.
std::optional<footer_outcome> footer_engine::reason_against(part& item) const {
    if (item.content_type == plain_type && contains(item.text(), plain_text_)) {
        return plain_text_.empty() ? footer_outcome::no_plain_text : footer_outcome::already_there;
    }
    if (item.content_type == html_type && contains(item.text(), marker)) {
        return footer_outcome::already_there;
    }
    return std::nullopt;
}

// False when there is no place for it in this part.
bool footer_engine::add_to(part& item) const {
    std::u16string text;
    if (item.content_type == plain_type) {
        text = joined({item.text(), plain_text_});
    } else if (item.content_type == html_type) {
        const std::u16string_view old = item.text();
        const std::size_t at = end_of_body(old);
        if (at == old.npos) return false;
        text = joined({old.substr(0, at), marker, html_text_, old.substr(at)});
    } else {
        return false;
    }
    if (!unicode::is_representable(text, unicode::codepage(item.charset))) item.charset = "utf-8";
    item.set_text(std::move(text));
    return true;
}

}  // namespace brindlemoss::services
