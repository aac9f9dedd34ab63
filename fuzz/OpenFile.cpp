// An open file beside a model of it: a text and a position.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <type_traits>

#include "Oracles.h"
#include "kelFile.h"
#include "kelProcess.h"

namespace zukel::fuzz {

namespace {

namespace fs = std::filesystem;

/// Takes numbers from the front of a text; zeros when it is used up.
class Input {
public:
    explicit Input(const std::string& bytes) : bytes_(bytes) {}
    bool IsUsedUp() const { return at_ >= bytes_.size(); }
    template <typename T>
    T Take() {
        T number{};
        bytes_.copy(reinterpret_cast<char*>(&number), sizeof number, std::min(at_, bytes_.size()));
        at_ += sizeof number;
        return number;
    }
    /// Mostly small, at times more than half a buffer.
    std::size_t TakeSize() {
        const std::size_t size = Take<std::uint16_t>();
        return size % 5 == 0 ? size % 9001 : size % 61;
    }

private:
    const std::string& bytes_;
    std::size_t at_ = 0;
};

/// Letters, and some ends of lines.
std::string SomeText(std::size_t size, unsigned seed) {
    std::minstd_rand random(seed + 1);
    std::string text(size, '\0');
    std::generate(text.begin(), text.end(), [&] {
        return random() % 30 == 0 ? "\r\n"[random() % 2] : static_cast<char>('a' + random() % 26);
    });
    return text;
}

struct Model {
    std::string content;
    bool appends, buffered;
    std::size_t position = 0;
    bool hasEnded = false;  ///< Whether a read has reached the end since the last seek.

    std::string Part(std::size_t place, std::size_t size) const {
        return content.substr(std::min(place, content.size()), size);
    }
    std::string Read(std::size_t size) {
        const std::string bytes = Part(position, size);
        position += bytes.size();
        return bytes;
    }
    std::string ReadLine(std::size_t size) {
        const std::size_t feed = std::min(content.find('\n', position), content.size());
        return Read(std::min(size, std::max(feed, position) + 1 - position));
    }
    void WriteAt(std::size_t place, const std::string& bytes) {
        if (!bytes.empty()) {
            content.resize(std::max(content.size(), place + bytes.size()));
            content.replace(place, bytes.size(), bytes);
        }
    }
    std::size_t WritePlace() const { return appends ? content.size() : position; }
    void Write(const std::string& bytes) {
        if (!bytes.empty()) {
            position = WritePlace();
            WriteAt(position, bytes);
            position += bytes.size();
        }
    }
    void Seek(std::size_t place) {
        position = place;
        hasEnded = false;
    }
};

/// Makes operations on a file and on its model, up to the first on which they disagree.
class Comparison {
public:
    Comparison(kelFile& file, Model& model) : file_(file), model_(model) {}

    /// Makes the operation that the input says; values twice as often, of which there are many.
    void Step(Input& input) {
        static constexpr void (Comparison::*kOperations[])(Input&) = {
            &Comparison::Read,      &Comparison::ReadLine, &Comparison::Write,
            &Comparison::WriteLine, &Comparison::SeekTo,   &Comparison::SeekToEnd,
            &Comparison::ReadAt,    &Comparison::WriteAt,  &Comparison::SetLength,
            &Comparison::Flush,     &Comparison::Value,    &Comparison::Value};
        ++count_;
        (this->*kOperations[input.Take<std::uint8_t>() % std::size(kOperations)])(input);
        long long position = -1, length = -1;
        Same("the end met", file_.EndOfFile(), model_.hasEnded);
        Succeeds("GetPosition", file_.GetPosition(position));
        Same("the position", position, static_cast<long long>(model_.position));
        Succeeds("GetLength", file_.GetLength(length));
        Same("the length", length, static_cast<long long>(model_.content.size()));
    }
    const std::string& Disagreement() const { return disagreement_; }

private:
    template <typename T>
    void Same(const std::string& what, const T& actual, const T& expected) {
        if (disagreement_.empty() && !(actual == expected)) {
            std::ostringstream text;
            text << "operation " << count_ << ": " << what << " is [" << actual << "], not ["
                 << expected << "]";
            disagreement_ = text.str();
        }
    }
    void Succeeds(const std::string& what, int status, bool succeeds = true) {
        Same("the status of " + what, status, int{succeeds ? kelStatusOk : kelStatusFailed});
    }

