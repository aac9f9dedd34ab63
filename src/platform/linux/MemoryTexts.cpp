#include "platform/linux/MemoryTexts.h"

#include <algorithm>

#include "platform/Memory.h"

namespace zukel::platform {

namespace {

bool StartsWith(std::string_view text, std::string_view start) noexcept {
    return text.substr(0, start.size()) == start;
}

/// Takes the next line off the front of the text.
std::string_view TakeLine(std::string_view& text) noexcept {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

/// Whether a list with commas has `memory` in it.
bool CountsMemory(std::string_view controllers) noexcept {
    constexpr std::string_view kMemory = "memory";
    while (!controllers.empty()) {
        const std::size_t end = controllers.find(',');
        if (controllers.substr(0, end) == kMemory) {
            return true;
        }
        controllers.remove_prefix(end == std::string_view::npos ? controllers.size() : end + 1);
    }
    return false;
}

}  // namespace

std::uint64_t NumberAt(std::string_view text) noexcept {
    std::uint64_t number = 0;
    std::size_t at = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        const auto digit = static_cast<std::uint64_t>(text[at] - '0');
        if (number > (kUnknown - digit) / 10) {
            return kUnknown;
        }
        number = number * 10 + digit;
    }
    return at == 0 ? kUnknown : number;
}

std::uint64_t FieldOf(std::string_view text, std::string_view name, std::uint64_t unit) noexcept {
    while (!text.empty()) {
        std::string_view line = TakeLine(text);
        if (!StartsWith(line, name)) {
            continue;
        }
        line.remove_prefix(name.size());
        if (line.empty() || (line[0] != ':' && line[0] != ' ')) {
            continue;
        }
        line.remove_prefix(std::min(line.find_first_not_of(": \t"), line.size()));
        const std::uint64_t number = NumberAt(line);
        return number > kUnknown / unit ? kUnknown : number * unit;
    }
    return kUnknown;
}

std::optional<std::string_view> CgroupPathOf(std::string_view text,
                                             CgroupVersion version) noexcept {
    while (!text.empty()) {
        const std::string_view line = TakeLine(text);  // number:controllers:path
        const std::size_t first = line.find(':');
        const std::size_t second =
            first == std::string_view::npos ? first : line.find(':', first + 1);
        if (second == std::string_view::npos) {
            continue;
        }
        const std::string_view controllers = line.substr(first + 1, second - first - 1);
        if (version == CgroupVersion::V1 ? !CountsMemory(controllers)
                                         : !(line.substr(0, first) == "0" && controllers.empty())) {
            continue;
        }
        const std::string_view path = line.substr(second + 1);
        const bool visible =
            StartsWith(path, "/") && !StartsWith(path, "/../") && path != "/.." && path != "/";
        return visible ? path : std::string_view();
    }
    return std::nullopt;
}

std::uint64_t Remaining(std::uint64_t whole, std::uint64_t part) noexcept {
    return whole == kUnknown || part == kUnknown ? kUnknown : whole - std::min(whole, part);
}

void ApplyLimit(PhysicalMemory& memory, std::uint64_t limit, std::uint64_t used,
                std::uint64_t reclaimable) noexcept {
    const std::uint64_t held = reclaimable == kUnknown ? used : Remaining(used, reclaimable);
    const std::uint64_t left = Remaining(limit, held);
    const bool known = left != kUnknown && memory.available != kUnknown;
    memory.available = known ? std::min(memory.available, left) : kUnknown;
    memory.total = std::min(memory.total, limit);
    memory.limited = true;
}

}  // namespace zukel::platform
