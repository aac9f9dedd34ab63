// The jobs by GLib, GModule and GIO.

#include <benchmark/benchmark.h>
#include <gio/gio.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <gmodule.h>

#include <string>
#include <type_traits>
#include <vector>

#include "Peer.h"
#include "Work.h"

namespace {

struct Release {
    template <typename T>
    void operator()(T* object) const {
        if constexpr (std::is_same_v<T, char>) {
            g_free(object);
        } else {
            g_object_unref(object);
        }
    }
};
template <typename T>
using Held = std::unique_ptr<T, Release>;

Held<GFile> At(const std::string& name) {
    return Held<GFile>(g_file_new_for_path(name.c_str()));
}

void List(benchmark::State& state) {
    const std::string& directory = Work::Get().Directory(state.range(0));
    for (auto _ : state) {
        std::vector<std::string> names;
        GDir* const open = g_dir_open(directory.c_str(), 0, nullptr);
        while (const char* const name = g_dir_read_name(open)) {
            names.emplace_back(name);
        }
        g_dir_close(open);
        benchmark::DoNotOptimize(names);
    }
}
BENCHMARK(List)->Name("ListNames/glib")->Arg(100)->Arg(10000)->Arg(100000);

bool Remove(const std::string& path) {
    return g_rmdir(path.c_str()) == 0;
}
BENCHMARK_CAPTURE(
    MakeAndRemove, , [](const auto& path) { return g_mkdir(path.c_str(), 0777) == 0; }, Remove)
    -> Name("MakeAndRemove/glib");
BENCHMARK_CAPTURE(
    MakeFiveLevels, ,
    [](const auto& path) { return g_mkdir_with_parents(path.c_str(), 0777) == 0; }, Remove)
    -> Name("MakeFiveLevels/glib");

Held<GInputStream> OpenFile(const std::string& name) {
    GFileInputStream* const file = g_file_read(At(name).get(), nullptr, nullptr);
    Must(file != nullptr);
    return Held<GInputStream>(G_INPUT_STREAM(file));
}

/// Its way to write a file makes another one and renames it, unless the file is new or told not to.
Held<GOutputStream> CreateFile(const std::string& name) {
    GFileOutputStream* const file = g_file_replace(
        At(name).get(), nullptr, FALSE, G_FILE_CREATE_REPLACE_DESTINATION, nullptr, nullptr);
    Must(file != nullptr);
    return Held<GOutputStream>(G_OUTPUT_STREAM(file));
}

void Open(benchmark::State& state) {
    const std::string name = Work::Get().Small();
    for (auto _ : state) {
        Must(g_input_stream_close(OpenFile(name).get(), nullptr, nullptr) != 0);
    }
}
BENCHMARK(Open)->Name("OpenClose/glib");

void Create(benchmark::State& state) {
    const std::string name = Work::Get().Target();
    const std::string text = "created, written and closed\n";
    for (auto _ : state) {
        const Held<GOutputStream> file = CreateFile(name);
        gsize written = 0;
        g_output_stream_write_all(file.get(), text.data(), text.size(), &written, nullptr, nullptr);
        Must(g_output_stream_close(file.get(), nullptr, nullptr) != 0);
    }
}
BENCHMARK(Create)->Name("CreateWriteClose/glib");

void WriteValues(benchmark::State& state) {
    for (auto _ : state) {
        const Held<GOutputStream> file = CreateFile(Work::Get().Target());
        const Held<GOutputStream> buffered(g_buffered_output_stream_new(file.get()));
        for (int value = 0; value < Work::kValues; ++value) {
            g_output_stream_write(buffered.get(), &value, sizeof value, nullptr, nullptr);
        }
        Must(g_output_stream_close(buffered.get(), nullptr, nullptr) != 0);
    }
}
BENCHMARK(WriteValues)->Name("WriteMillionValues/glib")->Unit(benchmark::kMillisecond);

void ReadValues(benchmark::State& state) {
    for (auto _ : state) {
        const Held<GInputStream> file = OpenFile(Work::Get().Large());
        const Held<GInputStream> buffered(g_buffered_input_stream_new(file.get()));
        int value = 0;
        for (int count = 0; count < Work::kValues; ++count) {
            g_input_stream_read(buffered.get(), &value, sizeof value, nullptr, nullptr);
            benchmark::DoNotOptimize(value);
        }
    }
}
BENCHMARK(ReadValues)->Name("ReadMillionValues/glib")->Unit(benchmark::kMillisecond);

void ReadBlocks(benchmark::State& state) {
    std::vector<char> block(Work::kBlock);
    for (auto _ : state) {
        const Held<GInputStream> file = OpenFile(Work::Get().Large());
        while (g_input_stream_read(file.get(), block.data(), block.size(), nullptr, nullptr) > 0) {
        }
    }
}
BENCHMARK(ReadBlocks)->Name("Read64MiBInBlocks/glib")->Unit(benchmark::kMillisecond);

void ReadLines(benchmark::State& state) {
    for (auto _ : state) {
        const Held<GInputStream> file = OpenFile(Work::Get().Lines());
        const Held<GDataInputStream> lines(g_data_input_stream_new(file.get()));
        while (Held<char>(g_data_input_stream_read_line(lines.get(), nullptr, nullptr, nullptr)) !=
               nullptr) {
        }
    }
}
BENCHMARK(ReadLines)->Name("ReadMillionLines/glib")->Unit(benchmark::kMillisecond);

void Copy(benchmark::State& state, const std::string& (Work::*source)()) {
    RepeatCopy(state, source, [](const auto& from, const auto& to) {
        return g_file_copy(At(from).get(), At(to).get(), G_FILE_COPY_OVERWRITE, nullptr, nullptr,
                           nullptr, nullptr) != 0;
    });
}
BENCHMARK_CAPTURE(Copy, , &Work::SixteenMiB)->Name("Copy16MiB/glib")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, , &Work::FourThousand)->Name("CopySmall/glib");

