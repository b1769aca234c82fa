#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace test_support {

// A fresh folder, removed with all in it at the end.
class temporary_folder {
public:
    temporary_folder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "test.XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path_ = pattern;
    }
    ~temporary_folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;

    // What stands in the folder by that name; `name` may lead through subfolders.
    std::string path(const std::string& name = {}) const {
        return name.empty() ? path_ : path_ + "/" + name;
    }

    // Writes a file, and its folders where they are missing; gives its path.
    std::string file(const std::string& name, std::string_view bytes = {}) const {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream written(path(name), std::ios::binary);
        written.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!written.flush()) throw std::runtime_error("cannot write " + path(name));
        return path(name);
    }

    std::string read(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string path_;
};

}  // namespace test_support
