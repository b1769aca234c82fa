#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Typed values of headers: text with encoded words (RFC 2047), values with parameters (RFC 2045),
// lists of addresses. The reader is tolerant: it knows quotes, backslashes and encoded words, not
// the grammar of RFC 5322.
//
// parse() throws replay::unicode::generic for bytes that their character set cannot convert, and
// replay::coding::translate::invalid_codeword for bad hexadecimal in an encoded word; what it had
// read until then stays. unparse() throws replay::unicode::generic for text that has no form in
// `charset`. Not synchronised.
namespace replay::internet::message2::header_type {

// A list in a header holds no more parameters or addresses than this; the rest of the header is
// not read. Real mail stays far below it.
inline constexpr std::size_t most_list_elements = 100'000;

class generic_value_type {
public:
    generic_value_type() = default;
    explicit generic_value_type(std::string charset_of_value)
        : charset(std::move(charset_of_value)) {}
    virtual ~generic_value_type() = default;

    virtual std::string unparse() const = 0;
    virtual void parse(std::string_view raw) = 0;

    // How bytes outside encoded words are read, and what is written. An encoded word that is read
    // sets it for all that follows.
    std::string charset = "iso-8859-1";

protected:
    generic_value_type(const generic_value_type&) = default;
    generic_value_type& operator=(const generic_value_type&) = default;
};

class unstructured_value_type : public generic_value_type {
public:
    using generic_value_type::generic_value_type;

    std::string unparse() const override;
    void parse(std::string_view raw) override;

    virtual const std::u16string& value() const { return value_; }
    virtual std::string value_in_codepage(std::int32_t codepage) const;
    virtual void set_value(std::u16string wide) { value_ = std::move(wide); }
    virtual void set_value_from_codepage(std::string_view bytes, std::int32_t codepage);

private:
    std::u16string value_;
};

// A value and its parameters: `attachment; filename="a.txt"`. A comma separates as a semicolon
// does. Names are bytes, found without regard to case; a name may occur more than once. There is
// no RFC 2231: "filename*" is a name like any other.
class parametized_value_type : public unstructured_value_type {
public:
    using unstructured_value_type::unstructured_value_type;

    struct record {
        std::string name;
        std::u16string value;
    };

    std::string unparse() const override;
    void parse(std::string_view raw) override;

    // The first parameter of that name: false, and the result untouched, where there is none.
    bool parameter(std::string_view name, std::u16string& wide) const;
    bool parameter_in_codepage(std::string_view name, std::string& bytes,
                               std::int32_t codepage) const;

    // Replaces the first parameter of that name, or appends one.
    void set_parameter(std::string_view name, std::u16string wide);
    void set_parameter_from_codepage(std::string_view name, std::string_view bytes,
                                     std::int32_t codepage);

    // Removes the first parameter of that name, if there is one.
    void remove_parameter(std::string_view name);

    const std::vector<record>& parameters() const { return parameters_; }

private:
    // The first parameter of that name, or the number of parameters.
    std::size_t index_of(std::string_view name) const;

    std::vector<record> parameters_;
};

class addresses_value_type : public generic_value_type {
public:
    using generic_value_type::generic_value_type;

    struct record {
        std::string address;
        std::u16string name;  // display name; may be empty
    };

    std::string unparse() const override;

    // Reads "name <address>", "address (name)" and "address", separated by commas or semicolons.
    // Throws replay::unicode::unmappable_character also for an address beyond 8 bits.
    void parse(std::string_view raw) override;

    void add_address(std::string address, std::u16string name);
    void add_address_from_codepage(std::string address, std::string_view name,
                                   std::int32_t codepage);

    const std::vector<record>& addresses() const { return addresses_; }

private:
    std::vector<record> addresses_;
};

}  // namespace replay::internet::message2::header_type
