#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/md5.h"
#include "support/mail_text.h"
#include "support/program.h"

namespace {

using replay::md5;
using std::string;
using test_support::output;
using test_support::program_result;
using test_support::run_program;
using test_support::temporary_folder;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using texts = std::vector<string>;
namespace fs = std::filesystem;

// Messages whose rating no analysis changes.
const string infected = "X-Antivirus-Status: Infected\n\nx\n";
const string broken = "Subject: =?windows-9999?Q?a?=\n\nx\n";
const string faulty = "Subject: =?utf-8?Q?=zz?=\n\nx\n";

string scored(const string& file, int rating, const string& decision) {
    return "{\"file\":\"" + file + "\",\"rating\":" + std::to_string(rating) +
           ",\"threshold\":50,\"class\":null,\"decision\":\"" + decision +
           "\",\"tests\":[],\"signatures\":[],\"report\":[]}\n";
}

void expect_done(const program_result& result, const string& out) {
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, out);
}

void expect_one_line(const string& text) {
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    EXPECT_THAT(text, EndsWith("\n"));
}

TEST(program, scores_as_json) {
    const temporary_folder folder;
    const string a = folder.file("a", infected);
    const string b = folder.file("b", broken);
    const string c = folder.file("c", faulty);
    const string too_deep = folder.file("e", test_support::nested_messages(65));
    expect_done(run_program({"score", "--json", c, a, b, too_deep}),
                scored(c, 0, "error") + scored(a, 100, "virus") + scored(b, 70, "broken_header") +
                    scored(too_deep, 0, "error"));
    expect_done(run_program({"score", "--json", "--rescan", a}), scored(a, 100, "virus"));
    EXPECT_THAT(run_program({"score", "--explain", a}).out, StartsWith("100 "));
}

TEST(program, logs_why_a_message_could_not_be_rated) {
    const temporary_folder folder;
    const string too_deep = folder.file("e", test_support::nested_messages(65));
    run_program({"score", too_deep, "--home", folder.path("home")});
    EXPECT_THAT(folder.read("home/Logs/Core.log.txt"),
                HasSubstr(" !  Unhandled Exception: message2[MIME tree depth exceeded]\r\n"));
}

TEST(program, scores_for_people) {
    const temporary_folder folder;
    const string a = folder.file("a", infected);
    const string odd = folder.file("new\nline\x1B[2J\xE9", broken);
    const program_result result = run_program({"score", a, odd});
    EXPECT_EQ(result.code, 0);
    const std::size_t second = result.out.find('\n') + 1;
    EXPECT_THAT(result.out.substr(0, second), AllOf(StartsWith("100 "), EndsWith(" " + a + "\n")));
    EXPECT_THAT(result.out.substr(second), StartsWith(" 70 "));
    expect_one_line(result.out.substr(second));
    EXPECT_EQ(result.out.find('\x1B'), string::npos);
    EXPECT_EQ(result.out.find('\xE9'), string::npos);
}

TEST(program, takes_folders_mailboxes_and_standard_input) {
    const temporary_folder folder;
    const string mailbox = "From a\n" + infected + "\nFrom b\n" + broken;
    const string box = folder.file("box", mailbox);
    folder.file("mail/cur/2", broken);
    folder.file("mail/new/1", infected);
    folder.file("mail/tmp/3", infected);
    expect_done(run_program({"score", "--json", "-"}, infected), scored("-", 100, "virus"));
    expect_done(run_program({"score", "--json", folder.path("mail")}),
                scored(folder.path("mail/cur/2"), 70, "broken_header") +
                    scored(folder.path("mail/new/1"), 100, "virus"));
    expect_done(run_program({"score", "--json", "--mbox", box}),
                scored(box + "#1", 100, "virus") + scored(box + "#2", 70, "broken_header"));
    expect_done(run_program({"score", "--json", "--mbox", "-"}, mailbox),
                scored("-#1", 100, "virus") + scored("-#2", 70, "broken_header"));
    const string missing = folder.path("missing");
    const program_result others = run_program({"score", "--json", "--mbox", box, missing, box});
    const string both = scored(box + "#1", 100, "virus") + scored(box + "#2", 70, "broken_header");
    EXPECT_EQ(others.out, both + R"({"file":")" + missing +
                              R"(","error":"No such file or directory"})" + "\n" + both);
    EXPECT_EQ(others.code, 2);
    EXPECT_THAT(others.err, HasSubstr("cannot read '" + missing + "'"));
}

TEST(program, file_names_that_are_no_utf8) {
    const temporary_folder folder;
    const string path = folder.file("caf\xE9.eml", infected);
    const string shown = folder.path("caf\xEF\xBF\xBD.eml");
    expect_done(run_program({"score", "--json", path}), scored(shown, 100, "virus"));
    EXPECT_THAT(run_program({"parse", "--json", path}).out,
                StartsWith("{\"file\":\"" + shown + "\",\"tree\":{"));
    const program_result missing = run_program({"score", "--json", folder.path("\xE9")});
    EXPECT_THAT(missing.out, StartsWith("{\"file\":\"" + folder.path("\xEF\xBF\xBD") + "\",\"err"));
    EXPECT_THAT(missing.err, HasSubstr(folder.path("\xEF\xBF\xBD")));
}

