#include "support/FakeProcesses.h"

namespace zukel::test {

FakeProcesses* FakeProcesses::current = nullptr;

}  // namespace zukel::test

namespace zukel::platform {

using test::FakeProcesses;

struct Child {
    int pid;
};

namespace {

FakeProcesses& Record(const std::string& call, int pid) {
    FakeProcesses::current->calls.push_back(call + " " + std::to_string(pid));
    return *FakeProcesses::current;
}

}  // namespace

apr_status_t Launch(const Program&, ChildHandle& child) {
    FakeProcesses& fake = Record("Launch", FakeProcesses::current->pid);
    if (fake.launch == APR_SUCCESS) {
        child.reset(new Child{fake.pid});
    }
    return fake.launch;
}

void Forget(Child* child) noexcept {
    Record("Forget", child->pid);
    delete child;
}

int Identifier(const Child& child) noexcept {
    return child.pid;
}

bool IsRunning(Child& child) noexcept {
    return Record("IsRunning", child.pid).running;
}

apr_status_t End(Child& child) noexcept {
    return Record("End", child.pid).end;
}

bool IsProcessRunning(int pid) noexcept {
    return Record("IsProcessRunning", pid).running;
}

bool EndProcess(int pid) noexcept {
    return Record("EndProcess", pid).end == APR_SUCCESS;
}

int CurrentProcess() noexcept {
    return FakeProcesses::current->pid;
}

}  // namespace zukel::platform
