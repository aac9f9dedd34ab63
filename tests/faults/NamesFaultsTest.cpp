#include <gtest/gtest.h>

#include <functional>
#include <set>

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

TEST(NamesFaults, Surroundings_AnyCallFails_GivesTheStatusAndNoText) {
    using Call = std::function<int(kelLibrary&, zuString&)>;
    const std::pair<int, Call> operations[] = {
        {kelStatusNoUser, &kelLibrary::GetCurrentUserName},
        {kelStatusNoUser, &kelLibrary::GetUserDirectory},
        {kelStatusFailed, &kelLibrary::GetHostName},
        {kelStatusNoVariable,
         [](auto& library, auto& text) { return library.GetEnvironmentVariable(text, "PATH"); }},
        {kelStatusNoVariable,
         [](auto& library, auto& text) {
             const int status = library.SetEnvironmentVariable("ZUKEL_FAULTS", "");
             text = status == kelStatusOk ? "set" : text;
             return status;
         }},
        {kelStatusFailed,
         [](auto& library, auto& text) {
             const zuString directory = library.GetTempDir();
             text = directory.empty() ? text : directory;
             return directory.empty() ? kelStatusFailed : kelStatusOk;
         }},
    };
    for (const auto& [failure, call] : operations) {
        for (const FaultSource source : kRuntimeAndMemory) {
            WalkFaults("an operation", source, [&, failed = failure, &made = call] {
                zuString text = "untouched";
                const int status = UnderFaults([&] {
                    kelLibrary library;
                    return made(library, text);
                });
                EXPECT_TRUE(status == kelStatusOk || status == failed) << status;
                EXPECT_EQ(text == "untouched", status != kelStatusOk) << text;
                return OutcomeOf(status == kelStatusOk);
            });
        }
    }
    for (const FaultSource source : {FaultSource::System, FaultSource::Runtime}) {
        WalkFaults("GetLocale", source, [] {
            UnderFaults([] { kelLibrary().GetLocale(); });
            return Outcome::Succeeded;  // null or a text: this machine's matter
        });
    }
}

TEST(NamesFaults, Names_AnyCallFails_StayAsTheyAre) {
    const kelLibrary alive;
    const zuString home = kelLibrary::GetAbsoluteFileName("~");
    const zuString path = kelLibrary::GetAbsoluteFileName("$PATH");
    const std::set<zuString> known = {"~/$PATH", "~/" + path, home + "/$PATH", home + "/" + path};
    for (const FaultSource source : kRuntimeAndMemory) {
        WalkFaults("GetAbsoluteFileName", source, [&] {
            const auto name =
                UnderFaults([] { return kelLibrary::GetAbsoluteFileName("~/$PATH"); });
            EXPECT_EQ(known.count(name), 1U) << name;
            return OutcomeOf(name == home + "/" + path);
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
