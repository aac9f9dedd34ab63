// LevelDB on the environment of examples/leveldbenv: writers that are killed.

#include <map>

#include "support/Testing.h"

using namespace zukel::test;

using Pairs = std::vector<std::pair<std::string, std::string>>;

/// Lines of a key and a value: few keys, so that values are replaced, and values of any length,
/// each of them once.
static std::string SomeLines(std::mt19937& random, int round) {
    std::ostringstream lines;
    for (int number = 0; number < 2000; ++number) {
        lines << "key" << random() % 200 << ' ' << round << '.' << number
              << std::string(random() % 1500, 'v') << '\n';
    }
    return lines.str();
}

/// The lines of a text, as a key and what follows the space.
static Pairs Lines(const std::string& text) {
    Pairs lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        const std::string key = line.substr(0, line.find(' '));
        lines.emplace_back(key, line.erase(0, key.size() + 1));
    }
    return lines;
}

TEST(LevelDB, KilledWriters_LoseNothingThatTheyHaveConfirmed) {
    const char* const given = std::getenv("ZUKEL_SEED");
    const unsigned seed = given != nullptr ? unsigned(std::atoi(given)) : std::random_device()();
    SCOPED_TRACE("ZUKEL_SEED=" + std::to_string(seed));
    std::mt19937 random(seed);
    const TemporaryDirectory directory;
    kelProcessOptions load, list;
    load.command = list.command = ZUKEL_LEVELDBENV;
    load.arguments = {directory / "database", "load"};
    list.arguments = {directory / "database", "list"};
    load.input.kind = load.output.kind = kelProcessOptions::StreamFile;
    std::map<std::string, std::string> stored;
    std::size_t all = 0;
    for (int round = 0; round < 100 && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const std::string text = SomeLines(random, round);
        const Pairs values = Lines(text);
        load.input.file = directory.Write("lines", text);
        load.output.file = directory.Write("confirmed");
        kelProcess writer;
        ASSERT_EQ(writer.Start(load), kOk) << writer.GetLastError();
        zuString output, errors;
        int code = -1;
        if (round % 10 == 0) {
            EXPECT_TRUE(Eventually([&] { return fs::file_size(load.output.file) > 0; }));
            EXPECT_EQ(kelProcess::Run(list, "", output, errors, code, -1), kOk);
            EXPECT_EQ(code, 1) << "the writer has it";
        }
        kelTime::Sleep(random() % 60000);
        EXPECT_EQ(kelProcess::NativeKill(writer.GetPid()), kOk) << "it has ended by itself";
        EXPECT_EQ(writer.Wait(-1), kOk);
        const Pairs confirmed = Lines(ReadWhole(load.output.file));
        all += confirmed.size();
        for (std::size_t at = 0; at < confirmed.size(); ++at) {
            ASSERT_EQ(confirmed[at].first, values[at].first);
            stored[values[at].first] = values[at].second;
        }
        EXPECT_EQ(kelProcess::Run(list, "", output, errors, code, -1), kOk);
        EXPECT_EQ(code, 0) << errors;
        const Pairs lines = Lines(output);
        std::map<std::string, std::string> found(lines.begin(), lines.end());
        if (confirmed.size() < values.size()) {  // the one behind them may be stored too
            const auto& next = values[confirmed.size()];
            if (found.count(next.first) != 0 && found[next.first] == next.second) {
                stored[next.first] = next.second;
            }
        }
        for (const auto& [key, value] : stored) {
            EXPECT_TRUE(found[key] == value) << key << " is " << found[key].substr(0, 8)
                                             << "..., not " << value.substr(0, 8) << "...";
        }
        EXPECT_EQ(found.size(), stored.size());
    }
    EXPECT_GT(all, 100U) << "the writers were killed before they wrote";
}