    /// The block operations for each type of a pointer, which has no effect.
    struct Block {
        int (Comparison::*read)(char*, unsigned long long&);
        int (Comparison::*write)(const char*, unsigned long long&);
    };
    template <typename T>
    int ReadAs(char* to, unsigned long long& size) {
        return file_.Read(reinterpret_cast<T*>(to), size);
    }
    template <typename T>
    int WriteAs(const char* from, unsigned long long& size) {
        return file_.Write(reinterpret_cast<const T*>(from), size);
    }
    template <typename T>
    static constexpr Block kBlock = {&Comparison::ReadAs<T>, &Comparison::WriteAs<T>};
    static Block PickBlock(Input& input) {
        static constexpr Block kBlocks[] = {
            kBlock<char>,  kBlock<short>,        kBlock<unsigned short>, kBlock<wchar_t>,
            kBlock<int>,   kBlock<unsigned int>, kBlock<long>,           kBlock<unsigned long>,
            kBlock<float>, kBlock<double>};
        return kBlocks[input.Take<std::uint8_t>() % std::size(kBlocks)];
    }

    /// Wine 8 moves the position of an appending file even if it is to write nothing.
    std::string TakeText(Input& input) const {
        return SomeText(input.TakeSize() + (model_.appends ? 1 : 0), count_);
    }
    void Read(Input& input) {
        std::string room(input.TakeSize() + 1, '#');
        unsigned long long size = room.size();
        const int status = (this->*PickBlock(input).read)(room.data(), size);
        // Without a buffer the system may give less.
        const std::string expected = model_.Read(model_.buffered ? room.size() : size);
        Succeeds("Read", status, !expected.empty());
        Same("what was read", room.substr(0, size), expected);
        model_.hasEnded |= expected.size() < (model_.buffered ? room.size() : 1);
    }
    void ReadLine(Input& input) {
        std::string room(input.TakeSize() + 1, '#');
        const std::string line = model_.ReadLine(room.size() - 1);
        const int status = file_.ReadLine(room.data(), room.size());
        Succeeds("ReadLine", status, !line.empty() || room.size() == 1);
        Same("the line", room.substr(0, line.size() + 1), line + '\0');
        model_.hasEnded |= line.size() + 1 < room.size() && (line.empty() || line.back() != '\n');
    }
    void Write(Input& input) {
        const std::string text = TakeText(input);
        unsigned long long size = text.size();
        Succeeds("Write", (this->*PickBlock(input).write)(text.data(), size));
        Same("a whole write", size >= text.size() || !model_.buffered, true);
        model_.Write(text.substr(0, size));
    }
    void WriteLine(Input& input) {
        const std::string text = TakeText(input);
        Succeeds("WriteLine", file_.WriteLine(text.c_str()));
        model_.Write(text);
    }
    void SeekTo(Input& input) {
        const std::size_t place = input.Take<std::uint16_t>() % 12000;
        Succeeds("SeekTo", file_.SeekTo(static_cast<long long>(place)));
        model_.Seek(place);
    }
    void SeekToEnd(Input&) {
        Succeeds("SeekToEnd", file_.SeekToEnd());
        model_.Seek(model_.content.size());
    }
    void ReadAt(Input& input) {
        const std::size_t place = input.Take<std::uint16_t>() % 12000;
        std::string room(input.TakeSize(), '#');
        unsigned long long size = room.size();
        Succeeds("ReadAt", file_.ReadAt(static_cast<long long>(place), room.data(), size));
        Same("what was read", room.substr(0, size), model_.Part(place, room.size()));
    }
    void WriteAt(Input& input) {
        const std::size_t place = input.Take<std::uint16_t>() % 12000;
        const std::string text = TakeText(input);
        unsigned long long size = text.size();
        const int status = file_.WriteAt(static_cast<long long>(place), text.data(), size);
        Succeeds("WriteAt", status, !model_.appends);
        model_.WriteAt(place, text.substr(0, size));
    }
    void SetLength(Input& input) {
        const std::size_t length = input.Take<std::uint16_t>() % 12000;
        Succeeds("SetLength", file_.SetLength(static_cast<long long>(length)));
        model_.content.resize(length);
    }
    /// And a seek that fails, which moves nothing and hides that the end was met.
    void Flush(Input&) {
        Succeeds("SeekTo -1", file_.SeekTo(-1), false);
        Same("the end met", file_.EndOfFile(), false);
        model_.hasEnded = false;
        Succeeds("Flush", file_.Flush());
    }
    void Value(Input& input) {
        static constexpr void (Comparison::*kTypes[])(bool, std::int64_t) = {
            &Comparison::ValueOf<char>,
            &Comparison::ValueOf<short>,
            &Comparison::ValueOf<unsigned short>,
            &Comparison::ValueOf<wchar_t, std::uint16_t>,
            &Comparison::ValueOf<int>,
            &Comparison::ValueOf<unsigned int>,
            &Comparison::ValueOf<long, std::int32_t>,
            &Comparison::ValueOf<unsigned long, std::uint32_t>,
            &Comparison::ValueOf<float>,
            &Comparison::ValueOf<double>};
        const std::size_t kind = input.Take<std::uint8_t>();
        const auto bits = input.Take<std::int64_t>() >> (input.Take<std::uint8_t>() % 64);
        (this->*kTypes[kind / 2 % std::size(kTypes)])(kind % 2 == 0, bits);
    }
    /// Writes or reads a value that is stored as another type. Without a buffer the system may take
    /// or give a part of it.
    template <typename T, typename Stored = T>
    void ValueOf(bool writes, std::int64_t bits) {
        T value;
        if constexpr (std::is_floating_point_v<T>) {
            value = static_cast<T>(bits);  // the 80387 changes what is no number
        } else {
            std::memcpy(&value, &bits, sizeof value);
        }
        const auto stored = static_cast<Stored>(value);
        const bool fits = !writes || std::is_same_v<T, Stored> || static_cast<T>(stored) == value;
        const std::string before(reinterpret_cast<const char*>(&value), sizeof value);
        const int status = writes ? file_.Write(value) : file_.Read(value);
        const std::string after(reinterpret_cast<const char*>(&value), sizeof value);
        long long position = -1;
        Succeeds("GetPosition", file_.GetPosition(position));
        const std::size_t from = writes && fits ? model_.WritePlace() : model_.position;
        const std::size_t moved = static_cast<std::size_t>(position) - from;
        if (writes) {
            const std::string bytes(reinterpret_cast<const char*>(&stored), sizeof stored);
            Succeeds("Write of a value", status, fits);
            Same("a whole value", !fits || (model_.buffered ? moved == bytes.size() : moved > 0),
                 true);
            model_.Write(bytes.substr(0, moved));
            Succeeds("Flush", file_.Flush());  // after a refusal EndOfFile knows nothing
            return;
        }
        const std::string bytes = model_.Read(model_.buffered ? sizeof stored : moved);
        std::string expected = bytes + before.substr(bytes.size());
        if (bytes.size() == sizeof stored && !std::is_same_v<T, Stored>) {
            Stored whole;
            bytes.copy(reinterpret_cast<char*>(&whole), sizeof whole);
            const auto wide = static_cast<T>(whole);
            expected.assign(reinterpret_cast<const char*>(&wide), sizeof wide);
        }
        Succeeds("Read of a value", status, !bytes.empty());
        Same("the value", after, expected);
        model_.hasEnded |= bytes.size() < (model_.buffered ? sizeof stored : 1);
    }

