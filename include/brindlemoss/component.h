#pragma once

// Brindlemoss as a library: sixteen classes that are created by name.
//
//     auto filter = brindlemoss::component::create<brindlemoss::component::IFilter>();
//     std::int32_t rating = 0;
//     filter->Score(message, brindlemoss::component::yes, rating);
//
// Each class has one interface, and each of its methods can also be called by its name, with
// arguments whose types are known at run time only (object::invoke). Link with `brindlemoss`; the
// program must be built with the same C++ library. For other languages there is <brindlemoss.h>.
//
// Unless its comment says otherwise:
// - A method returns `success` whatever happens: what goes wrong is told in the log, and the result
//   is the neutral one (0, no, empty). Nothing here throws but create_object() and create().
// - Any number of threads may call one object at a time (class_description tells).
// - Texts are 16-bit strings. `Message` and whatever else is the raw bytes of mail holds one byte
//   a unit; a unit above 255 there is text that cannot be converted, which is a failure.
// - What is handed in must stay as it is during the call, so it cannot be one of the results.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#define BRINDLEMOSS_API __attribute__((visibility("default")))

namespace brindlemoss::component {

using status = std::uint32_t;
inline constexpr status success = 0;
inline constexpr status not_implemented = 0x80004001;
inline constexpr status invalid_call = 0x80004005;  // a call that cannot be made

using truth = std::int16_t;  // anything but `no` counts as yes
inline constexpr truth yes = -1;
inline constexpr truth no = 0;

// An argument of a call by name, and a value that comes back. Without a value both count as absent.
using argument = std::variant<std::monostate, std::u16string_view, std::int32_t, bool>;
using value = std::variant<std::monostate, std::u16string, std::int32_t, bool>;

enum class value_type { text, number, yes_or_no };

enum class direction {
    in,
    out,
    in_out,
    result,  // goes out too, and is what the call is worth
};

struct parameter {
    const char* name = nullptr;
    direction way = direction::in;
    value_type type = value_type::text;
};

struct method_description {
    const char* name;
    std::span<const parameter> parameters;  // in the order of the interface's method
};

// A GUID in its usual form, in braces.
using guid_text = const char*;

struct class_description {
    const char* name;           // within the component: "filter"
    const char* prog_id;        // outside: "Brindlemoss.Filter"; also with ".1" behind it
    const char* friendly_name;  // "Filter Class"
    guid_text class_id;
    const char* interface_name;  // "IFilter"
    guid_text interface_id;
    bool safe_for_scripting;      // whether objects have IObjectSafety
    bool shared_between_threads;  // whether several threads may call one object at a time
    std::span<const method_description> methods;
};

// All classes, in the order of their names. Valid as long as the library is loaded.
BRINDLEMOSS_API std::span<const class_description> classes() noexcept;

// An object of one of the classes.
class BRINDLEMOSS_API object {
public:
    object(const object&) = delete;
    object& operator=(const object&) = delete;
    virtual ~object();

    virtual const class_description& description() const noexcept = 0;

    // The object as the interface of that name; null when it has none such.
    virtual void* query(std::string_view interface_name) noexcept = 0;

    // Calls a method by its name, in any case of letters. `arguments` are those that go in, or in
    // and out, in their order. Afterwards `results` holds the result and then what else goes out,
    // in order; nothing when the method is not implemented or the call could not be made.
    //
    // What the method returns; invalid_call when there is no such method, or the arguments are not
    // of the number and the types that it takes.
    virtual status invoke(std::string_view method, std::span<const argument> arguments,
                          std::vector<value>& results) noexcept = 0;

protected:
    object() = default;
};

// The name belongs to no class; what() tells it.
class BRINDLEMOSS_API unknown_class : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

// An object of the class with that outside name ("Brindlemoss.Filter" or "Brindlemoss.Filter.1"),
// in any case of letters. Throws unknown_class, std::bad_alloc.
BRINDLEMOSS_API std::unique_ptr<object> create_object(std::string_view prog_id);

// An object of the class that has the interface. Throws std::bad_alloc.
template <typename wanted>
std::unique_ptr<wanted> create() {
    std::unique_ptr<object> made = create_object(wanted::prog_id);
    auto* const as_wanted = static_cast<wanted*>(made->query(wanted::name));
    static_cast<void>(made.release());
    return std::unique_ptr<wanted>(as_wanted);
}

// The object by one of its interfaces; null when it has none such. Lives as long as the object.
template <typename wanted>
wanted* interface_of(object& of) noexcept {
    return static_cast<wanted*>(of.query(wanted::name));
}

// The library's life in the process. The first call of a method loads it by itself: opens the log
// and arms the crash handler. unload() waits for the calls that run, keeps others out meanwhile,
// and frees what they shared; what is called afterwards loads it again.
//
// Threads of the library go on through that: those of the community until
// ICommunication::Shutdown, and one that a login began until it has fetched the settings.
BRINDLEMOSS_API void load() noexcept;
BRINDLEMOSS_API void unload() noexcept;

// The number of objects there are.
BRINDLEMOSS_API std::size_t live_objects() noexcept;

// Whether there is none.
BRINDLEMOSS_API bool can_unload_now() noexcept;

// Declares a class safe for scripts of whatever origin.
class BRINDLEMOSS_API IObjectSafety {
public:
    static constexpr std::string_view name = "IObjectSafety";
    static constexpr std::uint32_t safe_for_untrusted_caller = 1;

