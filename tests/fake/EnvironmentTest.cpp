#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "environment/FileNameExpansion.h"
#include "kelFileInfo.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/FakeEnvironment.h"

using zukel::platform::LocaleFact;
using zukel::test::FakeEnvironment;
using Calls = std::vector<std::string>;

namespace {

/// Answers as the platform does: the text, or the size that it needs with its NUL.
unsigned Answer(const std::string& text, char* buffer, unsigned size) {
    if (text.size() >= size) {
        return static_cast<unsigned>(text.size()) + 1;
    }
    std::strcpy(buffer, text.c_str());
    return static_cast<unsigned>(text.size());
}

TEST(LongNameStep, NameWithATilde_IsReplacedByWhateverFits) {
    for (const std::size_t length : {1U, 255U, 256U, 257U, 5000U}) {
        FakeEnvironment platform;
        const std::string longName(length, 'x');
        platform.longName = [&](const std::string&, char* buffer, unsigned size) {
            return Answer(longName, buffer, size);
        };
        EXPECT_EQ(kelLibrary::GetAbsoluteFileName("a\\B~1"), longName);
        Calls expected = {"a/B~1 256"};
        if (length > 255) {
            expected.push_back("a/B~1 " + std::to_string(length + 2));
        }
        EXPECT_EQ(platform.calls, expected);
    }
}

TEST(LongNameStep, NoAnswer_LeavesTheName) {
    const unsigned kAsked = 300;
    for (const unsigned second : {0U, kAsked + 1, kAsked + 100, ~0U}) {
        FakeEnvironment platform;
        EXPECT_EQ(kelLibrary::GetAbsoluteFileName("x/~"), "x/~") << "0 at once";
        platform.longName = [&](const std::string&, char*, unsigned size) {
            return size == 256 ? kAsked : second;
        };
        EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~bob/x"), "~bob/x") << second;
        EXPECT_EQ(platform.calls, (Calls{"x/~ 256", "~bob/x 256", "~bob/x 301"}));
        platform.longName = [](const std::string&, char*, unsigned) { return ~0U; };
        EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~1"), "~1");
    }
}

TEST(LongNameStep, TildeFromAVariable_CountsAndNoTildeAsksNothing) {
    FakeEnvironment platform;
    kelLibrary library;
    library.SetEnvironmentVariable("ZUKEL_TILDE", "c~d\\e");
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("$ZUKEL_TILDE/b"), "c~d\\e/b");
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("a/b"), "a/b");
    EXPECT_EQ(platform.calls, (Calls{"Repeat ZUKEL_TILDE=c~d\\e", "c~d\\e/b 256"}));
    EXPECT_EQ(library.SetEnvironmentVariable("", "x"), kelStatusNoVariable);
    EXPECT_EQ(platform.calls.size(), 2U) << "what the runtime has not set is not repeated";
    unsetenv("ZUKEL_TILDE");
}

TEST(Locale, TextsOfThePlatform_AreCutAndJoined) {
    FakeEnvironment platform;
    int answered = 3;
    platform.localeText = [&](LocaleFact fact, char* buffer, int size) {
        EXPECT_EQ(size, 16);
        static const char* const texts[] = {"ENU", "USA", "1252"};
        return static_cast<int>(fact) < answered
                   ? static_cast<int>(Answer(texts[static_cast<int>(fact)], buffer, 16)) + 1
                   : -(static_cast<int>(fact) % 2);  // 0 or less
    };
    const kelLibrary library;
    const char* const locale = library.GetLocale();
    EXPECT_STREQ(locale, "en_US.1252");
    EXPECT_EQ(platform.calls,
              (Calls{"ThreadLocale", "LocaleText 0", "LocaleText 1", "LocaleText 2"}));
    EXPECT_NE(library.GetLocale(), locale) << "a text of its own for each call";
    EXPECT_STREQ(library.GetLocale(), locale);
    while (--answered >= 0) {
        platform.calls.clear();
        EXPECT_EQ(library.GetLocale(), nullptr);
        EXPECT_EQ(platform.calls.size(), 2U + static_cast<std::size_t>(answered));
    }
}

TEST(FileFacts, PartOfTheFacts_AnswersWithoutASecondQuery) {
    FakeEnvironment platform;
    platform.queryFile = [](apr_finfo_t& info, apr_int32_t wanted) {
        EXPECT_EQ(wanted, 0x02038170);
        EXPECT_EQ(info.valid, 0);
        info.valid = APR_FINFO_SIZE | APR_FINFO_GROUP;
        info.size = 7;
        return APR_INCOMPLETE;
    };
    const kelFileInfo info("name");
    EXPECT_EQ(info.GetFileName(), "name");
    EXPECT_EQ(platform.calls, Calls{}) << "nothing is asked for the parts of a name";
    EXPECT_EQ(info.GetSize(), 7);
    EXPECT_EQ(info.GetGroupId(), 0);
    EXPECT_EQ(info.GetUserId(), -1);
    EXPECT_EQ(info.GetType(), kelFileInfo::NoFile);
    EXPECT_EQ(info.GetCreationTime() + info.GetLastAccessTime() + info.GetLastModifiedTime(), -3);
    EXPECT_EQ(platform.calls, Calls{"QueryFile name"});
}

TEST(FileFacts, FailedQuery_IsMadeAgainByEachAccessor) {
    FakeEnvironment platform;
    const kelFileInfo info("a.b");
    EXPECT_EQ(info.GetPermissions(), -1);
    EXPECT_EQ(info.GetSize(), -1);
    EXPECT_EQ(info.GetFileExtension(), "b");
    EXPECT_EQ(kelFileInfo("").GetFileExtension(), "");
    EXPECT_EQ(platform.calls, (Calls{"QueryFile a.b", "QueryFile a.b", "QueryFile a.b"}));
}

TEST(FileFacts, Permissions_AreAskedApartUntilTheyCome) {
    FakeEnvironment platform;
    platform.queryFile = [](apr_finfo_t& info, apr_int32_t) {
        info.valid = APR_FINFO_SIZE;
        return APR_SUCCESS;
    };
    const kelFileInfo info("name");
    for (const apr_status_t status : {APR_ENOENT, APR_INCOMPLETE}) {
        platform.queryPermissions = [&](apr_finfo_t& asked) {
            asked.protection = 0x777;
            return status;
        };
        EXPECT_EQ(info.GetPermissions(), 0) << "the word as the query left it";
    }
    platform.queryPermissions = [](apr_finfo_t& asked) {
        asked.protection = 0x640;
        return APR_SUCCESS;
    };
    for (int count = 0; count < 3; ++count) {
        EXPECT_EQ(info.GetPermissions(), 0x640);
    }
    EXPECT_EQ(platform.calls, (Calls{"QueryFile name", "QueryPermissions name",
                                     "QueryPermissions name", "QueryPermissions name"}));
}

}  // namespace
