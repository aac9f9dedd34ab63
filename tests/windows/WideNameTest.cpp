// The form in which names go to the system.

#include "platform/windows/ReparsePoint.h"
#include "platform/windows/WideName.h"

#include <gtest/gtest.h>

#include <vector>

using namespace zukel::platform;

TEST(WideName, LongNamesGetTheExtendedFormAndShortOnesStay) {
    const std::string a(120, 'a'), b(130, 'b'), part = a + "\\" + b;
    const std::wstring wide(part.begin(), part.end());
    const struct {
        std::string name;
        std::wstring form;
    } rows[] = {
        {"C:\\short/./x", L"C:\\short/./x"},
        {"relative/../x", L"relative/../x"},
        {"", L""},
        {"C:/" + a + "//./x/../" + b, L"\\\\?\\C:\\" + wide},
        {"C:\\" + part, L"\\\\?\\C:\\" + wide},
        {"//server/share/" + part, L"\\\\?\\UNC\\server\\share\\" + wide},
        {"\\\\server\\share\\x\\..\\" + part + "\\.", L"\\\\?\\UNC\\server\\share\\" + wide},
        {"\\\\?\\C:\\x\\..\\" + part, L"\\\\?\\C:\\x\\..\\" + wide},
        {"\\\\.\\NUL", L"\\\\.\\NUL"},
        {"\\\\?\\C:\\nul.txt", L"\\\\?\\C:\\nul.txt"},
    };
    for (const auto& row : rows) {
        const WideName name(row.name.c_str());
        EXPECT_EQ(name.Status(), 0) << row.name;
        EXPECT_EQ(name.Get(), row.form) << row.name;
    }
}

TEST(WideName, WhatNamesNoFileIsRefused) {
    constexpr DWORD kInvalid = ERROR_INVALID_NAME, kLong = ERROR_FILENAME_EXCED_RANGE;
    constexpr DWORD kNotFound = ERROR_FILE_NOT_FOUND;
    const std::string longest(255, 'x');
    const struct {
        std::vector<std::string> names;
        DWORD plain, taken;  ///< The reasons without and with leave for devices.
    } rows[] = {{{"NUL", "Con", "lpt1", "COM\xC2\xB2"}, kInvalid, 0},
                {{"nul.txt", "C:nul", "x/aux/y"}, kInvalid, kInvalid},
                {{"nulx", "com0", "com12", longest}, 0, 0},
                {{longest + "x"}, kLong, kLong},
                {{"\xFF", "\xED\xA0\x80"}, kNotFound, kNotFound}};
    for (const auto& [names, plain, taken] : rows) {
        for (const std::string& name : names) {
            EXPECT_EQ(WideName(name.c_str()).Status(), SystemStatus(plain)) << name;
            EXPECT_EQ(WideName(name.c_str(), Devices::Taken).Status(), SystemStatus(taken)) << name;
        }
    }
}

/// What the system gives of a link: its paths lie anywhere behind the head.
static std::string ReparsePoint(unsigned long tag, const std::wstring& substitute,
                                const std::wstring& print) {
    const auto bytes = [](const std::wstring& text) {
        return static_cast<unsigned short>(2 * text.size());
    };
    const unsigned short head[] = {0, 0, bytes(print), bytes(substitute), 0, bytes(print)};
    std::string data(reinterpret_cast<const char*>(&tag), 4);
    data.append(reinterpret_cast<const char*>(head), sizeof head);
    data.append(tag == IO_REPARSE_TAG_SYMLINK ? 4 : 0, '\0');
    const std::wstring paths = print + substitute;
    return data.append(reinterpret_cast<const char*>(paths.data()), bytes(paths));
}

TEST(ReparsePoint, LinksLeadWhereTheirMakersSaid) {
    constexpr auto kLink = IO_REPARSE_TAG_SYMLINK, kMount = IO_REPARSE_TAG_MOUNT_POINT;
    std::string beyond = ReparsePoint(kLink, L"a", L"a");
    beyond[12] = '\x7F';  // where the path for display starts
    const struct {
        std::string data;
        bool isLink;
        std::wstring expected;
    } rows[] = {
        {ReparsePoint(kLink, LR"(\??\C:\folder\a)", LR"(C:\folder\a)"), true, LR"(C:\folder\a)"},
        {ReparsePoint(kLink, LR"(..\a)", LR"(..\a)"), true, LR"(..\a)"},
        {ReparsePoint(kLink, LR"(\??\C:\a)", L""), true, LR"(C:\a)"},
        {ReparsePoint(kMount, LR"(\??\C:\a\)", L""), true, LR"(C:\a\)"},
        {ReparsePoint(kLink, LR"(\??\UNC\server\a)", L""), true, LR"(\\server\a)"},
        {ReparsePoint(kMount, LR"(\??\Volume{1}\)", LR"(D:\b)"), true, LR"(D:\b)"},
        {ReparsePoint(IO_REPARSE_TAG_DEDUP, L"a", L"a"), false, L"untouched"},
        {beyond, false, L"untouched"},
    };
    for (const auto& row : rows) {
        std::wstring target = L"untouched";
        EXPECT_EQ(LinkTarget(row.data.data(), row.data.size(), target), row.isLink) << &row - rows;
        EXPECT_EQ(target, row.expected) << &row - rows;
        for (std::size_t size = 0; size < 16; ++size) {
            EXPECT_FALSE(LinkTarget(row.data.data(), size, target)) << size << " bytes of a head";
        }
    }
}
