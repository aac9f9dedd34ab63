#include "platform/windows/CommandLine.h"

namespace zukel::platform {

namespace {

/// Backslashes are doubled before a quotation mark, and only there.
void AppendArgument(std::wstring& line, const std::wstring& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\f\r\"") == std::wstring::npos) {
        line += argument;
        return;
    }
    std::size_t backslashes = 0;
    line += L'"';
    for (const wchar_t unit : argument) {
        if (unit == L'"') {
            line.append(backslashes + 1, L'\\');
        }
        backslashes = unit == L'\\' ? backslashes + 1 : 0;
        line += unit;
    }
    line.append(backslashes, L'\\').append(1, L'"');
}

bool IsSafeInMarks(const std::wstring& text) noexcept {
    return text.find_first_of(L"\"%\r\n") == std::wstring::npos;
}

}  // namespace

std::wstring CommandLine(const std::vector<std::wstring>& arguments) {
    // In the program's name a backslash is never special.
    std::wstring line = L'"' + arguments.front() + L'"';
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        line += L' ';
        AppendArgument(line, arguments[at]);
    }
    return line;
}

bool BatchCommandLine(const std::wstring& interpreter, const std::wstring& script,
                      const std::vector<std::wstring>& arguments, std::wstring& line) {
    constexpr std::size_t kLongest = 8191;
    if (!IsSafeInMarks(script)) {
        return false;
    }
    // /d: no AutoRun commands of the registry; /e:on: command extensions; /v:off: `!` is not
    // special; /s: only the outer quotation marks are removed.
    std::wstring written = L'"' + interpreter + L"\" /d /e:on /v:off /s /c \"\"" + script + L'"';
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        if (!IsSafeInMarks(arguments[at])) {
            return false;
        }
        written.append(L" \"").append(arguments[at]).append(1, L'"');
    }
    written += L'"';
    if (written.size() > kLongest) {
        return false;
    }
    line = std::move(written);
    return true;
}

}  // namespace zukel::platform
