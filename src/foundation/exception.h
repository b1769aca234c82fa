#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace replay {

// The root of the library's exceptions. The class is the information; the text is for the log.
//
// Each class of a hierarchy adds its word to the domain in its constructor, the root's first, so
// that replay::coding::translate::invalid_codeword reads
// "translate.invalid_codeword[Invalid Codeword 0x20]". Thrown by value, caught by reference.
class exception : public std::exception {
public:
    explicit exception(std::string message = {});

    // domain(), "[", message(), "]"
    const char* what() const noexcept override { return text_.c_str(); }

    // What was handed in at construction; may be empty.
    const std::string& message() const noexcept { return message_; }

    // The words of the classes from the root down, joined by ".".
    const std::string& domain() const noexcept { return domain_; }

protected:
    // `word` may itself be dotted ("internet.transport").
    void append_domain(std::string_view word);

private:
    void compose();

    std::string text_;
    std::string message_;
    std::string domain_;
};

}  // namespace replay
