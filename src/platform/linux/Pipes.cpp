#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <memory>

#include "platform/Pipes.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/HeldSignals.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

constexpr std::size_t kRoom = 65536;  // what a pipe holds

int DescriptorOf(const FileHandle& file) noexcept {
    return static_cast<int>(file.Get());
}

bool MayComeLater(int error) noexcept {
    return error == EAGAIN || error == EINTR;
}

/// Writes what the pipe has room for. An input that nobody reads is closed.
apr_status_t Write(FileHandle& pipe, Transfer& transfer) noexcept {
    const HeldSignals signals({SIGPIPE});
    const ssize_t written = WriteDescriptor(DescriptorOf(pipe), transfer.source, transfer.size);
    if (written >= 0) {
        transfer.source += written;
        transfer.size -= static_cast<std::size_t>(written);
        return APR_SUCCESS;
    }
    const int error = errno;
    signals.Discard();
    if (error == EPIPE) {
        CloseFile(pipe);
    }
    return MayComeLater(error) || error == EPIPE ? APR_SUCCESS : error;
}

/// Reads what the pipe has, once. At its end it is closed.
apr_status_t Read(FileHandle& pipe, char* room, zuString& text) {
    const ssize_t size = ReadDescriptor(DescriptorOf(pipe), room, kRoom);
    if (size > 0) {
        text.append(room, static_cast<std::size_t>(size));
    } else if (size == 0) {
        CloseFile(pipe);
    } else if (!MayComeLater(errno)) {
        return errno;
    }
    return APR_SUCCESS;
}

pollfd Entry(const FileHandle& pipe, bool wanted, short event) noexcept {
    return {pipe && wanted ? DescriptorOf(pipe) : -1, event, 0};
}

}  // namespace

apr_status_t MakePipe(bool write, FileHandle& own, FileHandle& child) noexcept {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return errno;
    }
    Descriptor read(ends[0]);
    Descriptor written(ends[1]);
    // O_NONBLOCK of this end alone: the other end has flags of its own.
    if (fcntl(ends[write ? 1 : 0], F_SETFL, O_NONBLOCK | (write ? O_WRONLY : O_RDONLY)) != 0) {
        return errno;
    }
    (write ? child : own) = FileHandle(read.Release());
    (write ? own : child) = FileHandle(written.Release());
    return APR_SUCCESS;
}

apr_status_t Exchange(Pipes& pipes, Transfer& transfer, Until until, Deadline deadline) {
    const Uncancelled uncancelled;
    const std::unique_ptr<char[]> room(new char[kRoom]);
    while (!IsDone(pipes, transfer, until)) {
        const int left = MilliSecondsTo(deadline);
        if (left == 0) {
            return APR_TIMEUP;
        }
        pollfd entries[] = {Entry(pipes.input, transfer.size > 0, POLLOUT),
                            Entry(pipes.output, true, POLLIN), Entry(pipes.errors, true, POLLIN)};
        if (poll(entries, 3, left) < 0 && !MayComeLater(errno)) {
            return errno;
        }
        apr_status_t status = APR_SUCCESS;
        if (entries[0].revents != 0) {
            status = Write(pipes.input, transfer);
        }
        if (status == APR_SUCCESS && entries[1].revents != 0) {
            status = Read(pipes.output, room.get(), transfer.output);
        }
        if (status == APR_SUCCESS && entries[2].revents != 0) {
            status = Read(pipes.errors, room.get(), transfer.errors);
        }
        if (status != APR_SUCCESS) {
            return status;
        }
    }
    return until == Until::Written && transfer.size > 0 ? EPIPE : APR_SUCCESS;
}

}  // namespace zukel::platform
