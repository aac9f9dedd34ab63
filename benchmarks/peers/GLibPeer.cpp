// The jobs by GLib, GModule and GIO.

#include <gio/gio.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <gmodule.h>

#include "Held.h"
#include "Jobs.h"

namespace {

Held<GFile> At(const std::string& name) {
    return Held<GFile>(g_file_new_for_path(name.c_str()));
}

template <bool kBuffered>
struct Reader : Unshared {
    explicit Reader(const std::string& name)
        : stream(G_INPUT_STREAM(g_file_read(At(name).get(), nullptr, nullptr))) {
        MUST(stream != nullptr);
        if (kBuffered) {
            stream.reset(g_buffered_input_stream_new(Held<GInputStream>(stream.release()).get()));
        }
    }
    ~Reader() { MUST(g_input_stream_close(stream.get(), nullptr, nullptr)); }
    std::size_t Read(char* to, std::size_t size) {
        gsize read = 0;
        g_input_stream_read_all(stream.get(), to, size, &read, nullptr, nullptr);
        return read;
    }
    void ReadValue(int& value) {
        g_input_stream_read(stream.get(), &value, sizeof value, nullptr, nullptr);
    }
    Held<GInputStream> stream;
};

/// It gives each line as a text of its own.
struct LineReader : Reader<false> {
    explicit LineReader(const std::string& name)
        : Reader(name), lines(g_data_input_stream_new(stream.get())) {}
    bool Line(char*, std::size_t) {
        return Held<char>(g_data_input_stream_read_line(lines.get(), nullptr, nullptr, nullptr)) !=
               nullptr;
    }
    Held<GDataInputStream> lines;
};

/// Its way to write a file makes another one and renames it, unless the file is new or told not to.
template <bool kBuffered>
struct Writer : Unshared {
    explicit Writer(const std::string& name)
        : stream(G_OUTPUT_STREAM(g_file_replace(At(name).get(), nullptr, FALSE,
                                                G_FILE_CREATE_REPLACE_DESTINATION, nullptr,
                                                nullptr))) {
        MUST(stream != nullptr);
        if (kBuffered) {
            stream.reset(g_buffered_output_stream_new(Held<GOutputStream>(stream.release()).get()));
        }
    }
    ~Writer() { MUST(g_output_stream_close(stream.get(), nullptr, nullptr)); }
    void Write(const char* from, std::size_t size) {
        gsize written = 0;
        g_output_stream_write_all(stream.get(), from, size, &written, nullptr, nullptr);
    }
    Held<GOutputStream> stream;
};

auto List(const std::string& name) {
    std::vector<std::string> names;
    GDir* const directory = g_dir_open(name.c_str(), 0, nullptr);
    while (const char* const entry = g_dir_read_name(directory)) {
        names.emplace_back(entry);
    }
    g_dir_close(directory);
    return names;
}
Held<GFileInfo> Facts(const Held<GFile>& file) {
    return Held<GFileInfo>(
        g_file_query_info(file.get(), "standard::type,standard::size,time::modified,unix::mode",
                          G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr));
}
void Run(gchar** output, gchar** errors) {
    char program[] = "/bin/true";
    char* arguments[] = {program, nullptr};
    int ended = -1;
    MUST(g_spawn_sync(nullptr, arguments, nullptr, G_SPAWN_CHILD_INHERITS_STDIN, nullptr, nullptr,
                      output, errors, &ended, nullptr));
    MUST(ended == 0);
}
struct KnownFile {
    Held<GFile> file = At(kKnownFile);
    Held<GFileInfo> facts = Facts(file);
};
using Time = std::unique_ptr<GDateTime, void (*)(GDateTime*)>;

const bool kAdded = [] {
    const Jobs jobs("glib");
    jobs.OpenClose<Reader<false>>();
    jobs.CreateWriteClose<Writer<false>>();
    jobs.ReadUnbuffered<Reader<false>>();
    jobs.ReadBuffered<Reader<true>>();
    jobs.ReadLines<LineReader>();
    jobs.WriteBuffered<Writer<true>>();
    jobs.Copy([](auto& from, auto& to) {
        MUST(g_file_copy(At(from).get(), At(to).get(), G_FILE_COPY_OVERWRITE, nullptr, nullptr,
                         nullptr, nullptr));
    });
    jobs.Rename([](auto& from, auto& to) { return g_rename(from.c_str(), to.c_str()); });
    jobs.ReplaceWhole([](auto& name, auto& contents) {
        constexpr int kFlags = G_FILE_SET_CONTENTS_CONSISTENT | G_FILE_SET_CONTENTS_DURABLE;
        MUST(g_file_set_contents_full(name.c_str(), contents.data(),
                                      static_cast<gssize>(contents.size()),
                                      GFileSetContentsFlags(kFlags), 0666, nullptr));
    });
    jobs.Exists([](auto& name) { return g_file_test(name.c_str(), G_FILE_TEST_EXISTS) != 0; });
    jobs.List(List);
    jobs.Directories([](auto& path) { return g_mkdir(path.c_str(), 0777); },
                     [](auto& path) { return g_mkdir_with_parents(path.c_str(), 0777); },
                     [](auto& path) { return g_rmdir(path.c_str()); });
    jobs.With(
        "FileFacts", [] { return At(kKnownFile); }, Facts);
    jobs.Repeat("NormalizePath",
                [] { return Held<char>(g_canonicalize_filename(kLongPath, "/")); });
    jobs.Repeat("ReadVariable", [] { return std::string(g_getenv("PATH")); });
    jobs.Repeat("SetVariable", [] { return g_setenv("ZUKEL_BENCHMARK_GLIB", "value", TRUE) != 0; });
    jobs.Start([] { Run(nullptr, nullptr); });
    jobs.Run([] {
        gchar* output = nullptr;
        gchar* errors = nullptr;
        Run(&output, &errors);
        g_free(output);
        g_free(errors);
    });
    jobs.Repeat("MonotonicTime", g_get_monotonic_time);
    jobs.Repeat("LoadFindUnload", [] {
        GModule* const module = g_module_open(ZUKEL_BENCHMARK_MODULE, GModuleFlags{});
        gpointer answer = nullptr;
        MUST(module != nullptr && g_module_symbol(module, "Answer", &answer));
        CallAnswer(answer);
        MUST(g_module_close(module));
    });
    jobs.With(
        "Format", [] { return Time(g_date_time_new_now_utc(), g_date_time_unref); },
        [](const Time& time) { return Held<char>(g_date_time_format(time.get(), kPattern)); });
    jobs.Counter<gint>([](auto& counter) { return g_atomic_int_add(&counter, 1); });
    jobs.With(
        "Disk", [] { return At("/tmp"); },
        [](const Held<GFile>& file) {
            return Held<GFileInfo>(
                g_file_query_filesystem_info(file.get(), "filesystem::free", nullptr, nullptr));
        });
    jobs.Idle<KnownFile>("kelFileInfo");
    jobs.Growth(
        "openings", [] { return At(kKnownFile); },
        [](const Held<GFile>& file) {
            const Held<GInputStream> stream(
                G_INPUT_STREAM(g_file_read(file.get(), nullptr, nullptr)));
            char byte = 0;
            MUST(g_input_stream_read(stream.get(), &byte, 1, nullptr, nullptr) == 1);
        });
    jobs.Growth(
        "listings", [] { return g_dir_open(Work::Get().Directory(100).c_str(), 0, nullptr); },
        [](GDir* directory) {
            g_dir_rewind(directory);
            int count = 0;
            while (g_dir_read_name(directory) != nullptr) {
                ++count;
            }
            MUST(count == 100);
        });
    return true;
}();

}  // namespace
