#include <gio/gio.h>
#include <gmodule.h>

#include "../Held.h"
#include "Library.h"

namespace {

/// Makes a call that leaves its reason in the error given.
template <typename Call>
void Try(Call call) {
    GError* error = nullptr;
    const bool done = call(&error) != 0;
    const std::string reason = error != nullptr ? error->message : "";
    g_clear_error(&error);
    Check(done, reason);
}

class Glib : public Library {
    Description About() const override {
        return {"GLib",
                std::to_string(glib_major_version) + "." + std::to_string(glib_minor_version) +
                    "." + std::to_string(glib_micro_version),
                "`g_file_copy` and `g_file_move` with overwriting, `GSubprocessLauncher`, "
                "`g_subprocess_get_identifier` (none: ended), `g_subprocess_wait`, "
                "`g_subprocess_communicate`, `g_file_set_contents`, `g_module_open`"};
    }
    void Copy(Text from, Text to) override { Transfer(g_file_copy, from, to); }
    void Move(Text from, Text to) override { Transfer(g_file_move, from, to); }
    static void Transfer(decltype(&g_file_copy) operation, Text from, Text to) {
        const Held<GFile> source(g_file_new_for_path(from.c_str()));
        const Held<GFile> target(g_file_new_for_path(to.c_str()));
        Try([&](GError** error) {
            return operation(source.get(), target.get(), G_FILE_COPY_OVERWRITE, nullptr, nullptr,
                             nullptr, error);
        });
    }
    void Replace(Text file, Text contents) override {
        Try([&](GError** error) {
            return g_file_set_contents(file.c_str(), contents.data(),
                                       static_cast<gssize>(contents.size()), error);
        });
    }
    void Load(Text file) override {
        const bool done = g_module_open(file.c_str(), G_MODULE_BIND_LOCAL) != nullptr;
        Check(done, done ? "" : g_module_error());
    }

    long Start(const Command& command) override {
        const Held<GSubprocessLauncher> launcher(g_subprocess_launcher_new(
            command.throughPipe ? G_SUBPROCESS_FLAGS_STDOUT_PIPE : G_SUBPROCESS_FLAGS_NONE));
        if (!command.directory.empty()) {
            g_subprocess_launcher_set_cwd(launcher.get(), command.directory.c_str());
        }
        Try([&](GError** error) {
            child_.reset(
                g_subprocess_launcher_spawnv(launcher.get(), command.Pointers().data(), error));
            return child_ != nullptr;
        });
        const char* const pid = g_subprocess_get_identifier(child_.get());
        return pid != nullptr ? std::atol(pid) : 0;
    }
    bool IsRunning() override { return g_subprocess_get_identifier(child_.get()) != nullptr; }
    int Wait() override {
        Try([&](GError** error) { return g_subprocess_wait(child_.get(), nullptr, error); });
        const bool exited = g_subprocess_get_if_exited(child_.get()) != 0;
        return exited ? g_subprocess_get_exit_status(child_.get()) : -1;
    }
    void Forget() override { child_.reset(); }
    void Turn() override { g_main_context_iteration(nullptr, FALSE); }
    void Collect(const Command& command, std::string& output, std::string& errors) override {
        GBytes* bytes[2] = {};
        Try([&](GError** error) {
            const Held<GSubprocess> process(g_subprocess_newv(
                command.Pointers().data(),
                GSubprocessFlags(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_PIPE),
                error));
            return process != nullptr && g_subprocess_communicate(process.get(), nullptr, nullptr,
                                                                  &bytes[0], &bytes[1], error);
        });
        std::string* const texts[2] = {&output, &errors};
        for (int stream = 0; stream < 2; ++stream) {
            gsize size = 0;
            const void* const data = g_bytes_get_data(bytes[stream], &size);
            texts[stream]->assign(static_cast<const char*>(data), size);
            g_bytes_unref(bytes[stream]);
        }
    }

    Held<GSubprocess> child_;
};

}  // namespace

std::unique_ptr<Library> ThisLibrary() {
    return std::make_unique<Glib>();
}
