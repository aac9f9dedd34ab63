// Prints the parts of file names and the facts about the files, as a table.
//
//     fileinfo NAME...
//
// Names may contain ~, $NAME and $PLATFORM. A symbolic link is described itself. Sizes are shown
// modulo 4 GiB. Exit code: 0 if every name has a file and the table was written, 1 if not, 2 for
// wrong arguments.

#include <kelFileInfo.h>
#include <kelLibrary.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

namespace {

constexpr std::size_t kColumns = 7;
using Row = std::array<zuString, kColumns>;

// How many columns of a terminal a character takes.
std::size_t Width(unsigned long character) {
    struct Range {
        unsigned long first, last;
        std::size_t width;
    };
    static constexpr Range kOthers[] = {
        {0x0300, 0x036F, 0},   {0x1100, 0x115F, 2}, {0x200B, 0x200F, 0},   {0x2E80, 0xA4CF, 2},
        {0xAC00, 0xD7A3, 2},   {0xF900, 0xFAFF, 2}, {0xFE00, 0xFE0F, 0},   {0xFE30, 0xFE6F, 2},
        {0xFF00, 0xFF60, 2},   {0xFFE0, 0xFFE6, 2}, {0x1F300, 0x1F64F, 2}, {0x1F900, 0x1FAFF, 2},
        {0x20000, 0x3FFFD, 2},
    };
    for (const Range& range : kOthers) {
        if (character >= range.first && character <= range.last) {
            return range.width;
        }
    }
    return 1;
}

// The length in bytes of the UTF-8 character that begins at `at`; 0 when there is none.
std::size_t CharacterLength(const zuString& text, std::size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    const std::size_t length = lead < 0x80                   ? 1
                               : lead >= 0xC2 && lead < 0xE0 ? 2
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xF0 && lead < 0xF5 ? 4
                                                             : 0;
    for (std::size_t next = 1; next < length; ++next) {
        if (at + next >= text.size() || (text[at + next] & 0xC0) != 0x80) {
            return 0;
        }
    }
    return length;
}

// The text as it can be shown, and its width. A file name may contain control characters that a
// terminal would obey; such bytes become question marks.
zuString Shown(const zuString& text, std::size_t& width) {
    zuString shown;
    width = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = CharacterLength(text, at);
        unsigned long character = static_cast<unsigned char>(text[at]);
        if (length > 1) {
            character &= 0x7FU >> length;
            for (std::size_t next = 1; next < length; ++next) {
                character = character << 6U | (static_cast<unsigned char>(text[at + next]) & 0x3FU);
            }
        }
        const bool control = character < 0x20 || (character >= 0x7F && character < 0xA0);
        shown += length == 0 || control ? "?" : text.substr(at, length);
        width += length == 0 || control ? 1 : Width(character);
        at += std::max<std::size_t>(length, 1);
    }
    return shown;
}

const char* KindName(kelFileInfo::FileType type) {
    switch (type) {
        case kelFileInfo::NoFile:
            return "missing";
        case kelFileInfo::RegularFile:
            return "file";
        case kelFileInfo::Directory:
            return "directory";
        case kelFileInfo::Pipe:
            return "pipe";
        case kelFileInfo::Link:
            return "link";
        case kelFileInfo::Socket:
            return "socket";
        case kelFileInfo::OtherFile:
            break;
    }
    return "other";
}