BENCHMARK_CAPTURE(ThereAndBack, , [](const auto& from, const auto& to) {
    return g_rename(from.c_str(), to.c_str()) == 0;
}) -> Name("Rename/glib");
bool Exists(const std::string& name) {
    return g_file_test(name.c_str(), G_FILE_TEST_EXISTS) != 0;
}
BENCHMARK_CAPTURE(Ask, , true, Exists)->Name("Exists/glib");
BENCHMARK_CAPTURE(Ask, , false, Exists)->Name("ExistsNot/glib");

void Normalize(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Held<char>(g_canonicalize_filename(kLongPath, "/")));
    }
}
BENCHMARK(Normalize)->Name("NormalizePath/glib");

void Facts(benchmark::State& state) {
    const Held<GFile> file = At(kKnownFile);
    for (auto _ : state) {
        const Held<GFileInfo> info(
            g_file_query_info(file.get(), "standard::type,standard::size,time::modified,unix::mode",
                              G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr));
        benchmark::DoNotOptimize(g_file_info_get_size(info.get()));
    }
}
BENCHMARK(Facts)->Name("FileFacts/glib");

void ReadVariable(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::string(g_getenv("PATH")));
    }
}
BENCHMARK(ReadVariable)->Name("ReadVariable/glib");

void SetVariable(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(g_setenv("ZUKEL_BENCHMARK_GLIB", "value", TRUE));
    }
}
BENCHMARK(SetVariable)->Name("SetVariable/glib");

void Run(benchmark::State& state) {
    const std::vector<char> memory = Touched(state);
    std::string program = "/bin/true";
    char* arguments[] = {program.data(), nullptr};
    for (auto _ : state) {
        int ended = -1;
        Must(g_spawn_sync(nullptr, arguments, nullptr, G_SPAWN_CHILD_INHERITS_STDIN, nullptr,
                          nullptr, nullptr, nullptr, &ended, nullptr) != 0);
        Must(ended == 0);
    }
}
BENCHMARK(Run)->Name("StartUntilEnded/glib")->Arg(0)->Arg(1024)->UseRealTime();

void Load(benchmark::State& state) {
    for (auto _ : state) {
        GModule* const module = g_module_open(ZUKEL_BENCHMARK_MODULE, GModuleFlags{});
        gpointer answer = nullptr;
        Must(module != nullptr && g_module_symbol(module, "Answer", &answer) != 0);
        benchmark::DoNotOptimize(reinterpret_cast<long long (*)()>(answer)());
        Must(g_module_close(module) != 0);
    }
}
BENCHMARK(Load)->Name("LoadFindUnload/glib");

void Format(benchmark::State& state) {
    GDateTime* const now = g_date_time_new_now_utc();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Held<char>(g_date_time_format(now, "%Y-%m-%d %H:%M:%S")));
    }
    g_date_time_unref(now);
}
BENCHMARK(Format)->Name("Format/glib");

void Counter(benchmark::State& state) {
    static gint counter = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(g_atomic_int_add(&counter, 1));
    }
}
BENCHMARK(Counter)->Name("Counter/glib")->Threads(1)->Threads(2)->UseRealTime();

void Disk(benchmark::State& state) {
    const Held<GFile> file = At("/tmp");
    for (auto _ : state) {
        const Held<GFileInfo> info(
            g_file_query_filesystem_info(file.get(), "filesystem::free", nullptr, nullptr));
        benchmark::DoNotOptimize(g_file_info_get_attribute_uint64(info.get(), "filesystem::free"));
    }
}
BENCHMARK(Disk)->Name("Disk/glib");

}  // namespace