    // Bits: what can be turned on for the interface, and what is on. invalid_call for an interface
    // that the object does not have.
    virtual status GetInterfaceSafetyOptions(std::string_view interface_name,
                                             std::uint32_t& supported,
                                             std::uint32_t& enabled) noexcept = 0;

protected:
    ~IObjectSafety() = default;
};

// The user's account at the server, and its settings.
class BRINDLEMOSS_API IAccount : public object {
public:
    static constexpr std::string_view name = "IAccount";
    static constexpr std::string_view prog_id = "Brindlemoss.Account";

    // Makes an account and keeps its name and password. Whether that succeeded.
    virtual status Create(std::u16string_view Name, std::u16string_view Password,
                          truth& Result) noexcept = 0;

    // Takes the settings that were kept, and has newer ones fetched in the background for the next
    // login; where none were kept, fetches them. Whether there are settings now.
    virtual status Login(truth& Result) noexcept = 0;

    // A setting by its path ("BrindlemossLogin.Login.Access"); empty when there is none.
    virtual status Setting(std::u16string_view Identifier, std::u16string& Result) noexcept = 0;

    virtual status Configure() noexcept = 0;                    // does nothing
    virtual status LoginWithCache(truth& Result) noexcept = 0;  // not implemented

    // Fetches the settings. Whether that succeeded.
    virtual status Update(truth& Result) noexcept = 0;
};

// Not implemented, as a whole.
class BRINDLEMOSS_API IAntiVirus : public object {
public:
    static constexpr std::string_view name = "IAntiVirus";
    static constexpr std::string_view prog_id = "Brindlemoss.AntiVirus";

    virtual status Version(std::u16string& Engine, std::u16string& Definitions,
                           truth& Result) noexcept = 0;
    virtual status Infected(std::u16string_view Buffer, std::u16string& Object,
                            std::u16string& Infection, truth& Result) noexcept = 0;
    virtual status AssumeEncryptedInfected(truth State) noexcept = 0;
};

// Codings of bytes, one a unit on both sides (RFC 4648). One thread at a time.
class BRINDLEMOSS_API ICoding : public object {
public:
    static constexpr std::string_view name = "ICoding";
    static constexpr std::string_view prog_id = "Core.Coding";

    virtual status Base64Encode(std::u16string_view Text, std::u16string& Result) noexcept = 0;

    // Anything that is not of the alphabet is a failure; "=" is passed over.
    virtual status Base64Decode(std::u16string_view Text, std::u16string& Result) noexcept = 0;

    virtual status Base16Encode(std::u16string_view Text, std::u16string& Result) noexcept = 0;
    virtual status Base16Decode(std::u16string_view Text, std::u16string& Result) noexcept = 0;
};

// The line to the community of users.
class BRINDLEMOSS_API ICommunication : public object {
public:
    static constexpr std::string_view name = "ICommunication";
    static constexpr std::string_view prog_id = "Brindlemoss.Communication";

    // Looks anew which servers answer. Yes.
    virtual status Reset(truth& Result) noexcept = 0;

    // Not implemented.
    virtual status Failing(truth& Result) noexcept = 0;
    virtual status Roundtrip(std::int32_t& Result) noexcept = 0;
    virtual status Score(std::u16string_view Message, std::int32_t& Result) noexcept = 0;
    virtual status Vote(std::u16string_view Message, std::int32_t Score,
                        std::int32_t& Result) noexcept = 0;

    // Whether a server answers within about 3 s.
    virtual status Ping(truth& Result) noexcept = 0;

    // Whether the machine is known to have no network.
    virtual status Offline(truth& Result) noexcept = 0;

    // Ends the threads of the community and waits for that. Votes that still wait are lost. What
    // asks for the community later starts them again.
    virtual status Shutdown() noexcept = 0;
};

class BRINDLEMOSS_API IDigest : public object {
public:
    static constexpr std::string_view name = "IDigest";
    static constexpr std::string_view prog_id = "Brindlemoss.Digest";

