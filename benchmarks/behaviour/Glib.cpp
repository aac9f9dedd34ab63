#include <gio/gio.h>
#include <gmodule.h>

#include "Library.h"

namespace {

/// What a call did that leaves its reason in the error given.
template <typename Call>
Answer Try(Call call) {
    GError* error = nullptr;
    if (call(&error)) {
        return {true, ""};
    }
    const std::string reason = error != nullptr ? error->message : "";
    g_clear_error(&error);
    return {false, reason};
}

Answer Transfer(decltype(&g_file_copy) operation, const std::string& from, const std::string& to) {
    GFile* const source = g_file_new_for_path(from.c_str());
    GFile* const target = g_file_new_for_path(to.c_str());
    const Answer answer = Try([&](GError** error) {
        return operation(source, target, G_FILE_COPY_OVERWRITE, nullptr, nullptr, nullptr, error);
    });
    g_object_unref(source);
    g_object_unref(target);
    return answer;
}

std::vector<const char*> Vector(const std::vector<std::string>& texts) {
    std::vector<const char*> words;
    for (const std::string& text : texts) {
        words.push_back(text.c_str());
    }
    words.push_back(nullptr);
    return words;
}

Answer Collect(const std::vector<std::string>& words, std::string& output, std::string& errors) {
    GSubprocess* process = nullptr;
    GBytes* bytes[2] = {};
    const Answer answer = Try([&](GError** error) {
        process = g_subprocess_newv(
            Vector(words).data(),
            GSubprocessFlags(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_PIPE),
            error);
        return process != nullptr && g_subprocess_communicate(process, nullptr, nullptr, &bytes[0],
                                                              &bytes[1], error) != 0;
    });
    std::string* const texts[2] = {&output, &errors};
    for (int stream = 0; stream < 2 && answer.done; ++stream) {
        gsize size = 0;
        const void* const data = g_bytes_get_data(bytes[stream], &size);
        texts[stream]->assign(static_cast<const char*>(data), size);
        g_bytes_unref(bytes[stream]);
    }
    g_clear_object(&process);
    return answer;
}

Answer Start(const Command& command, Child& child) {
    GSubprocessLauncher* const launcher = g_subprocess_launcher_new(
        command.throughPipe ? G_SUBPROCESS_FLAGS_STDOUT_PIPE : G_SUBPROCESS_FLAGS_NONE);
    if (!command.directory.empty()) {
        g_subprocess_launcher_set_cwd(launcher, command.directory.c_str());
    }
    GSubprocess* process = nullptr;
    const Answer answer = Try([&](GError** error) {
        process = g_subprocess_launcher_spawnv(launcher, Vector(command.words).data(), error);
        return process != nullptr;
    });
    g_object_unref(launcher);
    if (process != nullptr) {
        const char* const pid = g_subprocess_get_identifier(process);
        child = {std::shared_ptr<void>(process, g_object_unref), pid != nullptr ? atol(pid) : 0,
                 [process] { return g_subprocess_get_identifier(process) != nullptr; },
                 [process](int& code) {
                     const Answer ended = Try([&](GError** error) {
                         return g_subprocess_wait(process, nullptr, error) != 0;
                     });
                     code = g_subprocess_get_if_exited(process) != 0
                                ? g_subprocess_get_exit_status(process)
                                : -1;
                     return ended;
                 }};
    }
    return answer;
}

}  // namespace

Library ThisLibrary() {
    Library library;
    library.name = "GLib";
    library.version = std::to_string(glib_major_version) + "." +
                      std::to_string(glib_minor_version) + "." + std::to_string(glib_micro_version);
    library.calls =
        "`g_file_copy` and `g_file_move` with overwriting, `GSubprocessLauncher`, "
        "`g_subprocess_get_identifier` (none: ended), `g_subprocess_wait`, "
        "`g_subprocess_communicate`, `g_file_set_contents`, `g_module_open`";
    library.copy = [](const std::string& from, const std::string& to) {
        return Transfer(g_file_copy, from, to);
    };
    library.move = [](const std::string& from, const std::string& to) {
        return Transfer(g_file_move, from, to);
    };
    library.start = Start;
    library.turn = [] { g_main_context_iteration(nullptr, FALSE); };
    library.collect = Collect;
    library.replace = [](const std::string& file, const std::string& contents) {
        return Try([&](GError** error) {
            return g_file_set_contents(file.c_str(), contents.data(),
                                       static_cast<gssize>(contents.size()), error) != 0;
        });
    };
    library.load = [](const std::string& file) {
        GModule* const module = g_module_open(file.c_str(), G_MODULE_BIND_LOCAL);
        return Answer{module != nullptr, module != nullptr ? "" : g_module_error()};
    };
    return library;
}
