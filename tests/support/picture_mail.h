#pragma once

#include <string>
#include <vector>

#include "foundation/translate.h"
#include "support/picture_files.h"

namespace test_support {

struct mail_part {
    std::string type;  // as "image/gif"
    std::string body;
    std::string content_id = {};  // with its angle brackets
};

// A mail of parts side by side, each in base64.
inline std::string mail_of(const std::vector<mail_part>& parts) {
    std::string text = "Subject: s\nContent-Type: multipart/related; boundary=b\n\n";
    for (const mail_part& each : parts) {
        text += "--b\nContent-Type: " + each.type + "\nContent-Transfer-Encoding: base64\n";
        if (!each.content_id.empty()) text += "Content-ID: " + each.content_id + "\n";
        text += "\n" +
                replay::coding::translate::base64_encode(each.body,
                                                         replay::coding::translate::padding::pad) +
                "\n";
    }
    return text + "--b--\n";
}

// A tile for a puzzle.
inline mail_part tile(int width, int height, std::uint8_t level, const std::string& content_id) {
    return {"image/png", png_file(flat(width, height, level)), content_id};
}

// HTML that shows the pictures of these identifiers.
inline mail_part html_showing(const std::vector<std::string>& identifiers,
                              const std::string& ahead = {}) {
    std::string html = "<html><body>" + ahead;
    for (const std::string& each : identifiers) html += "<img src=\"cid:" + each + "\">";
    return {"text/html", html + "</body></html>"};
}

}  // namespace test_support
