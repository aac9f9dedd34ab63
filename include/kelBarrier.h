#pragma once

#include <cstddef>
#include <type_traits>

#include "kelExport.h"

class kelLibrary;

/// Base class for a thread barrier. Its own operations return at once.
///
/// @code
/// class Barrier : public kelBarrier {
/// public:
///     /// Returns when `count` threads have called it.
///     void Block(unsigned long long count) override {
///         std::unique_lock<std::mutex> lock(mutex_);
///         const int round = round_;
///         if (++waiting_ == count) {
///             waiting_ = 0;
///             ++round_;
///             all_.notify_all();
///         }
///         all_.wait(lock, [&] { return round != round_; });
///     }
///
/// private:
///     std::mutex mutex_;
///     std::condition_variable all_;
///     unsigned long long waiting_ = 0;
///     int round_ = 0;
/// };
/// Barrier barrier;
/// std::thread other([&] { barrier.Block(2); });
/// barrier.Block(2);
/// other.join();
/// std::puts("both were there");  // prints: both were there
/// @endcode
class KEL_API kelBarrier {
public:
    /// The count is ignored: `Block` has one of its own.
    explicit kelBarrier(std::size_t count = 0);
    /// The same, for numbers of other types: without it, a literal 0 would be ambiguous with the
    /// pointer.
    template <typename Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
    explicit kelBarrier(Number count) : kelBarrier(static_cast<std::size_t>(count)) {}
    /// The same. The pointer is not read and may be null.
    explicit kelBarrier(kelLibrary* library, std::size_t count = 0);
    kelBarrier(const kelBarrier& other) = delete;
    virtual ~kelBarrier();
    /// Does nothing: the base has no state.
    kelBarrier& operator=(const kelBarrier& other);

    /// Returns at once; the count is ignored.
    virtual void Block(unsigned long long count);
    /// Returns at once.
    virtual void Reset();

private:
    void* handle_ = nullptr;
};