TEST(program, many_jobs_print_the_lines_of_one) {
    const struct {
        string raw;
        int rating;
        const char* decision;
    } kinds[] = {{infected, 100, "virus"}, {broken, 70, "broken_header"}, {faulty, 0, "error"}};
    const temporary_folder folder;
    string expected, expected_of_box, mailbox;
    for (int i = 0; i < 600; ++i) {
        const auto& kind = kinds[i % 3];
        // Large ones between small ones, so that the jobs finish out of order.
        const string padding(i % 7 == 0 ? 300'000 : 10, '\n');
        const string path = folder.file("in/" + std::to_string(1000 + i), kind.raw + padding);
        expected += scored(path, kind.rating, kind.decision);
        mailbox.append("From x\n").append(kind.raw).append(padding).append("\n");
        expected_of_box += scored("-#" + std::to_string(i + 1), kind.rating, kind.decision);
    }
    for (const char* jobs : {"1", "4", "256"}) {
        SCOPED_TRACE(jobs);
        expect_done(run_program({"score", "--json", "--jobs", jobs, folder.path("in")}), expected);
        const program_result closed =
            run_program({"score", "--jobs", jobs, folder.path("in")}, {}, output::closed_pipe);
        EXPECT_EQ(closed.code, 2);
        expect_one_line(closed.err);
    }
    expect_done(run_program({"score", "--json", "--mbox", "--jobs", "4", "-"}, mailbox),
                expected_of_box);
}

TEST(program, unreadable_inputs_are_named_and_the_others_done) {
    const temporary_folder folder;
    const string good = folder.file("good", infected);
    fs::create_directory(folder.path("in"));
    fs::create_symlink("/proc/self/mem", folder.path("in/broken"));  // opens, but gives nothing
    const struct {
        string argument;
        string named;
    } unreadable[] = {
        {folder.path("good/below"), folder.path("good/below")},
        {"/dev/zero", "/dev/zero"},
        {folder.path("in"), folder.path("in/broken")},
        {"", ""},
    };
    for (const string command : {"score", "parse"}) {
        for (const auto& row : unreadable) {
            SCOPED_TRACE(command + " " + row.argument);
            const string done = run_program({command, "--json", good}).out;
            expect_one_line(done);
            const program_result result =
                run_program({command, "--json", good, row.argument, good});
            EXPECT_EQ(result.code, 2);
            expect_one_line(result.err);
            EXPECT_THAT(result.err, HasSubstr("'" + row.named + "'"));
            ASSERT_GT(result.out.size(), 2 * done.size());
            const string between =
                result.out.substr(done.size(), result.out.size() - 2 * done.size());
            EXPECT_EQ(result.out, done + between + done);
            EXPECT_THAT(between, StartsWith("{\"file\":\"" + row.named + "\",\"error\":\""));
            expect_one_line(between);

            const string text = run_program({command, good}).out;
            EXPECT_EQ(run_program({command, row.argument, good}).out, text);
        }
    }
}

TEST(program, check_tells_by_the_exit_code) {
    const temporary_folder folder;
    const string a = folder.file("a", infected);
    const string b = folder.file("b", broken);
    const string c = folder.file("c", faulty);
    EXPECT_EQ(run_program({"score", "--check", c}).code, 0);
    EXPECT_EQ(run_program({"score", "--check", b}).code, 1);
    EXPECT_EQ(run_program({"score", "--check", "--json", "--jobs", "2", c, a, c}).code, 1);
    EXPECT_EQ(run_program({"score", c, a}).code, 0);
}

TEST(program, wrong_usage) {
    const temporary_folder folder;
    const string good = folder.file("good", infected);
    const struct {
        texts arguments;
        const char* named;
    } rows[] = {
        {{}, "subcommand"},
        {{"nonsense", good}, "'nonsense'"},
        {{"rules", "allow", "non\nsense"}, "'non\xEF\xBF\xBDsense'"},
        {{"score", "--jobs", "0", good}, "--jobs"},
        {{"score", "--jobs", "257", good}, "257"},
        {{"score", "--jobs", "many", good}, "many"},
        {{"parse", "--check", good}, "--check"},
        {{"registry"}, "subcommand"},
        {{"registry", "set", "A"}, "VALUE"},
        {{"stats", "x"}, "x"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        const program_result result = run_program(row.arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, AllOf(StartsWith("brindlemoss: "), HasSubstr(row.named)));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
    }
}

TEST(program, help_and_home) {
    const program_result help = run_program({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.err, "");
    for (const char* word : {"--home", "\n  score ", "\n  parse "}) {
        EXPECT_THAT(help.out, HasSubstr(word));
    }
    const temporary_folder folder;
    const string a = folder.file("a", infected);
    const string home = folder.path("home");
    expect_done(run_program({"--home", home, "score", "--json", a}), scored(a, 100, "virus"));
    expect_done(run_program({"score", "--json", a, "--home", home}), scored(a, 100, "virus"));
}

TEST(program, output_that_cannot_be_written) {
    const temporary_folder folder;
    const string good = folder.file("good", infected);
    const string large = folder.file("large", string(50'000, 'a') + ":\n" + string(50'000, 'b'));
    for (const output target : {output::closed_pipe, output::full_device}) {
        for (const texts& arguments : {texts{"score", good}, texts{"score", "--json", good, good},
                                       texts{"parse", good}, texts{"parse", "--json", large}}) {
            SCOPED_TRACE(testing::PrintToString(arguments));
            const program_result result = run_program(arguments, {}, target);
            EXPECT_EQ(result.code, 2);
            expect_one_line(result.err);
            EXPECT_THAT(result.err, HasSubstr("standard output"));
        }
    }
}

TEST(program, parses_as_json) {
    const temporary_folder folder;
    const string path = folder.file(
        "a",
        "Subject: caf\xE9 \"\x01\"\n"
        "Content-Type: Multipart/Mixed; boundary=\"B b\"\n\n"
        "--B b\nContent-Type: TEXT/Html; charset=UTF-8\n"
        "Content-Disposition: attachment; filename=\"=?utf-8?B?8J+YgA==?=.txt\"\n\nh\xC3\xA9\n"
        "--B b\nContent-Type: text/plain; name=\"=?utf-7?Q?+2D0-?=\"\n\n--B b--\n");
    const string written =
        "Subject: caf\xE9 \"\x01\"\r\n"
        "Content-Type: multipart/mixed; boundary=\"B b\"\r\n\r\n"
        "--B b\r\nContent-Type: text/html; charset=\"utf-8\"\r\n"
        "Content-Disposition: attachment; filename=\"=?utf-8?B?8J+YgA==?=.txt\"\r\n\r\n"
        "h\xC3\xA9\r\n\r\n"
        "--B b\r\nContent-Type: text/plain; name=\"=?utf-7?Q?+2D0-?=\"; charset=\"iso-8859-1\""
        "\r\n\r\n--B b--\r\n";
    const string tree =
        R"({"content_type":"multipart/mixed","charset":"iso-8859-1","boundary":"B b",)"
        "\"headers\":[[\"Subject\",\"caf\xC3\xA9 \\\"\\u0001\\\"\"],"
        R"(["Content-Type","Multipart/Mixed; boundary=\"B b\""]],"body_size":0,"body_md5":")" +
        md5("").hex() +
        R"(","attachment":{"is_attachment":false,"name":""},"children":[)"
        R"({"content_type":"text/html","charset":"utf-8","boundary":"",)"
        R"("headers":[["Content-Type","TEXT/Html; charset=UTF-8"],)"
        R"(["Content-Disposition","attachment; filename=\"=?utf-8?B?8J+YgA==?=.txt\""]],)"
        R"("body_size":5,"body_md5":")" +
        md5("h\xC3\xA9\r\n").hex() +
        "\",\"attachment\":{\"is_attachment\":true,\"name\":\"\xF0\x9F\x98\x80.txt\"},"
        R"("children":[]},)"
        R"({"content_type":"text/plain","charset":"iso-8859-1","boundary":"",)"
        R"("headers":[["Content-Type","text/plain; name=\"=?utf-7?Q?+2D0-?=\""]],)"
        R"("body_size":0,"body_md5":")" +
        md5("").hex() +
        R"(","attachment":{"is_attachment":false,"name":"\ud83d"},"children":[]}]})";
    expect_done(run_program({"parse", "--json", path}),
                "{\"file\":\"" + path + "\",\"tree\":" + tree + ",\"unparse_md5\":\"" +
                    md5(written).hex() + "\"}\n");
}