    // The MD5 (RFC 1321) of bytes, one a unit, as 32 hexadecimal digits in lower case.
    virtual status MD5(std::u16string_view Text, std::u16string& Result) noexcept = 0;
};

// Rates messages and takes the user's votes.
class BRINDLEMOSS_API IFilter : public object {
public:
    static constexpr std::string_view name = "IFilter";
    static constexpr std::string_view prog_id = "Brindlemoss.Filter";

    // The rating, from 0 (pass) to 100 (block). `Orphan`: the message is judged for the first time.
    virtual status Score(std::u16string_view Message, truth Orphan,
                         std::int32_t& Result) noexcept = 0;

    // The user's vote: 0 and above, it is spam; below, it is not. Always 1.
    virtual status Vote(std::u16string_view Message, std::int32_t Score,
                        std::int32_t& Result) noexcept = 0;

    // Not implemented.
    virtual status Signature(std::u16string_view Message, std::u16string& Result) noexcept = 0;
    virtual status UnicodeToUTF8(std::u16string_view Text, std::u16string& Result) noexcept = 0;
    virtual status SignatureFromPart(std::u16string_view ContentType, std::u16string_view Text,
                                     std::u16string& Result) noexcept = 0;

    // `Message` with the "Received" headers of `Header` (a message too, or only its head) behind
    // its own headers, CR LF behind every line. `Message` as it is after a failure.
    virtual status MergeHeader(std::u16string_view Message, std::u16string_view Header,
                               std::u16string& Result) noexcept = 0;
};

// The footer of mail that goes out.
class BRINDLEMOSS_API IFooter : public object {
public:
    static constexpr std::string_view name = "IFooter";
    static constexpr std::string_view prog_id = "Brindlemoss.Footer";

    // Puts the footer into a message. Whether that was written anew, with CR LF behind every line;
    // a message with no place for a footer is too.
    virtual status Insert(std::u16string& Serialized, truth& Result) noexcept = 0;

    // The footer for a text of that type ("text/plain", "text/html"). Whether there is one; when
    // not, `Footer` stays as it is.
    virtual status GetFooter(std::u16string_view ContentType, std::u16string& Footer,
                             truth& Insert) noexcept = 0;
};

// HTTP without TLS. The results are status codes, 0 when there was no whole response: a server that
// is silent for 30 s is given up, as is a document above 64 MB, and whatever takes more than 10
// minutes, redirects included. Documents and data cross as UTF-8.
class BRINDLEMOSS_API IHTTP : public object {
public:
    static constexpr std::string_view name = "IHTTP";
    static constexpr std::string_view prog_id = "Brindlemoss.HTTP";

    virtual status Get(std::u16string_view URI, std::u16string& Document,
                       std::int32_t& Result) noexcept = 0;
    virtual status Status(std::u16string_view URI, std::int32_t& Result) noexcept = 0;
    virtual status Post(std::u16string_view URI, std::u16string_view PostData,
                        std::u16string& Document, std::int32_t& Result) noexcept = 0;
};

class BRINDLEMOSS_API ILanguageRecognition : public object {
public:
    static constexpr std::string_view name = "ILanguageRecognition";
    static constexpr std::string_view prog_id = "Brindlemoss.LanguageRecognition";

    // The number of the language (LCID) of a message, 0 when it cannot be told.
    virtual status Classify(std::u16string_view Message, std::int32_t& Result) noexcept = 0;

    // Whether the user wants mail in the language of the message; also when that cannot be told. No
    // after a failure, which is no word about the mail: IFilter::Score lets it pass then.
    virtual status Accept(std::u16string_view Message, truth& Result) noexcept = 0;
};

// The texts that people read, by group and item, in the user's language. An object knows none until
// Reload() was called.
class BRINDLEMOSS_API ILocalization : public object {
public:
    static constexpr std::string_view name = "ILocalization";
    static constexpr std::string_view prog_id = "Brindlemoss.Localization";

    // Reads the files of the user's language, and of English, which stands in.
    virtual status Reload() noexcept = 0;

    // `Result` stays as it is when there is no such text.
    virtual status GetString(std::u16string_view Group, std::u16string_view Item,
                             std::u16string& Result) noexcept = 0;

    // Keeps the choice; it counts from the next Reload() on.
    virtual status SetLanguage(std::u16string_view ISO) noexcept = 0;

    // A row for each language, ended by CR: its ISO code, tab, its own name, tab, its English name.
    virtual status GetLanguages(std::u16string& Result) noexcept = 0;
};

// The lists of allowed and denied senders, in short. Addresses and domains are Unicode here.
class BRINDLEMOSS_API IRules : public object {
public:
    static constexpr std::string_view name = "IRules";
    static constexpr std::string_view prog_id = "Brindlemoss.Rules";

    // Whether the list holds the address, or one of its domains is the end of it.
    virtual status Allowed(std::u16string_view Address, truth& Result) noexcept = 0;

