#include <zukel.h>

#include "Library.h"

namespace {

void CheckStatus(int status) {
    Check(status == kelStatusOk, kelLibrary::GetErrorText());
}

kelProcessOptions Options(const Command& command) {
    kelProcessOptions options;
    options.command = command.words[0];
    options.arguments = command.Arguments();
    options.directory = command.directory;
    return options;
}

class Zukel : public Library {
    Description About() const override {
        return {"zukel", ZUKEL_VERSION,
                "`kelFile::Copy`, `Rename`, `ReplaceWhole` and `Lock`, `kelDirectory::DeleteTree`, "
                "`kelProcess::Start`, `IsRunning`, `Wait` and `Run`, "
                "`kelSharedMemory::Create`, `Attach` and `Remove`, "
                "`kelDynamicObject::LoadLibrary`"};
    }
    void Copy(Text from, Text to) override {
        CheckStatus(kelFile::Copy(from, to, kelFileInfo::PermissionDefault));
    }
    void Move(Text from, Text to) override { CheckStatus(kelFile::Rename(from, to)); }
    void DeleteTree(Text path) override { CheckStatus(kelDirectory::DeleteTree(path)); }
    void Replace(Text file, Text contents) override {
        CheckStatus(kelFile::ReplaceWhole(file, contents));
    }
    void Lock(Text name) override {
        locked_.Open(name, kelFile::ModeWrite);
        CheckStatus(locked_.Lock(kelFile::LockExclusive, 0));
    }
    void OpenAndClose(Text name) override { kelFile(name, kelFile::ModeRead).Close(); }
    void Load(Text file) override {
        kelDynamicObject module;
        const int status = module.LoadLibrary(file);
        Check(status == kelStatusOk, module.GetError());
    }

    long Start(const Command& command) override {
        kelProcessOptions options = Options(command);
        if (command.throughPipe) {
            options.output.kind = kelProcessOptions::StreamPipe;
        }
        const int status = child_->Start(options);
        Check(status == kelStatusOk, child_->GetLastError());
        return child_->GetPid();
    }
    bool IsRunning() override { return child_->IsRunning(); }
    int Wait() override {
        CheckStatus(child_->Wait(-1));
        int code = -1;
        child_->GetExitCode(code);
        return code;
    }
    void Forget() override { child_ = std::make_unique<kelProcess>(); }
    void Collect(const Command& command, std::string& output, std::string& errors) override {
        int code = 0;
        CheckStatus(kelProcess::Run(Options(command), "", output, errors, code, -1));
    }

    char* Create(Text name, std::size_t size) override {
        CheckStatus(segment_.Create(size, name));
        return static_cast<char*>(segment_.GetBaseAddress());
    }
    char* Attach(Text name, std::size_t) override {
        CheckStatus(segment_.Attach(name));
        return static_cast<char*>(segment_.GetBaseAddress());
    }
    void Release() override { segment_ = kelSharedMemory(); }
    void Clear(Text name) override { CheckStatus(kelSharedMemory().Remove(name)); }

    kelLibrary alive_;
    kelFile locked_;
    std::unique_ptr<kelProcess> child_ = std::make_unique<kelProcess>();
    kelSharedMemory segment_;
};

}  // namespace

std::unique_ptr<Library> ThisLibrary() {
    return std::make_unique<Zukel>();
}
