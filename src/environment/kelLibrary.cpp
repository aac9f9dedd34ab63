#include "kelLibrary.h"

#include "environment/kelLibraryRecord.h"
#include "kelStatus.h"

kelLibrary::kelLibrary() : record_(new kelLibraryRecord) {}

kelLibrary::kelLibrary(const kelLibrary&) : kelLibrary() {}

kelLibrary::~kelLibrary() {
    zukel::Release(record_);
}

kelLibrary& kelLibrary::operator=(const kelLibrary& other) {
    zukel::Assign(record_, other.record_);
    return *this;
}

int kelLibrary::Initialize() {
    return kelStatusOk;
}

int kelLibrary::Terminate() {
    return kelStatusOk;
}
