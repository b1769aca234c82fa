#pragma once

#include <string>
#include <string_view>

namespace brindlemoss::account {

// A settings document of the account server, or of its kind. It looks like XML, but is not read as
// such: a look-up is a scan for tags in the text, and that scan decides which documents work. Any
// text is a document. Threads may share one.
class settings_document {
public:
    // Keeps the text, without its CR, LF and TAB.
    explicit settings_document(std::u16string_view text);

    // Of UTF-8; what is none becomes U+FFFD.
    static settings_document of_utf8(std::string_view bytes);

    // The value at a dotted path of tag names ("BrindlemossLogin.Login.Access"), empty when there
    // is none. The names have to begin tags that come one after the other, nested or not; a name
    // matches any tag that begins with it, with A to Z in either case. The value is what stands
    // between that tag's end and the next "<", with &lt; &gt; &amp; &apos; &quot; resolved.
    //
    // One walk over the text, which is not copied. Throws only std::bad_alloc.
    std::u16string setting(std::u16string_view name) const;

private:
    struct owned {};
    settings_document(std::u16string text, owned);

    std::u16string text_;
};

}  // namespace brindlemoss::account
