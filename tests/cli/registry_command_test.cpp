#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "foundation/registry.h"
#include "foundation/registry_values.h"
#include "platform/paths.h"
#include "support/kept_home.h"

namespace {

using std::string;
using test_support::kept_home;
using test_support::program_result;
using testing::AllOf;
using testing::HasSubstr;
using texts = std::vector<string>;
namespace registry = replay::registry2;

TEST(registry_command, sets_and_gets_each_type) {
    const struct {
        const char* name;
        const char* type;
        texts data;
        const char* bare;
        const char* json;
    } rows[] = {
        {"a text",
         "text",
         {"caf\xC3\xA9 \"x\""},
         "caf\xC3\xA9 \"x\"\n",
         "\"caf\xC3\xA9 \\\"x\\\"\""},
        {"[in,brackets]", "text", {"[a,b]"}, "[a,b]\n", R"("[a,b]")"},
        {"expandable", "expandable", {"%x%"}, "%x%\n", R"("%x%")"},
        {"bytes", "binary", {"00fF", "10"}, "00ff10\n", R"("00ff10")"},
        {"largest", "integer", {"4294967295"}, "4294967295\n", "4294967295"},
        {"largest of 64",
         "integer64",
         {"18446744073709551615"},
         "18446744073709551615\n",
         "18446744073709551615"},
        {"lines", "multi_text", {"a", "[b,c]", "{}"}, "a\n[b,c]\n{}\n", R"(["a","[b,c]","{}"])"},
        {"no lines", "multi_text", {}, "", "[]"},
    };
    const kept_home home;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        texts arguments{"registry", "set", "Own\\Keys", row.name};
        if (row.type != string("text")) arguments.insert(arguments.end(), {"--type", row.type});
        arguments.insert(arguments.end(), row.data.begin(), row.data.end());
        EXPECT_EQ(home.done(arguments), "");
        EXPECT_EQ(home.done({"registry", "get", "own/keys", row.name}), row.bare);
        EXPECT_EQ(home.done({"registry", "get", "Own/Keys", row.name, "--json"}),
                  string(R"({"key":"Own\\Keys","name":")") + row.name + R"(","type":")" + row.type +
                      R"(","data":)" + row.json + "}\n");
    }
}

TEST(registry_command, takes_the_type_of_the_value_there_then_of_the_table) {
    const kept_home home;
    home.done({"registry", "set", "thresholds", "filter", "70"});
    EXPECT_THAT(home.done({"registry", "get", "Thresholds", "Filter", "--json"}),
                HasSubstr(R"("type":"integer","data":70)"));
    EXPECT_THAT(home.refused({"registry", "set", "Thresholds", "Filter", "many"}),
                HasSubstr("'Filter'"));
    EXPECT_EQ(home.done({"registry", "get", "Thresholds", "Filter"}), "70\n");

    home.done({"registry", "set", "Thresholds", "Filter", "--type", "text", "many"});
    home.done({"registry", "set", "Thresholds", "Filter", "more"});
    EXPECT_EQ(home.done({"registry", "get", "Thresholds", "Filter"}), "more\n");

    home.done({"registry", "set", "Rules/Sender/Deny", "Domains", "a.example", "b.example"});
    EXPECT_EQ(home.done({"registry", "get", "Rules/Sender/Deny", "Domains"}),
              "a.example\nb.example\n");
    // Of the machine's table, so not for the user's tree.
    home.done({"registry", "set", "Community", "Timeout", "x"});
    EXPECT_EQ(home.done({"registry", "get", "Community", "Timeout"}), "x\n");
    EXPECT_EQ(home.done({"registry", "get", "--machine", "Community", "Timeout"}), "5000\n");
}

