#include <zukel.h>

#include "Library.h"

namespace {

Answer Of(int status) {
    return {status == kelStatusOk, status == kelStatusOk ? "" : kelLibrary::GetErrorText()};
}

kelProcessOptions Options(const std::vector<std::string>& words) {
    kelProcessOptions options;
    options.command = words[0];
    options.arguments.assign(words.begin() + 1, words.end());
    return options;
}

Answer Start(const Command& command, Child& child) {
    const auto process = std::make_shared<kelProcess>();
    kelProcessOptions options = Options(command.words);
    options.directory = command.directory;
    if (command.throughPipe) {
        options.output.kind = kelProcessOptions::StreamPipe;
    }
    const int status = process->Start(options);
    child = {process, process->GetPid(), [process] { return process->IsRunning(); },
             [process](int& code) {
                 const int waited = process->Wait(-1);
                 process->GetExitCode(code);
                 return Of(waited);
             }};
    return {status == kelStatusOk, process->GetLastError()};
}

template <typename Open>
Answer OpenSegment(Segment& segment, Open open) {
    const auto memory = std::make_shared<kelSharedMemory>();
    const int status = open(*memory);
    segment = {memory, static_cast<char*>(memory->GetBaseAddress())};
    return Of(status);
}

}  // namespace

Library ThisLibrary() {
    static const kelLibrary alive;
    Library library;
    library.name = "zukel";
    library.version = ZUKEL_VERSION;
    library.calls =
        "`kelFile::Copy`, `Rename`, `ReplaceWhole` and `Lock`, `kelDirectory::DeleteTree`, "
        "`kelProcess::Start`, `IsRunning`, `Wait` and `Run`, "
        "`kelSharedMemory::Create`, `Attach` and `Remove`, `kelDynamicObject::LoadLibrary`";
    library.copy = [](const std::string& from, const std::string& to) {
        return Of(kelFile::Copy(from, to, kelFileInfo::PermissionDefault));
    };
    library.move = [](const std::string& from, const std::string& to) {
        return Of(kelFile::Rename(from, to));
    };
    library.start = Start;
    library.collect = [](const std::vector<std::string>& words, std::string& output,
                         std::string& errors) {
        int code = 0;
        return Of(kelProcess::Run(Options(words), "", output, errors, code, -1));
    };
    library.create = [](const std::string& name, std::size_t size, Segment& segment) {
        return OpenSegment(segment,
                           [&](kelSharedMemory& memory) { return memory.Create(size, name); });
    };
    library.attach = [](const std::string& name, std::size_t, Segment& segment) {
        return OpenSegment(segment, [&](kelSharedMemory& memory) { return memory.Attach(name); });
    };
    library.clear = [](const std::string& name) { return Of(kelSharedMemory().Remove(name)); };
    library.deleteTree = [](const std::string& path) { return Of(kelDirectory::DeleteTree(path)); };
    library.replace = [](const std::string& file, const std::string& contents) {
        return Of(kelFile::ReplaceWhole(file, contents));
    };
    library.lock = [](const std::string& name, std::shared_ptr<void>& object) {
        const auto file = std::make_shared<kelFile>(name, kelFile::ModeWrite);
        object = file;
        return Of(file->Lock(kelFile::LockExclusive, 0));
    };
    library.openAndClose = [](const std::string& name) {
        kelFile(name, kelFile::ModeRead).Close();
    };
    library.load = [](const std::string& file) {
        kelDynamicObject module;
        const int status = module.LoadLibrary(file);
        return Answer{status == kelStatusOk, module.GetError()};
    };
    return library;
}