    kelFile& file_;
    Model& model_;
    unsigned count_ = 0;
    std::string disagreement_;
};

}  // namespace

std::string CheckOpenFile(const std::string& bytes) {
    static const std::string name = (fs::temp_directory_path() / "zukel-open-file-").string() +
                                    std::to_string(kelProcess::GetCurrentProcessPid());
    Input input(bytes);
    const unsigned kind = input.Take<std::uint8_t>();
    Model model{SomeText(input.TakeSize(), kind), (kind & 1U) != 0, (kind & 2U) != 0};
    std::ofstream(name, std::ios::binary) << model.content;
    std::string disagreement;
    {
        kelFile file(name, kelFile::ModeRead | kelFile::ModeWrite |
                               (model.appends ? kelFile::ModeAppend : 0) |
                               (model.buffered ? kelFile::ModeBuffered : 0));
        Comparison comparison(file, model);
        while (!input.IsUsedUp() && comparison.Disagreement().empty()) {
            comparison.Step(input);
        }
        disagreement = comparison.Disagreement();
    }
    std::ostringstream content;
    content << std::ifstream(name, std::ios::binary).rdbuf();
    fs::remove(name);
    return disagreement.empty() && content.str() != model.content
               ? "the file has " + std::to_string(content.str().size()) + " bytes or other ones"
               : disagreement;
}

}  // namespace zukel::fuzz
