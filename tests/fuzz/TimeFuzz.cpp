// The fuzz target on time patterns: the text of kelTime beside what the C library writes into more
// room than any text needs that may come out.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "kelStatus.h"
#include "kelTime.h"

namespace {

constexpr std::size_t kLongestText = 255;

/// The bytes that the fuzzer makes up, taken from the front; zeros when they are used up.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size)
        : left_(reinterpret_cast<const char*>(data), size) {}

    template <typename Number>
    Number Take() {
        Number number = 0;
        std::memcpy(&number, left_.data(), std::min(sizeof number, left_.size()));
        left_.erase(0, sizeof number);
        return number;
    }
    const std::string& Rest() const { return left_; }

private:
    std::string left_;
};

/// The date of a moment, as the C library tells it, less the name of its zone, which kelTime does
/// not keep. Before the epoch the runtime drops the fraction of a second, as it does behind it.
std::tm DateOf(long long microSeconds, bool local) {
    const std::time_t moment = microSeconds / 1000000;
    std::tm date{};
    if ((local ? localtime_r(&moment, &date) : gmtime_r(&moment, &date)) == nullptr) {
        std::abort();
    }
    date.tm_zone = nullptr;
    return date;
}

/// Whether the text fits, and then the text. A letter before it tells no text from no room.
bool Expected(const std::tm& date, const std::string& pattern, std::string& text) {
    static std::array<char, 1 << 16> room;
    const std::string marked = "x" + std::string(pattern.c_str());
    const std::size_t size = std::strftime(room.data(), room.size(), marked.c_str(), &date);
    text.assign(room.data() + 1, size > 0 ? size - 1 : 0);
    return size > 0 && text.size() <= kLongestText;
}

void Check(const kelTime& time, const std::tm& date, const std::string& pattern) {
    const std::string before = "untouched";
    std::string text = before;
    std::string expected;
    const bool fits = Expected(date, pattern, expected);
    const bool succeeds = fits && time.GetNumericEpochTime() != -1;
    const int status = time.GetFormatTime(text, pattern);
    if (status != (succeeds ? kelStatusOk : kelStatusFailed) ||
        text != (succeeds ? expected : before)) {
        std::fprintf(stderr, "[%s] at %lld gives %d [%s], not %s [%s]\n", pattern.c_str(),
                     time.GetNumericEpochTime(), status, text.c_str(),
                     succeeds ? "success with" : "failure, beside", expected.c_str());
        std::abort();
    }
}

}  // namespace

/// A zone with a summer, whatever the machine's own is.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
}

/// The first byte says where the date comes from, as many as that needs are the date, and the rest
/// is the pattern.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    const auto kind = bytes.Take<std::uint8_t>();
    const bool local = (kind & 1U) != 0;
    if ((kind & 2U) == 0) {
        const auto moment = bytes.Take<std::int64_t>();
        kelTime time(moment);
        if (local && moment != -1) {  // which would become the present
            time.MakeLocalTime();
        }
        Check(time, DateOf(moment, local), bytes.Rest());
        return 0;
    }
    // Fields as they come. Small ones lie in their ranges or close by.
    std::array<int, 11> field{};
    for (int& value : field) {
        value = local ? bytes.Take<std::int32_t>() : bytes.Take<std::int8_t>();
    }
    std::tm date{};
    date.tm_sec = field[1];
    date.tm_min = field[2];
    date.tm_hour = field[3];
    date.tm_mday = field[4];
    date.tm_mon = field[5];
    date.tm_year = field[6];
    date.tm_wday = field[7];
    date.tm_yday = field[8];
    date.tm_isdst = field[9];
    date.tm_gmtoff = field[10];
    const kelTime time(field[0], field[1], field[2], field[3], field[4], field[5], field[6],
                       field[7], field[8], field[9], field[10]);
    Check(time, date, bytes.Rest());
    return 0;
}