TEST(program, parse_names_what_stopped_it) {
    const auto parsed = [](const string& raw) {
        return run_program({"parse", "--json", "-"}, raw);
    };
    const struct {
        string raw;
        string told;
        string complaint;
    } rows[] = {
        {test_support::nested_multiparts(65),
         R"("error":"depth_limit","message":"MIME tree depth exceeded")",
         "MIME tree depth exceeded"},
        {"Content-Type: =?utf-8?Q?=zz?=\n",
         R"("error":"invalid_codeword","message":"Invalid Codeword 0x7A")",
         "Invalid Codeword 0x7A"},
        {"Content-Type: =?windows-9999?Q?a?=\n", R"("error":"invalid_codepage","message":"")",
         "invalid_codepage"},
    };
    for (const auto& row : rows) {
        const program_result result = parsed(row.raw);
        EXPECT_EQ(result.code, 2);
        EXPECT_EQ(result.out, "{\"file\":\"-\"," + row.told + "}\n");
        EXPECT_EQ(result.err, "brindlemoss: cannot read '-': " + row.complaint + "\n");
    }
    EXPECT_THAT(parsed(test_support::nested_multiparts(64)).out, HasSubstr("\"unparse_md5\":\""));
    EXPECT_EQ(run_program({"parse", "--json", "none"}).out,
              "{\"file\":\"none\",\"error\":\"generic\","
              "\"message\":\"No such file or directory\"}\n");
}

}  // namespace
