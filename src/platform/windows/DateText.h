#pragma once

#include <apr_time.h>

#include <string>

namespace zukel::platform {

/// Writes the fields of a date by a pattern of the C11 `strftime`, as glibc does in its C locale.
/// `strftime` of msvcrt lacks directives, refuses some years and fields, and has no other zone than
/// the process's; it is used only for what depends on the program's locale. Directives that C11
/// does not have stay in the text.
class DateText {
public:
    explicit DateText(const apr_time_exp_t& date) noexcept : date_(date) {}

    /// Throws `std::bad_alloc`.
    ///
    /// @returns false if the text has more than `most` bytes.
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
