#include "Log.h"

#include <kelFile.h>
#include <kelStatus.h>
#include <kelTime.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "Failure.h"

namespace {

std::string Formatted(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

/// "2024/02/29-12:30:00.000123 7f12 ".
std::string Prefix() {
    kelTime now = kelTime::GetNow();
    const int fraction = static_cast<int>(now.GetMicroSeconds() % 1000000);
    const auto thread = std::hash<std::thread::id>()(std::this_thread::get_id());
    now.MakeLocalTime();
    zuString date;
    now.GetFormatTime(date, "%Y/%m/%d-%H:%M:%S");
    char rest[40];
    std::snprintf(rest, sizeof rest, ".%06d %04llx ", fraction, thread & 0xFFFFULL);
    return date + rest;
}

class Log : public leveldb::Logger {
public:
    int Open(const std::string& name) {
        return file_.Open(name, kelFile::ModeWrite | kelFile::ModeCreate | kelFile::ModeTruncate);
    }

    void Logv(const char* format, std::va_list arguments) override {
        std::string line = Prefix() + Formatted(format, arguments);
        line += line.back() == '\n' ? "" : "\n";
        unsigned long long size = line.size();
        const std::lock_guard<std::mutex> lock(lock_);
        file_.Write(line.data(), size);  // a failure to log stops nothing
    }

private:
    std::mutex lock_;
    kelFile file_;
};

}  // namespace

leveldb::Status OpenLog(const std::string& name, leveldb::Logger** result) {
    auto log = std::make_unique<Log>();
    const int status = log->Open(name);
    *result = status == kelStatusOk ? log.release() : nullptr;
    return ToStatus(status, name);
}
