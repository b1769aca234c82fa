#include "analysis/plugins/signatures.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "message/part.h"

namespace {

using brindlemoss::analysis::plugins::digest_text;
using brindlemoss::analysis::plugins::displayable_part;
using replay::internet::message2::part;

// A tree from an outline: types in brackets with their children within, as "multipart/mixed(a b)".
// A type may have a word behind "=", which becomes the body.
part tree(std::string_view& outline) {
    part item;
    const std::string_view head = outline.substr(0, outline.find_first_of("( )"));
    outline.remove_prefix(head.size());
    const std::size_t mark = head.find('=');
    item.content_type = head.substr(0, mark);
    if (mark != head.npos) item.body = head.substr(mark + 1);
    if (!outline.starts_with('(')) return item;
    while (outline[0] != ')') {
        outline.remove_prefix(1);
        item.children.push_back(tree(outline));
    }
    outline.remove_prefix(1);
    return item;
}

TEST(displayable_part, choice) {
    const struct {
        const char* name;
        std::string_view outline;
        const char* body;  // of the choice; null where there is none
    } rows[] = {
        {"plain text alone", "text/plain=a", "a"},
        {"other text", "text/calendar=a", nullptr},
        {"text that only begins as HTML does", "multipart/mixed(text/html-x=a text/plainer=b)",
         nullptr},
        {"HTML before plain text, deeper",
         "multipart/mixed(text/plain=a multipart/related(text/html=b))", "b"},
        {"alternative HTML before all",
         "multipart/mixed(text/html=a multipart/mixed(multipart/alternative(text/plain=b "
         "text/html=c)))",
         "c"},
        {"alternative plain text before other HTML",
         "multipart/mixed(text/html=a multipart/alternative(text/plain=b text/enriched=c))", "b"},
        {"alternative plain text alone", "multipart/alternative(text/plain=a)", "a"},
        {"alternative parent only, not a grandparent",
         "multipart/alternative(text/plain=a multipart/related(text/html=b))", "a"},
        {"another multipart is no alternative",
         "multipart/mixed(multipart/alternatives(text/plain=a) text/html=b)", "b"},
        {"higher level before earlier place",
         "multipart/mixed(multipart/mixed(text/html=a) text/html=b)", "b"},
        {"attached message", "multipart/mixed(message/rfc822(text/html=a) text/plain=b)", "b"},
        {"root is an attached message", "message/rfc822(text/html=a)", nullptr},
        {"other message types are searched", "message/partial(text/plain=a)", "a"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string_view outline = row.outline;
        part root = tree(outline);
        ASSERT_TRUE(outline.empty());
        const part* found = displayable_part(root);
        ASSERT_EQ(found != nullptr, row.body != nullptr);
        if (found) {
            EXPECT_EQ(found->body, row.body);
        }
    }
}

TEST(displayable_part, is_the_part_of_the_tree_itself) {
    part root("Content-Type: TEXT/HTML\n\nx");
    EXPECT_EQ(displayable_part(root), &root);
}

TEST(digest_text, is_md5_in_base64_without_padding) {
    EXPECT_EQ(digest_text(""), u"1B2M2Y8AsgTpgAmY7PhCfg");
    EXPECT_EQ(digest_text("abc"), u"kAFQmDzST7DWlj99KOF/cg");
    EXPECT_EQ(digest_text(std::string_view("\0", 1)), u"k7iFrf4NoInN9jSQT9WfcQ");
}

}  // namespace
