#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <string_view>

// Reading HTML as spam writes it: events in the order of the text, and the visible text. There is
// no tree and no wrong HTML. Comments, scripts and doctypes are tags like all others, so "<!-- a"
// is the tag "!--" with the attribute "a".
//
// Time grows with the length of the text, whatever it holds, and nothing recurses.
namespace replay::html {

// Takes the events of parse(). White space is platform::character_table's space throughout.
//
// The views point into the parsed text, but for a value with a backslash in it; they are good
// during the call only. What an operation throws leaves parse().
class reader {
public:
    virtual ~reader() = default;

    // "<" and a name up to white space or ">"; empty when one of these comes at once. As written,
    // with the "/" of an end tag. Not called when the text ends within the name.
    virtual void tag(std::u16string_view name) = 0;

    // The ">" of the tag whose name came last. Not called when the text ends before it.
    virtual void tag_end(std::u16string_view name) = 0;

    // An attribute with "=". The value has lost its quotes, and within quotes each backslash that
    // escapes what follows it; entities in it stay as written. Name or value may be empty. Not
    // called when the text ends within the value, for one without quotes also right behind it.
    virtual void attribute(std::u16string_view name, std::u16string_view value) = 0;

    // An attribute without "="; the name is not empty. Not called when a "/" or the end of the text
    // comes right behind the name.
    virtual void attribute(std::u16string_view name) = 0;

    // All between two of "<", "&", the place behind the last tag or entity, and the end of the
    // text. Empty where two tags or entities touch; not called for nothing at the text's end.
    virtual void text(std::u16string_view text) = 0;

    // What stands between "&" and white space or ";", which belongs to the entity; may be empty, of
    // any length, and hold "<" or "&". Not called when the text ends first.
    virtual void entity(std::u16string_view name) = 0;

protected:
    reader() = default;
    reader(const reader&) = default;
    reader& operator=(const reader&) = default;
};

// Reads `text` once from the front and calls `handler` as it goes. Never fails by itself. Takes
// memory for the longest value with a backslash only.
void parse(std::u16string_view text, reader& handler);

// Keeps what a reader of the page would see; as many texts as are parsed with it stand in one
// result. One thread at a time.
//
// A result never grows by more units than the text has. An entity written as a hexadecimal number
// with something else than digits throws coding::translate::invalid_codeword, which ends the parse;
// the fields then hold what came before.
class convert_to_text : public reader {
public:
    // As many unknown entities are kept as this, the first in order. Without the bound a text of
    // short names would cost a hundred times its size; real mail has a handful.
    static constexpr std::size_t most_unknown_entities = 1000;

    // Text that counts stands within the body, and its last tag before it, be it an end tag, is
    // neither "meta" nor "style". Tags in the body, the one that closes it excepted, are a blank
    // each, and "p" and "br" a line end (CR LF).
    std::u16string result;

    // Names in the body that stand for nothing: those not in the table, the empty one of a lone
    // "&", "#" and "#x".
    std::set<std::u16string, std::less<>> unknown_entities;

    // The name of the last tag, in lower case, with the "/" of an end tag.
    std::u16string current_tag;

    // Set from the end of a tag "body" to the name of a tag "/body".
    bool in_body = false;

    void tag(std::u16string_view name) override;
    void tag_end(std::u16string_view name) override;
    void attribute(std::u16string_view name, std::u16string_view value) override;
    void attribute(std::u16string_view name) override;
    void text(std::u16string_view text) override;

    // "&#N" is the unit N modulo 65536, with N the decimal that the name goes on with, modulo 2 to
    // the 64 (0 without a digit), or the hexadecimal behind "x" or "X".
    void entity(std::u16string_view name) override;

private:
    void keep_unknown(std::u16string_view name);
};

}  // namespace replay::html
