#include "support/Testing.h"

using namespace zukel::test;
using kelMappedFileTest = InDirectory;

constexpr auto kReadOnly = kelMappedFile::ReadOnly, kWritable = kelMappedFile::ReadWrite;

/// What an object shows.
static std::string Shown(const kelMappedFile& file) {
    return {static_cast<const char*>(file.GetAddress()), file.GetSize()};
}

TEST_F(kelMappedFileTest, Parts_AreThoseAskedForWhateverThePage) {
    std::string contents;
    while (contents.size() < 200000) {
        contents += std::to_string(contents.size()) + ' ';
    }
    const unsigned long long all = contents.size();
    const std::string name = directory.Write(kOddName, contents);
    const struct {
        long long offset;
        unsigned long long length;
        bool fits;
    } rows[] = {{0, all, true},
                {0, 0, true},
                {static_cast<long long>(all), 0, true},
                {1, 1, true},
                {4095, 2, true},
                {4096, 4096, true},
                {65535, 70000, true},
                {65536, 5, true},
                {131073, all - 131073, true},
                {1, all, false},
                {static_cast<long long>(all) + 1, 0, false},
                {131072, all - 131071, false},
                {-1, 1, false},
                {0, ~0ULL, false},
                {1, ~0ULL, false},
                {std::numeric_limits<long long>::max(), 1, false},
                {std::numeric_limits<long long>::min(), 0, false}};
    for (const auto& [offset, length, fits] : rows) {
        for (const auto access : {kReadOnly, kWritable}) {
            SCOPED_TRACE(std::to_string(offset) + ", " + std::to_string(length));
            kelMappedFile file;
            EXPECT_EQ(file.Open(name, access, offset, length), fits ? kOk : kFailed);
            EXPECT_EQ(file.IsOpen(), fits);
            EXPECT_EQ(file.GetAddress() == nullptr, !fits || length == 0);
            EXPECT_TRUE(Shown(file) ==
                        (fits ? contents.substr(static_cast<std::size_t>(offset), length) : ""));
        }
    }
    kelMappedFile whole;
    EXPECT_EQ(whole.Open(name, kReadOnly), kOk);
    EXPECT_TRUE(Shown(whole) == contents);
}

TEST_F(kelMappedFileTest, WhatIsWritten_IsInTheFileAndInItsOtherMappings) {
    directory.Write("file", std::string(10000, '.'));
    kelMappedFile reads, writes;
    ASSERT_EQ(reads.Open("file", kReadOnly, 4090, 20), kOk);
    ASSERT_EQ(writes.Open("file", kWritable, 4097, 5), kOk);
    std::memcpy(writes.GetAddress(), "hello", 5);
    EXPECT_EQ(Shown(reads), ".......hello........");
    EXPECT_EQ(writes.Sync(), kOk);
    EXPECT_EQ(reads.Sync(), kOk) << "nothing to do";
    EXPECT_EQ(kelFile::Rename("file", "moved"), kOk);
    EXPECT_EQ(writes.Close(), kOk);
    EXPECT_EQ(ReadWhole("moved"), std::string(4097, '.') + "hello" + std::string(5898, '.'));
}

TEST_F(kelMappedFileTest, Objects_HoldTheMemoryEachForItself) {
    directory.Write("file", "contents"), directory.Write("empty");
    kelMappedFile file;
    EXPECT_FALSE(kelMappedFile(file).IsOpen());
    ASSERT_EQ(file.Open("file", kWritable), kOk);
    kelMappedFile copy(file), assigned;
    assigned = copy;
    assigned = *&assigned;
    EXPECT_EQ(file.Close(), kOk);
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.GetAddress(), nullptr);
    EXPECT_EQ(copy.Close(), kOk);
    EXPECT_EQ(Shown(assigned), "contents");
    EXPECT_EQ(assigned.Open("no", kReadOnly), kelStatusNotFound);
    EXPECT_EQ(Shown(assigned), "contents") << "a failure changes nothing";
    EXPECT_EQ(assigned.Open("empty", kWritable), kOk);
    EXPECT_TRUE(assigned.IsOpen());
    EXPECT_EQ(assigned.GetAddress(), nullptr);
    EXPECT_EQ(assigned.Sync(), kOk);
    assigned = file;
    EXPECT_FALSE(assigned.IsOpen());
    EXPECT_EQ(kelFile::Delete("file"), kOk) << "Windows lets no mapped file go";
}
