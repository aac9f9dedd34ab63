#include "frame/StatusMapping.h"
#include "kelLibrary.h"
#include "platform/Reasons.h"

int kelLibrary::GetErrorNumber() {
    return zukel::platform::SystemNumber(zukel::LastReason());
}

zuString kelLibrary::GetErrorText() {
    const int number = GetErrorNumber();
    return number == 0 ? zuString() : zukel::platform::SystemText(number);
}

const char* kelLibrary::GetStatusText(int status) {
    switch (status) {
        case kelStatusOk:
            return "success";
        case kelStatusFailed:
            return "failed";
        case kelStatusNotFound:
            return "not found";
        case kelStatusAccessDenied:
            return "access denied";
        case kelStatusNotOpen:
            return "not open";
        case kelStatusReadFailed:
            return "nothing more to read";
        case kelStatusNoVariable:
            return "no such environment variable";
        case kelStatusNoFileInfo:
            return "no facts of the file";
        case kelStatusEmptyPath:
            return "empty path";
        case kelStatusEmptySource:
            return "empty source name";
        case kelStatusEmptyTarget:
            return "empty target name";
        case kelStatusNoUser:
            return "no such user";
        case 20020:  // kelStatusExists
            return "exists already";
        case 20021:  // kelStatusBusy
            return "busy";
        case kelStatusTimedOut:
            return "timed out";
        default:
            return "unknown status";
    }
}