    // Put it on one list and take it off the other. 1.
    virtual status AllowAddress(std::u16string_view Address, std::int32_t& Result) noexcept = 0;
    virtual status AllowDomain(std::u16string_view Domain, std::int32_t& Result) noexcept = 0;

    virtual status Denied(std::u16string_view Address, truth& Result) noexcept = 0;
    virtual status DenyAddress(std::u16string_view Address, std::int32_t& Result) noexcept = 0;
    virtual status DenyDomain(std::u16string_view Domain, std::int32_t& Result) noexcept = 0;

    // One step of trust more, and none at all.
    virtual status IncreaseTrust(std::u16string_view Address) noexcept = 0;
    virtual status RemoveTrust(std::u16string_view Address) noexcept = 0;

    // Whether the user is to be asked nothing about the lists. invalid_call for a null pointer.
    virtual status Silent(const truth* Value) noexcept = 0;
};

// One of the lists of senders. Addresses and domains are bytes of mail, one a unit; names and
// comments are text.
class BRINDLEMOSS_API sender_rules : public object {
public:
    // Whether the list holds the address, or one of its domains is the end of it.
    virtual status Match(std::u16string_view Address, truth& Result) noexcept = 0;

    // Put it on this list and take it off the other.
    virtual status AddAddress(std::u16string_view Name, std::u16string_view Address,
                              std::u16string_view Comment) noexcept = 0;
    virtual status AddDomain(std::u16string_view Domain, std::u16string_view Comment) noexcept = 0;

    virtual status RemoveAddress(std::u16string_view Address) noexcept = 0;
    virtual status RemoveDomain(std::u16string_view Domain) noexcept = 0;

    // Each entry with CR behind it: name, address and comment, or domain and comment, tabs between.
    virtual status EnumerateAddresses(std::u16string& Result) noexcept = 0;
    virtual status EnumerateDomains(std::u16string& Result) noexcept = 0;

    virtual status Silent(truth Mode) noexcept = 0;
    virtual status EmptyAddresses() noexcept = 0;
    virtual status EmptyDomains() noexcept = 0;

    // Put what is in a text, as enumerated, in place of the list.
    virtual status WriteAddresses(std::u16string_view Addresses) noexcept = 0;
    virtual status WriteDomains(std::u16string_view Domains) noexcept = 0;
};

class BRINDLEMOSS_API IRulesSenderAllowed : public sender_rules {
public:
    static constexpr std::string_view name = "IRulesSenderAllowed";
    static constexpr std::string_view prog_id = "Brindlemoss.RulesSenderAllowed";
};

class BRINDLEMOSS_API IRulesSenderDenied : public sender_rules {
public:
    static constexpr std::string_view name = "IRulesSenderDenied";
    static constexpr std::string_view prog_id = "Brindlemoss.RulesSenderDenied";
};

// The senders that are trusted because mail from them has passed.
class BRINDLEMOSS_API IRulesSenderTrusted : public object {
public:
    static constexpr std::string_view name = "IRulesSenderTrusted";
    static constexpr std::string_view prog_id = "Brindlemoss.RulesSenderTrusted";

    // Whether the sender is trusted by now.
    virtual status Match(std::u16string_view Address, truth& Result) noexcept = 0;

    // One step of trust more.
    virtual status AddAddress(std::u16string_view Name, std::u16string_view Address) noexcept = 0;

    // No trust at all.
    virtual status RemoveAddress(std::u16string_view Address) noexcept = 0;

    // Each entry with CR behind it: name, address, steps, seconds since 1970, tabs between.
    virtual status EnumerateAddresses(std::u16string& Result) noexcept = 0;
};

// What is installed.
class BRINDLEMOSS_API IVersion : public object {
public:
    static constexpr std::string_view name = "IVersion";
    static constexpr std::string_view prog_id = "Brindlemoss.Version";

    virtual status Partner(std::int32_t& Result) noexcept = 0;
    virtual status Current(std::u16string& Result) noexcept = 0;
    virtual status Available(std::u16string& Result) noexcept = 0;  // not implemented
    virtual status Path(std::u16string& Result) noexcept = 0;
    virtual status Upgrade() noexcept = 0;  // not implemented

    // Has the package manager remove the product, and waits.
    virtual status Remove() noexcept = 0;
};

// A document of settings, as the account's server sends them.
class BRINDLEMOSS_API IXML : public object {
public:
    static constexpr std::string_view name = "IXML";
    static constexpr std::string_view prog_id = "Brindlemoss.XML";

    // Keeps a document; any text will do.
    virtual status Parse(std::u16string_view Document) noexcept = 0;

    // A setting by its path; empty when there is none.
    virtual status Setting(std::u16string_view Name, std::u16string& Result) noexcept = 0;
};

}  // namespace brindlemoss::component
