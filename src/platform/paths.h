#pragma once

#include <string>
#include <string_view>
#include <system_error>

// Where lasting things lie. Folders are absolute, have no "/" at their end, and are made with all
// that leads to them when they are asked for: the user's own with mode 0700, the machine's with
// 0755. Every function may be called from any thread.
//
// With a home (BRINDLEMOSS_HOME, or set_home()) everything lies below it. Otherwise the user's
// folders are those of the XDG Base Directory Specification 0.8, with "Brindlemoss" below, and the
// machine's is /var/lib/brindlemoss.
namespace replay::platform::paths {

// A folder that cannot be had; what() names the step, the folder and the system's reason.
class path_error : public std::system_error {
public:
    using std::system_error::system_error;
};

// The home in force, empty when there is none.
std::string home();

// Puts everything below `folder` from here on; an empty one takes the home away. A relative folder
// is taken from the present working folder. Whatever is open already stays where it is.
void set_home(std::string_view folder);

// Where the user's settings and lists lie: $XDG_DATA_HOME/Brindlemoss.
std::string user_data();

// Where what the user can do without lies, in a folder by that name ("Logs", "Dumps"):
// $XDG_STATE_HOME/Brindlemoss/<name>.
std::string user_state(std::string_view name);

// Where the values of the installation lie. The only folder that is not made: whether it can be
// is for the caller to find out, with make_machine().
std::string machine();
void make_machine();

// The product's own data, which it brings and never writes: the folder "share/brindlemoss" beside
// "bin" or "lib" (also "lib64", or a folder below "lib") that holds the program or library with
// this code in it, links followed. For one that lies elsewhere it is the source tree's "share" that
// the build was told of (BRINDLEMOSS_SOURCE_SHARE), so that a program works where it was built.
// Empty when there is no such folder. It is found once a process; a home has no part in it.
std::string product_data();

// For tests: a home for as long as it lives, then what was before.
class scoped_home {
public:
    explicit scoped_home(std::string_view folder) : before_(home()) { set_home(folder); }
    ~scoped_home() { set_home(before_); }
    scoped_home(const scoped_home&) = delete;
    scoped_home& operator=(const scoped_home&) = delete;

private:
    std::string before_;
};

// What the environment says, read out of any set of variables. `variable` gives the value of a
// name, nullptr when it is not set.
struct places {
    std::string home;   // empty when there is none
    std::string data;   // for user_data()
    std::string state;  // for user_state(), without the name
};

places places_of(const char* (*variable)(const char* name));

// What product_data() gives for code in `own_file`, built with `source_share`.
std::string product_data_of(std::string_view own_file, std::string_view source_share);

}  // namespace replay::platform::paths
