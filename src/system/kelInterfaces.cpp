// Base classes that applications derive from; their own operations do nothing.

#include "frame/StatusMapping.h"
#include "kelBarrier.h"
#include "kelCondition.h"
#include "kelMutex.h"
#include "kelThread.h"

kelMutex::kelMutex() = default;
kelMutex::kelMutex(kelLibrary*) {}
kelMutex::~kelMutex() = default;
kelMutex& kelMutex::operator=(const kelMutex& other) {
    handle_ = other.handle_;
    return *this;
}
int kelMutex::Lock() {
    return zukel::Fail(APR_ENOTIMPL);
}
int kelMutex::Trylock() {
    return zukel::Fail(APR_ENOTIMPL);
}
int kelMutex::Unlock() {
    return zukel::Fail(APR_ENOTIMPL);
}

kelBarrier::kelBarrier(std::size_t) {}
kelBarrier::kelBarrier(kelLibrary*, std::size_t) {}
kelBarrier::~kelBarrier() = default;
kelBarrier& kelBarrier::operator=(const kelBarrier& other) {
    handle_ = other.handle_;
    return *this;
}
void kelBarrier::Block(unsigned long long) {}
void kelBarrier::Reset() {}

kelCondition::kelCondition() = default;
kelCondition::kelCondition(kelLibrary*) {}
kelCondition::~kelCondition() = default;
kelCondition& kelCondition::operator=(const kelCondition& other) {
    handle_ = other.handle_;
    return *this;
}

kelThread::kelThread() = default;
kelThread::kelThread(kelLibrary*) {}
kelThread::~kelThread() = default;
kelThread& kelThread::operator=(const kelThread& other) {
    handle_ = other.handle_;
    return *this;
}
