#include "Background.h"

Background::~Background() {
    {
        const std::lock_guard<std::mutex> lock(lock_);
        ends_ = true;
    }
    more_.notify_one();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Background::Add(void (*function)(void*), void* argument) {
    const std::lock_guard<std::mutex> lock(lock_);
    work_.emplace_back(function, argument);
    if (!thread_.joinable()) {
        thread_ = std::thread([this] { Run(); });
    }
    more_.notify_one();
}

void Background::Run() {
    std::unique_lock<std::mutex> lock(lock_);
    for (;;) {
        more_.wait(lock, [this] { return ends_ || !work_.empty(); });
        if (work_.empty()) {
            return;
        }
        const auto [function, argument] = work_.front();
        work_.pop_front();
        lock.unlock();
        function(argument);
        lock.lock();
    }
}
