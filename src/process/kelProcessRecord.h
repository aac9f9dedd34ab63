#pragma once

#include "frame/SharedRecord.h"
#include "platform/Children.h"
#include "platform/Pipes.h"

struct kelProcessRecord : zukel::SharedRecord {
    zukel::platform::ChildHandle child;   ///< Null while idle: this alone is the state.
    zukel::platform::ChildHandle killed;  ///< The last one, after `Kill`.
    zukel::platform::Pipes pipes;
    bool hasOutput = false;  ///< The pipes of the process, open or at their end.
    bool hasErrors = false;
    zuString output;  ///< Read from the pipes, and not yet returned.
    zuString errors;

    /// The child whose end can be queried, or null.
    zukel::platform::Child* Last() const noexcept {
        return child != nullptr ? child.get() : killed.get();
    }
    void Reset() noexcept {
        child.reset();
        killed.reset();
        pipes = {};
        hasOutput = hasErrors = false;
        output.clear();
        errors.clear();
    }
};
