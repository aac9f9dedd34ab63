// One operation on two names, for a walk that kills it: operation NAME FROM TO

#include <cstdio>
#include <cstring>

#include "kelFile.h"
#include "kelFileInfo.h"
#include "kelStatus.h"

int main(int count, char** arguments) {
    if (count != 4) {
        return 2;
    }
    const auto is = [&](const char* name) { return std::strcmp(arguments[1], name) == 0; };
    const char* const from = arguments[2];
    const char* const to = arguments[3];
    const int status = is("Copy")         ? kelFile::Copy(from, to, kelFileInfo::PermissionDefault)
                       : is("NativeCopy") ? kelFile::NativeCopy(from, to, 0)
                       : is("Rename")     ? kelFile::Rename(from, to)
                                          : kelStatusFailed;
    return status == kelStatusOk ? 0 : 1;
}
