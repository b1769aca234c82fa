#include "foundation/sync.h"

#include <algorithm>
#include <utility>

namespace replay {

namespace {

// Added to the time of the steady clock, longer waits would pass its end.
constexpr std::chrono::milliseconds longest_wait = std::chrono::hours(24 * 365);

}  // namespace

scope::scope(scope_semantics* target) : target_(target) {
    scope::acquire();
}

scope::~scope() {
    scope::release();
}

void scope::acquire_shared() {
    if (target_) target_->acquire_shared();
}

void scope::acquire() {
    if (target_) target_->acquire();
}

void scope::release_shared() {
    if (target_) target_->release_shared();
}

void scope::release() {
    if (scope_semantics* const target = std::exchange(target_, nullptr)) target->release();
}

const_scope::const_scope(scope_semantics* target) : target_(target) {
    const_scope::acquire_shared();
}

const_scope::~const_scope() {
    const_scope::release_shared();
}

void const_scope::acquire_shared() {
    if (target_) target_->acquire_shared();
}

void const_scope::release_shared() {
    if (scope_semantics* const target = std::exchange(target_, nullptr)) target->release_shared();
}

void event::set() {
    const std::lock_guard guard(lock_);
    is_set_ = true;
    // Still under the lock: once it is free, a waiter may return and destroy the event.
    if (kind_ == reset::manual) {
        changed_.notify_all();
    } else {
        changed_.notify_one();
    }
}

void event::clear() {
    const std::lock_guard guard(lock_);
    is_set_ = false;
}

bool event::take() {
    return kind_ == reset::manual ? is_set_ : std::exchange(is_set_, false);
}

void event::wait() {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return take(); });
}

bool event::wait(std::chrono::milliseconds timeout) {
    std::unique_lock guard(lock_);
    if (timeout.count() <= 0) return take();
    return changed_.wait_for(guard, std::min(timeout, longest_wait), [this] { return take(); });
}

void rw::acquire_shared() {
    const scope entering(entry_);
    writer_free_.wait();
    const scope counting(readers_lock_);
    ++readers_;
    no_readers_.clear();
}

void rw::release_shared() {
    const scope counting(readers_lock_);
    if (--readers_ == 0) no_readers_.set();
}

void rw::acquire() {
    const scope entering(entry_);
    writer_free_.wait();
    writer_free_.clear();
    no_readers_.wait();
}

void rw::release() {
    writer_free_.set();
}

turnstile::~turnstile() {
    // The last one to leave may still be between setting `idle` and giving back the lock.
    const scope last_one_out(lock);
}

void turnstile::acquire() {
    const scope guard(lock);
    ++count_;
    busy.set();
    idle.clear();
}

void turnstile::release() {
    // Set under the lock, `idle` can't overtake the clearing by one who comes in at this moment.
    const scope guard(lock);
    if (--count_ == 0) idle.set();
}

void turnstile::request_stop() {
    const scope guard(lock);
    stop.set();
}

}  // namespace replay
