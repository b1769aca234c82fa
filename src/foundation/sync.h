#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

// Locks, events and guards. All of it may be used from any thread at once.
namespace replay {

// What everything lockable has in common. A hold that was taken shared is given back shared.
// To give back what is not held is the caller's fault and undefined.
class scope_semantics {
public:
    scope_semantics() = default;
    scope_semantics(const scope_semantics&) = delete;
    scope_semantics& operator=(const scope_semantics&) = delete;

    virtual void acquire_shared() = 0;
    virtual void acquire() = 0;
    virtual void release_shared() = 0;
    virtual void release() = 0;

    virtual ~scope_semantics() = default;
};

// Recursive, within the process. The shared operations do nothing: a read guard on a plain mutex
// neither waits nor protects.
class mutex : public scope_semantics {
public:
    void acquire_shared() override {}
    void acquire() override { lock_.lock(); }
    void release_shared() override {}
    void release() override { lock_.unlock(); }

private:
    std::recursive_mutex lock_;
};

// Holds its target exclusively from construction to destruction, or to an early release() by
// whoever sees the guard. The target must outlive the guard; with none the guard does nothing.
class scope : public scope_semantics {
public:
    explicit scope(scope_semantics* target);
    explicit scope(scope_semantics& target) : scope(&target) {}
    ~scope() override;

    // Pass on to the target.
    void acquire_shared() override;
    void acquire() override;
    void release_shared() override;

    // Gives the target back and forgets it: all that follows does nothing.
    void release() override;

private:
    scope_semantics* target_;
};

// Like scope, with a shared hold. It never holds otherwise: acquire() is acquire_shared(), and
// release() and release_shared() both give the shared hold back and forget the target.
class const_scope : public scope_semantics {
public:
    explicit const_scope(scope_semantics* target);
    explicit const_scope(scope_semantics& target) : const_scope(&target) {}
    ~const_scope() override;

    void acquire_shared() override;
    void acquire() override { acquire_shared(); }
    void release_shared() override;
    void release() override { release_shared(); }

private:
    scope_semantics* target_;
};

// What the two kinds of events share. A thread that a wait let go may destroy the event at once,
// even while the one that set it is still on its way out of set().
class event {
public:
    event(const event&) = delete;
    event& operator=(const event&) = delete;

    void set();
    void clear();

    // Returns when the event is set.
    void wait();

    // The same within a time; 0 or less only looks. False when the time went by.
    bool wait(std::chrono::milliseconds timeout);

protected:
    enum class reset { manual, automatic };
    event(reset kind, bool initially_set) : kind_(kind), is_set_(initially_set) {}
    ~event() = default;

private:
    bool take();  // whether the event is set; an automatic one is clear afterwards

    const reset kind_;
    std::mutex lock_;
    std::condition_variable changed_;
    bool is_set_;  // guarded by lock_
};

enum class event_state { clear, set };

// Stays set, and lets every waiter go, until it is cleared.
class manual_reset_event : public event {
public:
    explicit manual_reset_event(event_state initially)
        : event(reset::manual, initially == event_state::set) {}
};

// Lets one waiter go and is clear again. Set twice before anybody waits, it still frees only one.
class auto_reset_event : public event {
public:
    explicit auto_reset_event(event_state initially)
        : event(reset::automatic, initially == event_state::set) {}
};

// Many readers or one writer. A writer that waits for the readers to drain keeps new readers out,
// so a stream of readers can't starve it. Not recursive in any mix. A hold may be given back by
// another thread than the one that took it.
class rw : public scope_semantics {
public:
    void acquire_shared() override;
    void acquire() override;
    void release_shared() override;
    void release() override;

private:
    mutex entry_;  // held by the one that waits to come in; all others queue at it
    manual_reset_event writer_free_{event_state::set};
    mutex readers_lock_;
    manual_reset_event no_readers_{event_state::set};
    std::uint32_t readers_ = 0;  // guarded by readers_lock_
};

// Counts threads in and out, so that their owner can stop them and learn when they have left:
//
//   owner: starts the thread, waits on `busy` (or on an event of its own).
//   thread: scope inside(turnstile); while (!turnstile.stopping()) ...
//   owner: request_stop(); makes the thread's blocking call return; request_stop(); idle.wait().
//
// `busy` tells that somebody has come in once and stays set. The owner may destroy the turnstile
// as soon as `idle` let it go.
class turnstile : public scope_semantics {
public:
    ~turnstile() override;

    void acquire_shared() override {}
    void acquire() override;
    void release_shared() override {}
    void release() override;

    // Sets `stop` under `lock`.
    void request_stop();
    bool stopping() { return stop.wait(std::chrono::milliseconds(0)); }

    mutex lock;  // guards the count and the setting of events; never held across a wait
    manual_reset_event busy{event_state::clear};
    manual_reset_event idle{event_state::set};
    manual_reset_event stop{event_state::clear};

private:
    std::uint64_t count_ = 0;  // guarded by lock
};

}  // namespace replay
