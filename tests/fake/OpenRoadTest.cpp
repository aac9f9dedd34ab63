#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kelFile.h"
#include "kelStatus.h"
#include "support/FakePlatform.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"

using zukel::test::FaultReach;
using zukel::test::Faults;
using zukel::test::FaultSource;
using zukel::test::TemporaryDirectory;
using zukel::test::UnderFaults;
using zukel::test::UseFakePlatform;

namespace {

/// The road of `Open` in a process on a single-byte code page: an ASCII name stands for itself in
/// UTF-16, and the short path of every name is `shortPath`.
class OpenRoad : public testing::Test {
public:
    OpenRoad() {
        platform.multibyteCodePage = [this] { return codePage; };
        platform.utf8ToUtf16 = [this](const std::string& text, char16_t* buffer, int capacity) {
            if (buffer != nullptr) {
                std::copy(text.begin(), text.end(), buffer);
                EXPECT_EQ(capacity, static_cast<int>(text.size()));
            }
            return units != -1 ? units : static_cast<int>(text.size());
        };
        platform.shortPath = [this](const char16_t* path, char16_t* buffer, unsigned capacity) {
            asked = path;
            if (buffer == nullptr) {
                return measured;
            }
            EXPECT_EQ(capacity, measured);
            std::copy(shortPath.begin(), shortPath.end(), buffer);
            return fetched;
        };
        SetShortPath(directory.Write("SHORT~1", "by the short name"));
        directory.Write("long name", "by the caller's name");
    }

    void SetShortPath(const std::string& path) {
        shortPath.assign(path.begin(), path.end());
        fetched = static_cast<unsigned>(shortPath.size());
        measured = fetched + 1;
    }

    /// Opens "long name" and gives what the file said, or "" when it did not open.
    std::string Opened() {
        char line[64] = "";
        const std::string name = directory / "long name";
        status = file.Open(name, kelFile::ModeRead);
        if (status == kelStatusOk) {
            EXPECT_EQ(file.GetFileName(), name) << "never the short name";
            file.ReadLine(line, sizeof line);
        } else {
            EXPECT_EQ(file.GetFileName(), "");
            EXPECT_FALSE(file.IsOpen());
        }
        return line;
    }

    const TemporaryDirectory directory;
    UseFakePlatform platform;
    int codePage = 0;
    int units = -1;  ///< What the conversion answers; -1 for the truth.
    std::u16string shortPath;
    unsigned measured = 0;
    unsigned fetched = 0;
    std::u16string asked;
    kelFile file;
    int status = 0;
};

TEST_F(OpenRoad, ExistingFile_OpensByItsShortNameAndKeepsTheCallersName) {
    EXPECT_EQ(Opened(), "by the short name");
    const std::string name = directory / "long name";
    EXPECT_EQ(asked, std::u16string(name.begin(), name.end())) << "with its terminator";
    const std::string converts = "Utf8ToUtf16 " + name;
    EXPECT_EQ(platform.calls, (std::vector<std::string>{"MultibyteCodePage", converts, converts,
                                                        "ShortPath", "ShortPath"}));
}

TEST_F(OpenRoad, MultibyteCodePage_MakesNoConversion) {
    codePage = 932;
    EXPECT_EQ(Opened(), "by the caller's name");
    EXPECT_EQ(platform.calls, std::vector<std::string>{"MultibyteCodePage"});
}

TEST_F(OpenRoad, EachTestThatFails_LeadsToTheCallersName) {
    const std::vector<std::pair<const char*, void (*)(OpenRoad&)>> cases = {
        {"not convertible", [](OpenRoad& road) { road.units = 0; }},
        {"more units than bytes", [](OpenRoad& road) { road.units = 1000; }},
        {"no short path", [](OpenRoad& road) { road.measured = 0; }},
        {"the short path cannot be fetched", [](OpenRoad& road) { road.fetched = 0; }},
        {"the short path has grown since",
         [](OpenRoad& road) { road.fetched = road.measured + 7; }},
    };
    for (const auto& [why, fail] : cases) {
        units = -1;
        SetShortPath(directory / "SHORT~1");
        fail(*this);
        EXPECT_EQ(Opened(), "by the caller's name") << why;
    }
}

TEST_F(OpenRoad, NoMemoryForOneOfTheTexts_LeadsToTheCallersName) {
    const std::string name = directory / "long name";
    const std::string shortened = directory / "SHORT~1";
    std::vector<std::string> roads;
    for (bool struck = true; struck;) {
        const Faults fault(FaultSource::Memory, static_cast<int>(roads.size()) + 2,
                           FaultReach::Once);
        EXPECT_EQ(UnderFaults([&] { return file.Open(name, kelFile::ModeRead); }), kelStatusOk);
        char line[64] = "";
        EXPECT_EQ(file.ReadLine(line, sizeof line), kelStatusOk);
        roads.emplace_back(line);
        struck = fault.Struck();
    }
    ASSERT_EQ(roads.size(), 4U) << "the wide name, the short path and the narrow name take memory";
    EXPECT_EQ(std::count(roads.begin(), roads.end() - 1, "by the caller's name"), 3);
    EXPECT_EQ(roads.back(), "by the short name");
}

TEST_F(OpenRoad, FailureByTheShortName_IsFinal) {
    SetShortPath(directory / "gone");
    EXPECT_EQ(Opened(), "");
    EXPECT_EQ(status, kelStatusNotFound);
}

TEST_F(OpenRoad, UnitsAboveAByte_LoseTheirUpperHalf) {
    shortPath[shortPath.size() - 7] |= 0x100;  // the S of SHORT~1
    EXPECT_EQ(Opened(), "by the short name");
    shortPath.back() = 0x20AC;  // no longer the name of a file
    EXPECT_EQ(Opened(), "");
    EXPECT_EQ(status, kelStatusNotFound);
}

TEST_F(OpenRoad, EmptyName_GoesToTheRuntimeAsItIs) {
    EXPECT_EQ(file.Open("", kelFile::ModeRead), kelStatusNotFound);
    EXPECT_EQ(platform.calls, (std::vector<std::string>{"MultibyteCodePage", "Utf8ToUtf16 "}));
}

}  // namespace
