// What the walks ask of Windows.

#include <windows.h>

#include "faults/Walk.h"

namespace zukel::test {

const char* const kOtherVolume = "D:";
const char* const kRemoval = "SetFileInformationByHandle";
const int kDenied = ERROR_ACCESS_DENIED;
const std::vector<int> kRefusals = {ERROR_NOT_SUPPORTED};

// A child gets the handles that its start names.
int Inheritable() {
    return 0;
}

void EndChild(int) {}

// A thread cannot be cancelled here.
void StepInThreads(const Row&) {}

}  // namespace zukel::test
