#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/exception.h"
#include "foundation/named_mutex.h"
#include "foundation/sync.h"
#include "platform/append_file.h"

namespace replay {

// Fans each line out to listeners. Any thread may write; the log is its own lock and is held while
// its listeners work. A listener may forward to another log, as long as no ring comes of it.
//
// Levels: 0 progress "#", 1 notable " ", 2 details "+", 3 failures "!", 4 ">". Others are let
// through to the listeners as they are; in the prefix they look like the nearest of these.
class log : public mutex {
public:
    class generic : public exception {
    public:
        explicit generic(std::string message = {});
    };

    class listener {
    public:
        virtual ~listener() = default;

        // `prefix` is the time stamp with the level's letter and two blanks. The views are
        // borrowed for the call; the log is locked.
        virtual void write(std::int32_t level, std::string_view prefix, std::string_view text) = 0;
    };

    class console;
    class proxy;
    class file;

    // The listener hears the lines of `minimum_level` and above until the log is destroyed.
    void add_listener(std::int32_t minimum_level, std::unique_ptr<listener> added);

    // Calls the listeners from the highest minimum level down, those of one minimum level in
    // reverse order of adding. What a listener throws comes out here; the rest are not called.
    void write(std::int32_t level, std::string_view text);

    // Formats as printf does, and writes.
    [[gnu::format(printf, 3, 4)]] void writef(std::int32_t level, const char* format, ...);

    // Whether any listener hears lines of `level`: what nobody hears need not be put into words.
    bool is_heard(std::int32_t level);

private:
    std::multimap<std::int32_t, std::unique_ptr<listener>> listeners_;
};

// Prefix, text and a line feed on the standard output stream, flushed.
class log::console : public listener {
public:
    void write(std::int32_t level, std::string_view prefix, std::string_view text) override;
};

// Puts a text ahead of each line and writes it to another log, which makes a time stamp of its own.
class log::proxy : public listener {
public:
    // `target` must outlive the proxy.
    proxy(log& target, std::string text);
    void write(std::int32_t level, std::string_view prefix, std::string_view text) override;

private:
    log& target_;
    const std::string text_;
};

// Appends lines that end in CR LF to `base` + ".log.txt"; control characters within them, but for
// the tab, become "?". Any number of processes may write one
// file: each line is one write under a named mutex, made from `base`.
//
// A file that has reached its maximum size is copied to the first free one of `base` + ".1.log.txt"
// to `base` + ".<history>.log.txt" and emptied. When all are taken, the oldest, number 1, is
// overwritten by number 2 and so on, and the highest number is the newest.
class log::file : public listener {
public:
    // `maximum_size` in bytes, looked at before each line, so that the file may grow past it by
    // one. With a `history` of 0 or less the full file is emptied and nothing kept.
    // Throws log::generic when the file can't be opened.
    file(std::string base, std::uint32_t maximum_size, std::int32_t history);

    // Never throws. A line that can't be written is lost. A full file that can't be copied is
    // emptied all the same.
    void write(std::int32_t level, std::string_view prefix, std::string_view text) override;

    // The name of the lock between the writers of `base`.
    static std::string mutex_name(std::string_view base);

private:
    std::string current_path() const;
    std::string old_path(std::int32_t number) const;
    void keep_copy() const;
    void move_numbers_down() const;

    named_mutex lock_;
    const std::string base_;
    const std::uint32_t maximum_size_;
    const std::int32_t history_;
    platform::append_file file_;  // guarded by lock_
};

}  // namespace replay
