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
    contents.resize(200000);
    const std::string name = directory.Write(kOddName, contents);
    for (const auto& [place, size, fits] : Table<3>(R"(
             0 200000 yes      0 0 yes           200000 0 yes        1 1 yes        4095 2 yes
             4096 4096 yes     65535 70000 yes   65536 5 yes         131073 68927 yes
             1 200000 no       200001 0 no       131072 68929 no     -1 1 no
             0 18446744073709551615 no           1 18446744073709551615 no
             9223372036854775807 1 no            -9223372036854775808 0 no)")) {
        const long long offset = std::stoll(place);
        const unsigned long long length = std::stoull(size), start = std::stoull(place);
        for (const auto access : {kReadOnly, kWritable}) {
            SCOPED_TRACE(size + " bytes at " + place);
            kelMappedFile file;
            EXPECT_EQ(file.Open(name, access, offset, length), fits == "yes" ? kOk : kFailed);
            EXPECT_EQ(file.IsOpen(), fits == "yes");
            EXPECT_EQ(file.GetAddress() == nullptr, fits == "no" || length == 0);
            EXPECT_TRUE(Shown(file) == (fits == "yes" ? contents.substr(start, length) : ""));
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
