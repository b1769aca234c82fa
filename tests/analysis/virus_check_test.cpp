#include <gtest/gtest.h>

#include <string>

#include "analysis/filter_engine.h"
#include "foundation/translate.h"
#include "message/character_set.h"

namespace {

using brindlemoss::analysis::part;
using std::string;
namespace translate = replay::coding::translate;
namespace unicode = replay::unicode;

const string notices[] = {
    "Thistlegrove has deleted",
    "Thistlegrove har slettet",
    "Viruses found in the attached files",
    "This message was modified by F-Secure",
};

bool is_infected(const string& raw) {
    part message(raw);
    return brindlemoss::analysis::virus_check(message);
}

string base64(const string& bytes) {
    return translate::base64_encode(bytes, translate::padding::pad);
}

TEST(virus_check, status_header) {
    const struct {
        const char* head;
        bool infected;
    } rows[] = {
        {"X-Antivirus-Status: Infected", true},
        {"X-Antivirus-Status: Infected \n\t", true},  // blanks at the end are none of the value
        {"X-Antivirus-Status: =?utf-8?Q?Infected?=", true},
        {"X-Antivirus-Status: Infected\nX-Antivirus-Status: Clean", true},
        {"X-Antivirus-Status: Clean\nX-Antivirus-Status: Infected", false},
        {"X-Antivirus-Status: infected", false},
        {"X-Antivirus-Status: Infecte", false},
        {"X-Antivirus-Status: Infected.", false},
        {"X-Antivirus: Infected", false},
        {"A: b\n\nX-Antivirus-Status: Infected", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.head);
        EXPECT_EQ(is_infected(row.head), row.infected);
    }
}

TEST(virus_check, notices_in_every_form_of_text) {
    const struct {
        const char* name;
        const char* head;
        string (*body)(const string& text);
    } forms[] = {
        {"no header", "", [](const string& text) { return text; }},
        {"within a line", "Content-Type: text/html\n",
         [](const string& text) { return "x\n<b>" + text + ": a.exe</b>\ny"; }},
        {"UTF-8", "Content-Type: text/plain; charset=utf-8\n",
         [](const string& text) { return "\xFF\xE2\x80" + text; }},
        {"a picture", "Content-Type: image/png\nContent-Transfer-Encoding: base64\n",
         [](const string& text) { return base64(string("\0\xFF", 2) + text); }},
        {"quoted-printable", "Content-Transfer-Encoding: quoted-printable\n",
         [](const string& text) { return "=54=56" + text.substr(0, 9) + "=\n" + text.substr(9); }},
        {"UTF-7", "Content-Type: text/plain; charset=utf-7\n",
         [](const string& text) {
             return "+" +
                    translate::base64_encode(string(1, '\0') + text[0], translate::padding::none) +
                    "-" + text.substr(1);
         }},
        {"ISO-2022-JP", "Content-Type: text/plain; charset=iso-2022-jp\n",
         [](const string& text) {
             return "\x1B$B0!\x1B(B" + text.substr(0, 4) + "\x1B(J" + text.substr(4);
         }},
        {"EBCDIC", "Content-Type: text/plain; charset=ibm500\nContent-Transfer-Encoding: base64\n",
         [](const string& text) { return base64(unicode::recode(text, -1, 500)); }},
    };
    for (const auto& form : forms) {
        for (const string& notice : notices) {
            SCOPED_TRACE(form.name + (": " + notice));
            const string head = form.head + string("\n");
            EXPECT_TRUE(is_infected(head + form.body(notice)));
            string damaged = notice;
            damaged.back() ^= 0x20;  // the other case
            EXPECT_FALSE(is_infected(head + form.body(damaged)));
            EXPECT_FALSE(is_infected(head + form.body(notice.substr(0, notice.size() - 1))));
        }
    }
}

TEST(virus_check, only_text_of_the_message_counts) {
    const string notice = notices[0];
    const string two_parts = "Content-Type: multipart/mixed; boundary=B\n\n";
    const string attached_file = "Content-Type: application/octet-stream; name=";
    const struct {
        const char* name;
        string raw;
        bool infected;
    } rows[] = {
        {"a header", "Subject: " + notice + "\n\nx", false},
        {"two lines", "\nThistlegrove has\n deleted", false},
        {"two parts", two_parts + "--B\n\nThistlegrove has \n--B\n\ndeleted", false},
        {"ahead of the parts", two_parts + notice + "\n--B\n\nx", true},
        {"behind the parts", two_parts + "--B\n\nx\n--B--\n" + notice, false},
        {"an attached message",
         two_parts + "--B\nContent-Type: message/rfc822\n\n\n" + notice + "\n--B\n\nx", false},
        {"behind an attached message",
         two_parts + "--B\nContent-Type: message/rfc822\n\n\nx\n--B\n\n" + notice, true},
        {"the message is an attached one", "Content-Type: message/rfc822\n\n\n" + notice, false},
        {"a message attached as a file", attached_file + "x.eml\n\n\n" + notice, false},
        {"no such code page", "Content-Type: text/plain; charset=windows-9999\n\n" + notice, false},
        {"broken text", "Content-Type: text/plain; charset=shift_jis\n\n\x81 " + notice, false},
        {"a part behind broken text",
         two_parts + "--B\nContent-Type: text/plain; charset=shift_jis\n\n\x81 \n--B\n\n" + notice,
         true},
        {"16-bit text, which no mail names",
         "Content-Type: text/plain; charset=utf-16\nContent-Transfer-Encoding: base64\n\n" +
             base64(string("T\0h\0i\0s\0t\0l\0e\0", 14)),
         false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(is_infected(row.raw), row.infected);
    }
}

}  // namespace
