#include "process/ProgramStart.h"

#include <apr_file_io.h>

#include <algorithm>
#include <vector>

#include "frame/Names.h"
#include "platform/Environment.h"

namespace zukel {

namespace {

using platform::FileHandle;

bool IsVariableName(const zuString& name) noexcept {
    return !name.empty() && IsWhole(name) && name.find('=') == zuString::npos;
}

/// The system would read each text up to its first NUL.
apr_status_t Check(const kelProcessOptions& options) noexcept {
    if (!IsWhole(options.command) || !IsWhole(options.directory)) {
        return APR_ENOENT;
    }
    const auto isVariable = [](const auto& each) {
        return IsVariableName(each.first) && IsWhole(each.second);
    };
    const bool valid =
        std::all_of(options.arguments.begin(), options.arguments.end(), IsWhole) &&
        std::all_of(options.removedVariables.begin(), options.removedVariables.end(),
                    IsVariableName) &&
        std::all_of(options.setVariables.begin(), options.setVariables.end(), isVariable);
    return valid ? APR_SUCCESS : APR_EINVAL;
}

/// Pointers to the strings' texts, ended by a null, as the system takes them.
void Append(std::vector<const char*>& vector, const zuStlVector<zuString>& texts) {
    vector.reserve(vector.size() + texts.size() + 1);
    for (const zuString& text : texts) {
        vector.push_back(text.c_str());
    }
    vector.push_back(nullptr);
}

/// The child's variables, "NAME=VALUE" each.
apr_status_t MakeEnvironment(const kelProcessOptions& options, zuStlVector<zuString>& variables) {
    const apr_status_t status =
        options.emptyEnvironment ? APR_SUCCESS : platform::ReadEnvironment(variables);
    if (status != APR_SUCCESS) {
        return status;
    }
    const auto remove = [&variables](const zuString& name) {
        const auto isOf = [&name](const zuString& variable) {
            return platform::IsSameVariable(variable.substr(0, variable.find('=')), name);
        };
        variables.erase(std::remove_if(variables.begin(), variables.end(), isOf), variables.end());
    };
    std::for_each(options.removedVariables.begin(), options.removedVariables.end(), remove);
    for (const auto& [name, value] : options.setVariables) {
        remove(name);
        variables.emplace_back(name).append(1, '=').append(value);
    }
    return APR_SUCCESS;
}

/// The child's streams, open for the length of one start.
class Streams {
public:
    apr_status_t Open(const kelProcessOptions& options, WithoutFile without,
                      platform::Pipes& pipes) noexcept {
        using Option = kelProcessOptions;
        constexpr int kAppend = APR_FOPEN_WRITE | APR_FOPEN_CREATE | APR_FOPEN_APPEND;
        without_ = without;
        OpenOne(options.input, APR_FOPEN_READ, true, pipes.input, files_[0], input);
        OpenOne(options.output, kAppend, false, pipes.output, files_[1], output);
        if (options.errors.kind == Option::StreamFile &&
            options.output.kind == Option::StreamFile &&
            options.errors.file == options.output.file) {
            error = output;  // one descriptor, so that the file has both in the order written
        } else {
            OpenOne(options.errors, kAppend, false, pipes.errors, files_[2], error);
        }
        return status_;
    }

    platform::Stream input;
    platform::Stream output;
    platform::Stream error;

private:
    using Kind = platform::Stream::Kind;

    void OpenOne(const kelProcessOptions::Stream& wanted, int mode, bool write, FileHandle& own,
                 FileHandle& file, platform::Stream& stream) noexcept {
        apr_status_t status = APR_SUCCESS;
        switch (wanted.kind) {
            case kelProcessOptions::StreamInherited:
                return;
            case kelProcessOptions::StreamNothing:
                stream.kind = Kind::Nothing;
                return;
            case kelProcessOptions::StreamFile:
                status = IsWhole(wanted.file)
                             ? platform::OpenFileByName(wanted.file.c_str(), mode, file)
                             : APR_ENOENT;
                break;
            case kelProcessOptions::StreamPipe:
                status = platform::MakePipe(write, own, file);
                break;
            default:
                status = APR_EINVAL;
        }
        stream = {status == APR_SUCCESS ? Kind::File : Kind::Nothing, &file};
        if (status_ == APR_SUCCESS && without_ == WithoutFile::Fails) {
            status_ = status;
        }
    }

    FileHandle files_[3];
    WithoutFile without_ = WithoutFile::Fails;
    apr_status_t status_ = APR_SUCCESS;
};

}  // namespace

apr_status_t StartProgram(const kelProcessOptions& options, WithoutFile without, bool group,
                          platform::ChildHandle& child, platform::Pipes& pipes) {
    apr_status_t status = Check(options);
    if (status != APR_SUCCESS) {
        return status;
    }
    std::vector<const char*> arguments = {options.command.c_str()};
    Append(arguments, options.arguments);
    zuStlVector<zuString> variables;
    std::vector<const char*> environment;
    const bool changed = options.emptyEnvironment || !options.removedVariables.empty() ||
                         !options.setVariables.empty();
    if (changed) {
        status = MakeEnvironment(options, variables);
        if (status != APR_SUCCESS) {
            return status;
        }
        Append(environment, variables);
    }
    Streams streams;
    platform::Pipes own;
    status = streams.Open(options, without, own);
    if (status == APR_SUCCESS) {
        status = platform::Launch(
            {arguments.data(), options.directory.empty() ? nullptr : options.directory.c_str(),
             changed ? environment.data() : nullptr, streams.input, streams.output, streams.error,
             options.detach, group},
            child);
    }
    if (status == APR_SUCCESS) {
        pipes = std::move(own);
    }
    return status;
}

}  // namespace zukel
