#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

/// A thread that runs tasks one after the other, in the order in which they were added. It starts
/// with the first task. The destructor waits until all tasks are done.
class Background {
public:
    Background() = default;
    ~Background();
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;

    void Add(void (*function)(void*), void* argument);

private:
    void Run();

    std::mutex lock_;
    std::condition_variable more_;
    std::deque<std::pair<void (*)(void*), void*>> work_;
    bool ends_ = false;
    std::thread thread_;
};
