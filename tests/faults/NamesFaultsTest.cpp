#include <gtest/gtest.h>

#include <functional>

#include "kelDirectory.h"
#include "kelFileInfo.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"

using zukel::test::FaultSource;
using zukel::test::Outcome;
using zukel::test::TemporaryDirectory;
using zukel::test::UnderFaults;
using zukel::test::WalkFaults;

namespace {

constexpr FaultSource kRuntimeAndMemory[] = {FaultSource::Runtime, FaultSource::Memory};

Outcome OutcomeOf(bool succeeded) {
    return succeeded ? Outcome::Succeeded : Outcome::Failed;
}

TEST(NamesFaults, Surroundings_AnyCallFails_LeavesTheArgumentAlone) {
    const struct {
        const char* name;
        int failure;
        std::function<int(kelLibrary&, zuString&)> call;
    } operations[] = {
        {"GetEnvironmentVariable", kelStatusNoVariable,
         [](kelLibrary& library, zuString& text) {
             return library.GetEnvironmentVariable(text, "PATH");
         }},
        {"SetEnvironmentVariable", kelStatusNoVariable,
         [](kelLibrary& library, zuString& text) {
             const int status = library.SetEnvironmentVariable("ZUKEL_FAULTS", "");
             text = status == kelStatusOk ? "" : text;
             return status;
         }},
        {"GetCurrentUserName", kelStatusNoUser,
         [](kelLibrary& library, zuString& text) { return library.GetCurrentUserName(text); }},
        {"GetUserDirectory", kelStatusNoUser,
         [](kelLibrary& library, zuString& text) { return library.GetUserDirectory(text); }},
        {"GetHostName", kelStatusFailed,
         [](kelLibrary& library, zuString& text) { return library.GetHostName(text); }},
        {"GetTempDir", kelStatusFailed,
         [](kelLibrary& library, zuString& text) {
             const zuString directory = library.GetTempDir();
             text = directory.empty() ? text : directory;
             return directory.empty() ? kelStatusFailed : kelStatusOk;
         }},
    };
    for (const auto& operation : operations) {
        for (const FaultSource source : kRuntimeAndMemory) {
            WalkFaults(operation.name, source, [&] {
                zuString text = "untouched";
                int status = kelStatusOk;
                try {
                    status = UnderFaults([&] {
                        kelLibrary library;
                        return operation.call(library, text);
                    });
                } catch (const std::bad_alloc&) {
                    EXPECT_EQ(text, "untouched");
                    throw;
                }
                EXPECT_TRUE(status == kelStatusOk || status == operation.failure) << status;
                EXPECT_EQ(text == "untouched", status != kelStatusOk) << text;
                return OutcomeOf(status == kelStatusOk);
            });
        }
    }
}

TEST(NamesFaults, GetLocale_AnyCallFails_IsNull) {
    for (const FaultSource source : {FaultSource::System, FaultSource::Runtime}) {
        WalkFaults("GetLocale", source, [&] {
            return UnderFaults([] {
                const kelLibrary library;
                library.GetLocale();
                return Outcome::Succeeded;  // null or a text: this machine's matter
            });
        });
    }
}

TEST(NamesFaults, Names_AnyCallFails_StayAsTheyAre) {
    const kelLibrary alive;
    const zuString home = kelLibrary::GetAbsoluteFileName("~");
    for (const FaultSource source : kRuntimeAndMemory) {
        WalkFaults("GetAbsoluteFileName", source, [&] {
            const auto name =
                UnderFaults([] { return kelLibrary::GetAbsoluteFileName("~/$PATH/$PLATFORM"); });
            const zuString path = std::getenv("PATH");
            const zuString platform = zuString("/") + kelLibrary::GetPlatform();
            bool known = false;
            for (const zuString& first : {home, zuString("~")}) {
                for (const zuString& second : {path, zuString("$PATH")}) {
                    known = known || name == first + "/" + second + platform;
                }
            }
            EXPECT_TRUE(known) << name;
            return OutcomeOf(name == home + "/" + path + platform);
        });
        WalkFaults("GetRelativePath", source, [&] {
            const auto way =
                UnderFaults([] { return kelDirectory::GetRelativePath("/usr/bin", "/usr/lib/"); });
            EXPECT_TRUE(way.empty() || way == "./../lib/") << way;
            return OutcomeOf(!way.empty());
        });
    }
}

TEST(NamesFaults, FileFacts_TheQueryFails_GivesTheFailureValue) {
    const TemporaryDirectory directory;
    const std::string name = directory.Write("a file with a name that is not short.text", "text");
    for (const FaultSource source : kRuntimeAndMemory) {
        WalkFaults("kelFileInfo", source, [&] {
            return UnderFaults([&] {
                const kelFileInfo info(name);
                const int size = info.GetSize();
                EXPECT_TRUE(size == -1 || size == 4) << size;
                const int permissions = info.GetPermissions();
                EXPECT_EQ(info.GetFileExtension(), "text");
                return OutcomeOf(size == 4 && permissions != -1);
            });
        });
    }
}

}  // namespace
