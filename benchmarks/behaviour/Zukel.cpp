#include <zukel.h>

#include "Library.h"

namespace {

Answer Of(int status) {
    return {status == kelStatusOk, ""};
}

Answer Start(const Command& command, Child& child) {
    const auto process = std::make_shared<kelProcess>();
    const zuStlVector<zuString> arguments(command.words.begin() + 1, command.words.end());
    const int status = process->Start(command.words[0], arguments, command.directory, false);
    child = {process, process->GetPid(), [process] { return process->IsRunning(); }};
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
        "`kelFile::Copy`, `kelFile::Rename`, `kelProcess::Start` and `IsRunning`, "
        "`kelSharedMemory::Create`, `Attach` and `Remove`, `kelDynamicObject::LoadLibrary`";
    library.copy = [](const std::string& from, const std::string& to) {
        return Of(kelFile::Copy(from, to, kelFileInfo::PermissionDefault));
    };
    library.move = [](const std::string& from, const std::string& to) {
        return Of(kelFile::Rename(from, to));
    };
    library.start = Start;
    library.hasPipes = false;
    library.create = [](const std::string& name, std::size_t size, Segment& segment) {
        return OpenSegment(segment,
                           [&](kelSharedMemory& memory) { return memory.Create(size, name); });
    };
    library.attach = [](const std::string& name, std::size_t, Segment& segment) {
        return OpenSegment(segment, [&](kelSharedMemory& memory) { return memory.Attach(name); });
    };
    library.clear = [](const std::string& name) { return Of(kelSharedMemory().Remove(name)); };
    library.load = [](const std::string& file) {
        kelDynamicObject module;
        const int status = module.LoadLibrary(file);
        return Answer{status == kelStatusOk, module.GetError()};
    };
    return library;
}