TEST(registry_command, refuses_data_that_do_not_suit_and_makes_no_key) {
    const texts rows[] = {
        {"integer", "1x"},
        {"integer", "1", "2"},
        {"integer"},
        {"text", "a", "b"},
        {"integer", "4294967296"},
        {"integer", "-1"},
        {"integer64", "18446744073709551616"},
        {"binary", "123"},
        {"binary", "0g"},
        {"binary", "+1"},
        {"binary"},
        {"multi_text", "a", ""},
        {"text", "\xFF"},
        {"text"},
        {"nonsense", "1"},
    };
    const kept_home home;
    for (const texts& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row));
        texts arguments{"registry", "set", "--type", row[0], "--", "Fresh", "Value"};
        arguments.insert(arguments.end(), row.begin() + 1, row.end());
        const program_result result = home.run(arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_NE(result.err, "");
    }
    EXPECT_THAT(home.refused({"registry", "list", "Fresh"}), HasSubstr("no key 'Fresh'"));
}

TEST(registry_command, lists_keys_then_values) {
    const kept_home home;
    EXPECT_EQ(home.done({"registry", "list"}), "");
    EXPECT_EQ(home.done({"registry", "list", "--json"}), R"({"key":"","keys":[],"values":[]})"
                                                         "\n");
    home.done({"registry", "set", ".", "Language", "D\x1B[31mE"});
    home.done({"registry", "set", "B", "x", "1"});
    home.done({"registry", "set", "A/C", "x", "1"});
    home.done(
        {"registry", "set", ".", "List", "--type", "multi_text", "Bob\tbob@example.org", "b"});
    EXPECT_EQ(home.done({"registry", "list", "."}),
              "B\\\nA\\\nLanguage  text  D\xEF\xBF\xBD[31mE\n"
              "List  multi_text\n    Bob\tbob@example.org\n    b\n");
    EXPECT_EQ(home.done({"registry", "list", "A", "--json"}),
              R"({"key":"A","keys":["C"],"values":[]})"
              "\n");
    EXPECT_THAT(home.done({"registry", "list", "--json"}),
                HasSubstr(R"({"name":"Language","type":"text","data":"D\u001b[31mE"})"));
}

TEST(registry_command, deletes_what_it_is_told_and_no_more) {
    const kept_home home;
    home.done({"registry", "set", "A/B", "x", "1"});
    home.done({"registry", "set", "A", "y", "2"});
    EXPECT_THAT(home.refused({"registry", "delete", "A"}), HasSubstr("keys below"));
    EXPECT_THAT(home.refused({"registry", "delete", "A", "z"}), HasSubstr("no value 'z'"));
    EXPECT_THAT(home.refused({"registry", "delete", "Z"}), HasSubstr("no key 'Z'"));
    EXPECT_THAT(home.refused({"registry", "delete", "."}), HasSubstr("root"));
    EXPECT_THAT(home.refused({"registry", "get", "A", "z"}), HasSubstr("no value 'z'"));
    EXPECT_THAT(home.refused({"registry", "get", "A/Z", "y"}), HasSubstr("no key 'A\\Z'"));
    home.done({"registry", "delete", "A", "y"});
    EXPECT_EQ(home.done({"registry", "list", "A"}), "B\\\n");
    home.done({"registry", "delete", "A/B"});
    home.done({"registry", "delete", "A"});
    EXPECT_EQ(home.done({"registry", "list"}), "");
}

// Values that no type's form fits, as damaged or foreign writers leave them, included.
void write_odd_values(const string& home) {
    namespace value_type = replay::platform::value_type;
    const replay::platform::paths::scoped_home scoped(home);
    {
        const registry::key root(registry::predefined_root::current_user);
        const registry::key odd(root, u"Software\\Brindlemoss\\Odd/Name",
                                registry::when_missing::create);
        odd.set_raw(u"", {value_type::none, "\x01"});
        odd.set_raw(u"three bytes", {value_type::integer, "abc"});
        odd.set_raw(u"five bytes", {value_type::integer64, "abcde"});
        odd.set_raw(u"no NUL", {value_type::text, string("a\0", 2)});
        odd.set_raw(u"half", registry::text_value(std::u16string(u"\xD83D", 1)));
        odd.set_raw(u"NUL within", registry::text_value(std::u16string(u"a\0b", 3)));
        odd.set_raw(u"open list", {value_type::multi_text, string("a\0\0\0", 4)});
        odd.set_raw(u"Foreign", {77, string("\0\xFF", 2)});
        odd.set_raw(u"Emoji \xD83D\xDE00", registry::text_value(u"\xD83D\xDE00\t\x1B"));
    }
    registry::close_all();
}

TEST(registry_command, exports_what_an_import_makes_again) {
    const kept_home first;
    first.done({"registry", "set", "A/B/C", "n", "--type", "integer64", "9007199254740993"});
    first.done({"registry", "set", "A/B", "list", "--type", "multi_text", "x", "y"});
    first.done({"registry", "set", ".", "Debug Mode", "1"});
    write_odd_values(first.path(""));
    const string whole = first.done({"registry", "export"});
    for (const char* part :
         {R"({"name":"three bytes","type":"integer","raw":"616263"})",
          R"({"name":"half","type":"text","raw":"3dd80000"})",
          R"({"name":"NUL within","type":"text","data":"a\u0000b"})",
          R"({"name":"","type":"none","data":"01"})", R"({"name":"Foreign","type":"77",)",
          R"({"name":"n","type":"integer64","data":9007199254740993})"}) {
        EXPECT_THAT(whole, HasSubstr(part));
    }

    const kept_home second;
    EXPECT_EQ(second.done({"registry", "import", "-"}, whole), "12 values in 5 keys\n");
    EXPECT_EQ(second.done({"registry", "export"}), whole);

    const string branch = first.done({"registry", "export", "A/B"});
    EXPECT_EQ(branch.find(R"({"key":"A\\B","values":[{"name":"list")"), 0u) << branch;
    const kept_home third;
    third.done({"registry", "set", "A/B", "own", "stays"});
    const string file = third.folder().file("branch.json", branch);
    EXPECT_EQ(third.done({"registry", "import", file, "--json"}), "{\"keys\":2,\"values\":2}\n");
    EXPECT_EQ(third.done({"registry", "get", "A/B", "own"}), "stays\n");
    EXPECT_EQ(third.done({"registry", "get", "A/B/C", "n"}), "9007199254740993\n");
}

string nested_keys(int count) {
    string text;
    for (int level = 0; level < count; ++level) text += R"({"key":"k","keys":[)";
    for (int level = 0; level < count; ++level) text += "]}";
    return text;
}

TEST(registry_command, imports_all_or_nothing) {
    const auto with_value = [](const string& fields) {
        return R"({"key":"A","values":[{"name":"good","type":"integer","data":1}],)"
               R"("keys":[{"key":"B","values":[{)" +
               fields + "}]}]}";
    };
    const struct {
        const char* what;
        string document;
        const char* told;
    } rows[] = {
        {"no JSON", "{\n \"key\": x}", "line 2, column 9"},
        {"cut short", R"({"key":"A","values":[)", "line 1"},
        {"no object", "[]", "no object"},
        {"no UTF-8", "{\"key\":\"\xFF\"}", "line 1"},
        {"half a pair", R"({"key":"\ud83d"})", "line 1"},
        {"deep arrays", string(300'000, '['), "too deeply"},
        {"deep objects", nested_keys(100'000), "too deeply"},
        {"a key too deep", nested_keys(511), "too many keys"},
        {"no key", "{}", "no \"key\""},
        {"a misspelt field", R"({"key":"A","value":[]})", "value"},
        {"no array", R"({"key":"A","values":{}})", "values: no array"},
        {"a name with a path", R"({"key":"A","keys":[{"key":"a\\b"}]})", "keys[0].key"},
        {"no name", R"({"key":"A","keys":[{"key":""}]})", "keys[0].key"},
        {"a long name", R"({"key":"A","keys":[{"key":")" + string(256, 'k') + "\"}]}", "too long"},
        {"a long name of a value",
         with_value(R"("type":"text","data":"","name":")" + string(16'384, 'v') + '"'), "too long"},
        {"an unknown type", with_value(R"("name":"n","type":"word","data":1)"),
         "keys[0].values[0].type"},
        {"no data", with_value(R"("name":"n","type":"text")"), "no \"data\""},
        {"two data", with_value(R"("name":"n","type":"text","data":"a","raw":"00")"), "both"},
        {"over 32 bits", with_value(R"("name":"n","type":"integer","data":4294967296)"),
         "keys[0].values[0].data: an integer is"},
        {"below 0", with_value(R"("name":"n","type":"integer","data":-1)"), "values[0].data"},
        {"a fraction", with_value(R"("name":"n","type":"integer","data":1.0)"), "values[0].data"},
        {"over 64 bits", with_value(R"("name":"n","type":"integer64","data":18446744073709551616)"),
         "values[0].data"},
        {"beyond all numbers", with_value(R"("name":"n","type":"integer","data":1e999)"), "number"},
        {"a text for a number", with_value(R"("name":"n","type":"integer","data":"31")"),
         "values[0].data"},
        {"half a byte", with_value(R"("name":"n","type":"binary","data":"123")"), "values[0].data"},
        {"an empty line", with_value(R"("name":"n","type":"multi_text","data":["a",""])"),
         "values[0].data"},
        {"a NUL in a line", with_value(R"("name":"n","type":"multi_text","data":["a\u0000b"])"),
         "values[0].data"},
        {"a list for a text", with_value(R"("name":"n","type":"text","data":["a"])"),
         "values[0].data"},
    };
    const kept_home home;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_THAT(home.refused({"registry", "import", "-"}, row.document), HasSubstr(row.told));
    }
    EXPECT_EQ(home.done({"registry", "list"}), "");
    EXPECT_THAT(home.refused({"registry", "import", home.path("missing")}),
                HasSubstr("cannot read"));

    EXPECT_EQ(home.done({"registry", "import", "-"}, nested_keys(510)), "0 values in 510 keys\n");
    EXPECT_EQ(home.done({"registry", "export", "k"}).size() > 510 * 10, true);
}

TEST(registry_command, imports_as_much_as_a_store_takes) {
    const kept_home home;
    const string deepest = nested_keys(510);  // below the two keys of the program's root
    const string longest = R"({"key":")" + string(255, 'k') + R"(","values":[{"name":")" +
                           string(16'383, 'v') + R"(","type":"integer","data":7}]})";
    EXPECT_EQ(home.run({"registry", "import", "-"}, deepest).code, 0);
    EXPECT_EQ(home.run({"registry", "import", "-"}, longest).code, 0);
    EXPECT_EQ(home.done({"registry", "get", string(255, 'k'), string(16'383, 'v')}), "7\n");

    const std::size_t most = std::size_t{128} << 20;
    const string blanks(most - longest.size(), ' ');
    const string largest = home.folder().file("largest.json", longest + blanks);
    home.done({"registry", "import", largest});
    const string larger = home.folder().file("larger.json", longest + blanks + ' ');
    EXPECT_THAT(home.refused({"registry", "import", larger}), HasSubstr("too large"));
}

TEST(stats_command, prints_every_counter_of_the_table) {
    const kept_home home;
    EXPECT_EQ(home.done({"stats", "--json"}),
              R"({"Filter":{"Processed":0,"Blocked":0},"User":{"Blocked":0,"Unblocked":0},)"
              R"("Communication":{"Bytes Transmitted":0,"Bytes Received":0},)"
              R"("Communication\\Protocol":{"Queries":0,"Response Time":0,"Timeouts":0,)"
              R"("Errors":0}})"
              "\n");
    home.done({"registry", "set", "Statistics/Filter", "Processed", "12"});
    EXPECT_EQ(home.done({"stats"}).find("Filter  Processed  12\nFilter  Blocked  0\nUser  Bl"), 0u);

    home.done({"registry", "set", "Statistics/User", "Blocked", "--type", "text", "x"});
    const program_result odd = home.run({"--json", "stats"});
    EXPECT_EQ(odd.code, 2);
    EXPECT_THAT(odd.out, AllOf(HasSubstr(R"("Processed":12)"), HasSubstr(R"("Blocked":null)")));
    EXPECT_THAT(odd.err, HasSubstr("User\\Blocked"));
}

TEST(doctor_command, tells_where_all_lies_and_that_it_works) {
    const kept_home home;
    const string text = home.done({"doctor"});
    for (const string& part : {home.path("user.store"), home.path("machine.store"),
                               home.path("Logs"), home.path("Dumps") + ", writable, no dumps",
                               string("50"), string("ICU            ok     7"),
                               string("FreeImage      ok"), string("CLD2           ok")}) {
        EXPECT_THAT(text, HasSubstr(part));
    }
    home.folder().file("home/Dumps/x.dmp", "x");
    home.folder().file("home/Logs/Core.log.txt", "12345");
    home.done({"registry", "set", ".", "Debug Mode", "2"});
    const string json = home.done({"doctor", "--json"});
    EXPECT_EQ(json.find(R"({"ok":true,"checks":[{"name":"program","ok":true,)"), 0u) << json;
    EXPECT_THAT(json, AllOf(HasSubstr("Core.log.txt, 5 bytes"), HasSubstr("crashes: 1"),
                            HasSubstr("shows the messages")));
    EXPECT_EQ(home.done({"stats"}).find("Filter  Processed  0\n"), 0u);
}

TEST(doctor_command, tells_what_is_wrong) {
    const struct {
        const char* what;
        texts threshold;     // the arguments behind "set Thresholds Filter"
        const char* file;    // one that holds "garbage"
        const char* folder;  // null where there is none to be
        const char* check;
        const char* told;
    } rows[] = {
        {"a threshold over all ratings", {"101"}, nullptr, nullptr, "threshold", "101"},
        {"its lower half counts",
         {"131072101"},
         nullptr,
         nullptr,
         "threshold",
         "\"text\":\"101 is"},
        {"a wrong type", {"--type", "text", "50"}, nullptr, nullptr, "threshold", "Type mismatch"},
        {"a damaged store", {}, "user.store", nullptr, "store", "set aside"},
        {"a folder for a store", {}, nullptr, "user.store", "user store", "does not open"},
        {"a file for the log folder", {}, "Logs", nullptr, "log folder", "Logs"},
        {"a folder for the log", {}, nullptr, "Logs/Core.log.txt", "log file", "cannot be written"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const kept_home home;
        texts arguments{"registry", "set", "Thresholds", "Filter"};
        arguments.insert(arguments.end(), row.threshold.begin(), row.threshold.end());
        if (!row.threshold.empty()) home.done(arguments);
        if (row.file != nullptr) home.folder().file(string("home/") + row.file, "garbage");
        if (row.folder != nullptr) std::filesystem::create_directories(home.path(row.folder));
        const program_result result = home.run({"doctor", "--json"});
        EXPECT_EQ(result.code, 2);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.out.find("{\"ok\":false,"), 0u) << result.out;
        const string begin = string("{\"name\":\"") + row.check + "\",\"ok\":false,\"text\":\"";
        const std::size_t at = result.out.find(begin);
        ASSERT_NE(at, string::npos) << result.out;
        EXPECT_THAT(result.out.substr(at, result.out.find('}', at) - at), HasSubstr(row.told));
    }
}

}  // namespace
