#pragma once

#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "support/temporary_folder.h"

namespace test_support {

// A program, in a folder of its own, that tells in what folder and with which arguments it was
// started, a line for each, and runs some shell commands if it is to.
class program_script {
public:
    explicit program_script(const std::string& name, const std::string& commands = {})
        : fifo_(folder_.path("told")) {
        if (::mkfifo(fifo_.c_str(), 0600) != 0) throw std::runtime_error("no fifo");
        add(name, commands);
    }

    void add(const std::string& name, const std::string& commands = {}) const {
        const std::string text =
            "#!/bin/sh\n{\necho \"$0\"\npwd\nfor each; do echo \"[$each]\"; done\n" + commands +
            "\n} > '" + fifo_ + "'\n";
        ::chmod(folder_.file("installed/" + name, text).c_str(), 0700);
    }

    std::string folder() const { return folder_.path("installed"); }

    // Waits for the program to begin and to end.
    std::string told() const {
        std::ifstream file(fifo_);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    const temporary_folder folder_;
    const std::string fifo_;
};

}  // namespace test_support
