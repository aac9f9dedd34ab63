#pragma once

#include <apr_time.h>

#include <string>

namespace zukel::platform {

/// Writes the fields of a date by a pattern of the C11 `strftime`, as glibc does in its C locale.
/// The C library of the system (msvcrt) lacks directives, refuses years and fields, and knows the
/// process's own zone alone; it is asked for what the program's locale writes in its own way.
/// Directives that C11 does not name stay in the text.
class DateText {
public:
    explicit DateText(const apr_time_exp_t& date) noexcept : date_(date) {}

    /// Throws `std::bad_alloc`.
    ///
    /// @returns false when the text has more than `most` bytes.
    bool Write(const char* pattern, std::size_t most);

    const std::string& Get() const noexcept { return text_; }

private:
    long long Year() const noexcept { return date_.tm_year + 1900LL; }
    bool WriteDirective(char directive);
    void WritePlain(const char* pattern);
    void WriteNumber(long long value, std::size_t width, char filler = '0');
    void WriteOfLocale(char directive, bool inRange);
    void WriteForm(char directive, const char* plain);
    void WriteIsoWeek(char directive);
    void WriteOffset();
    void WriteZone();

    const apr_time_exp_t& date_;
    std::string text_;
};

}  // namespace zukel::platform