// The permissions as `ls -l` shows them, such as rwxr-x---.
zuString PermissionLetters(int permissions) {
    struct Special {
        int bit, execute;
        std::size_t at;
        char with, without;
    };
    static constexpr Special kSpecials[] = {
        {kelFileInfo::PermissionSetUser, kelFileInfo::PermissionOwnerExecute, 2, 's', 'S'},
        {kelFileInfo::PermissionSetGroup, kelFileInfo::PermissionGroupExecute, 5, 's', 'S'},
        {kelFileInfo::PermissionSticky, kelFileInfo::PermissionOthersExecute, 8, 't', 'T'},
    };
    zuString letters;
    for (const int shift : {8, 4, 0}) {
        const int digit = permissions >> shift;
        letters += (digit & kelFileInfo::PermissionOthersRead) != 0 ? 'r' : '-';
        letters += (digit & kelFileInfo::PermissionOthersWrite) != 0 ? 'w' : '-';
        letters += (digit & kelFileInfo::PermissionOthersExecute) != 0 ? 'x' : '-';
    }
    for (const Special& special : kSpecials) {
        if ((permissions & special.bit) != 0) {
            letters[special.at] =
                (permissions & special.execute) != 0 ? special.with : special.without;
        }
    }
    return letters;
}

zuString ReadableSize(int lowBits) {
    const auto bytes = static_cast<unsigned>(lowBits);
    char text[32];
    if (bytes < 1024) {
        std::snprintf(text, sizeof text, "%u B", bytes);
        return text;
    }
    double amount = bytes / 1024.0;
    const char* unit = "KiB";
    for (const char* const larger : {"MiB", "GiB"}) {
        if (amount >= 999.95) {
            amount /= 1024;
            unit = larger;
        }
    }
    std::snprintf(text, sizeof text, "%.1f %s", amount, unit);
    return text;
}

zuString ReadableTime(long long microseconds) {
    // Rounded down, also before 1970.
    const std::time_t seconds = microseconds / 1000000 - (microseconds % 1000000 < 0 ? 1 : 0);
    const std::tm* const local = std::localtime(&seconds);
    char text[32];
    const bool fits =
        local != nullptr && std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", local) > 0;
    return fits ? text : "-";
}

Row Describe(const kelFileInfo& info) {
    const kelFileInfo::FileType type = info.GetType();
    const bool exists = type != kelFileInfo::NoFile;
    return {info.GetPath(),
            info.GetBaseName(),
            info.GetFileExtension(),
            KindName(type),
            exists ? PermissionLetters(info.GetPermissions()) : "-",
            exists ? ReadableSize(info.GetSize()) : "-",
            exists ? ReadableTime(info.GetLastModifiedTime()) : "-"};
}

void Print(const zuStlVector<Row>& rows) {
    constexpr std::size_t kSize = 5;  // the column that is right-aligned
    std::array<std::size_t, kColumns> widest{};
    zuStlVector<std::array<std::size_t, kColumns>> widths;
    zuStlVector<Row> shown;
    for (const Row& row : rows) {
        shown.emplace_back();
        widths.emplace_back();
        for (std::size_t column = 0; column < kColumns; ++column) {
            shown.back()[column] = Shown(row[column], widths.back()[column]);
            widest[column] = std::max(widest[column], widths.back()[column]);
        }
    }
    for (std::size_t row = 0; row < shown.size(); ++row) {
        zuString line;
        for (std::size_t column = 0; column < kColumns; ++column) {
            const zuString padding(widest[column] - widths[row][column], ' ');
            line += column == kSize ? padding + shown[row][column] : shown[row][column] + padding;
            line += "  ";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::puts(line.c_str());
    }
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 2) {
        std::fprintf(stderr, "usage: fileinfo NAME...\n");
        return 2;
    }
    zuStlVector<Row> rows = {
        {"DIRECTORY", "NAME", "EXTENSION", "KIND", "PERMISSIONS", "SIZE", "MODIFIED"}};
    bool allExist = true;
    for (int number = 1; number < count; ++number) {
        const kelFileInfo info(kelLibrary::GetAbsoluteFileName(arguments[number]));
        rows.push_back(Describe(info));
        allExist = allExist && info.GetType() != kelFileInfo::NoFile;
    }
    Print(rows);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fprintf(stderr, "fileinfo: the table cannot be written\n");
        return 1;
    }
    return allExist ? 0 : 1;
}
