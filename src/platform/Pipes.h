#pragma once

#include <apr_errno.h>

#include <cstddef>

#include "platform/Deadline.h"
#include "platform/Files.h"
#include "zuString.h"

/// What the platform provides for pipes to and from children. Plain functions,
/// chosen at link time: one folder below this one implements each of them.
namespace zukel::platform {

/// The program's ends of the pipes of a child. Linux: they do not block. Windows: they are
/// overlapped.
struct Pipes {
    FileHandle input;   ///< Written.
    FileHandle output;  ///< Read, and so is the next.
    FileHandle errors;
};

/// Makes a pipe between the program and a child. No child inherits either end by itself.
///
/// @param own the program's end; unchanged on failure, as is `child`.
/// @param write whether the program writes to it.
/// @returns 0 or the reason.
apr_status_t MakePipe(bool write, FileHandle& own, FileHandle& child) noexcept;

/// What an `Exchange` waits for.
enum class Until {
    Written,     ///< All of `source` is in the pipe.
    OutputRead,  ///< `output` is not empty, or its pipe is at its end.
    ErrorsRead,  ///< The same for `errors`.
    AllEnded     ///< The input is written and closed, and both outputs are at their end.
};

/// What an `Exchange` transfers.
struct Transfer {
    const char* source;  ///< What is to be written.
    std::size_t size;    ///< How much of it is left.
    zuString& output;    ///< What was read is appended.
    zuString& errors;
};

/// Whether an `Exchange` is complete; closes an input that is completely written.
inline bool IsDone(Pipes& pipes, const Transfer& transfer, Until until) noexcept {
    switch (until) {
        case Until::Written:
            return transfer.size == 0 || !pipes.input;
        case Until::OutputRead:
            return !transfer.output.empty() || !pipes.output;
        case Until::ErrorsRead:
            return !transfer.errors.empty() || !pipes.errors;
        default:
            if (transfer.size == 0) {
                CloseFile(pipes.input);
            }
            return !pipes.input && !pipes.output && !pipes.errors;
    }
}

/// Writes and reads the pipes at the same time, until what is waited for has happened or cannot
/// happen any more. A pipe at its end is closed, and so is an input that nobody reads. Throws
/// `std::bad_alloc`; transfers made until then stay made.
///
/// @returns 0; one of `APR_STATUS_IS_TIMEUP`; for `Written` the reason when the input is closed;
/// or why the system could not wait.
apr_status_t Exchange(Pipes& pipes, Transfer& transfer, Until until, Deadline deadline);

}  // namespace zukel::platform
