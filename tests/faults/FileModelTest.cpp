// Open files beside a model of them, where system calls move fewer bytes than they were asked for
// and signals interrupt them.

#include "support/Faults.h"

using namespace zukel::test;

namespace {

/// A file as a text and a position.
struct Model {
    std::string content;
    bool appends, buffered;
    std::size_t position = 0;
    bool ended = false;  ///< Whether a read has reached the end since the last seek.

    std::string Next(std::size_t size) {
        const std::string bytes = content.substr(std::min(position, content.size()), size);
        position += bytes.size();
        return bytes;
    }
    std::string NextLine(std::size_t size) {
        const std::size_t feed = std::min(content.find('\n', position), content.size());
        return Next(std::min(size, std::max(feed, position) + 1 - position));
    }
    void Put(std::size_t place, const std::string& bytes) {
        content.resize(std::max(content.size(), bytes.empty() ? 0 : place + bytes.size()));
        content.replace(std::min(place, content.size()), bytes.size(), bytes);
    }
    void PutNext(const std::string& bytes) {
        if (!bytes.empty()) {
            position = appends ? content.size() : position;
            Put(position, bytes);
            position += bytes.size();
        }
    }
    void Seek(std::size_t place) {
        position = place;
        ended = false;
    }
};

/// Makes an operation on a file and on its model.
void Operate(const std::string& operation, kelFile& file, Model& model, std::string room,
             const std::string& text, std::size_t place) {
    SCOPED_TRACE(operation);
    const auto offset = static_cast<long long>(place);
    if (operation == "Read") {
        unsigned long long size = room.size();
        const int status = file.Read(room.data(), size);
        const std::string expected = model.Next(model.buffered ? room.size() : size);
        EXPECT_EQ(status, expected.empty() ? kFailed : kOk);
        EXPECT_EQ(room.substr(0, size), expected);
        model.ended |= expected.size() < (model.buffered ? room.size() : 1);
    } else if (operation == "ReadLine") {
        const std::string line = model.NextLine(room.size() - 1);
        const bool taken = !line.empty() || room.size() == 1;
        EXPECT_EQ(file.ReadLine(room.data(), room.size()), taken ? kOk : kFailed);
        EXPECT_EQ(room.substr(0, line.size() + 1), line + '\0');
        model.ended |= line.size() + 1 < room.size() && (line.empty() || line.back() != '\n');
    } else if (operation == "Write") {
        unsigned long long size = text.size();
        EXPECT_EQ(file.Write(text.data(), size), kOk);
        EXPECT_GE(size, model.buffered ? text.size() : 0);
        model.PutNext(text.substr(0, size));
    } else if (operation == "WriteLine") {
        EXPECT_EQ(file.WriteLine(text.c_str()), kOk);
        model.PutNext(text);
    } else if (operation == "SeekTo") {
        EXPECT_EQ(file.SeekTo(offset), kOk);
        model.Seek(place);
    } else if (operation == "SeekToEnd") {
        EXPECT_EQ(file.SeekToEnd(), kOk);
        model.Seek(model.content.size());
    } else if (operation == "SetLength") {
        EXPECT_EQ(file.SetLength(offset), kOk);
        model.content.resize(place);
    } else if (operation == "ReadAt") {
        unsigned long long size = room.size();
        EXPECT_EQ(file.ReadAt(offset, room.data(), size), kOk);
        EXPECT_EQ(room.substr(0, size),
                  model.content.substr(std::min(place, model.content.size()), room.size()));
    } else if (operation == "WriteAt") {
        unsigned long long size = text.size();
        EXPECT_EQ(file.WriteAt(offset, text.data(), size), model.appends ? kFailed : kOk);
        EXPECT_EQ(size, model.appends ? 0 : text.size());
        model.Put(place, model.appends ? "" : text);
    } else {
        EXPECT_EQ(file.SeekTo(-1), kFailed) << "which moves nothing";
        EXPECT_FALSE(file.EndOfFile()) << "which the seek hides";
        model.ended = false;
        EXPECT_EQ(file.Flush(), kOk);
    }
    long long position = -1, length = -1;
    EXPECT_EQ(file.EndOfFile(), model.ended);
    EXPECT_THAT(Statuses({file.GetPosition(position), file.GetLength(length)}), Each(kOk));
    EXPECT_EQ(position, static_cast<long long>(model.position));
    EXPECT_EQ(length, static_cast<long long>(model.content.size()));
}

TEST(FileModel, RandomOperations_AreThoseOfAModel) {
    const TemporaryDirectory directory;
    const std::vector<const char*> operations = {"Read",      "ReadLine",  "Write",  "WriteLine",
                                                 "SeekTo",    "SeekToEnd", "ReadAt", "WriteAt",
                                                 "SetLength", "Flush"};
    std::mt19937 random;
    const auto upTo = [&](std::size_t most) { return random() % (most + 1); };
    const auto someText = [&](std::size_t size) {
        std::string text(size, '\0');
        std::generate(text.begin(), text.end(),
                      [&] { return upTo(30) == 0 ? '\n' : char('a' + upTo(25)); });
        return text;
    };
    const Guard shortened = ShortTransfers([&](std::size_t size) {  // 0 is an interruption
        return upTo(5) == 0 ? 0 : std::max<std::size_t>(1, size * upTo(9) / 9);
    });
    for (const int append : {0, int{kelFile::ModeAppend}}) {
        for (unsigned seed = 0; seed < 300 && !testing::Test::HasFailure(); ++seed) {
            const int mode = append | (seed % 2 == 0 ? 0 : kBuffered);
            SCOPED_TRACE("mode " + std::to_string(mode) + ", seed " + std::to_string(seed));
            random.seed(seed);
            Model model{someText(9000), append != 0, seed % 2 != 0};
            const std::string name = directory.Write("file", model.content);
            kelFile file(name, kReadWrite | mode);
            for (int count = 0; count < 40 && !testing::Test::HasFailure(); ++count) {
                const std::size_t most = upTo(4) == 0 ? 9000 : 60;
                const std::string room(upTo(most) + 1, '#'), text = someText(upTo(most));
                const char* const operation = operations[upTo(operations.size() - 1)];
                const std::size_t place = upTo(12000);
                UnderFaults([&] { Operate(operation, file, model, room, text, place); });
            }
            EXPECT_EQ(UnderFaults([&] { return file.Close(); }), kOk);
            EXPECT_EQ(ReadWhole(name), model.content);
        }
    }
}

}  // namespace
