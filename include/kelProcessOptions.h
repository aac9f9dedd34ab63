#pragma once

#include <utility>

#include "zuString.h"

/// How a program is to be started, for `kelProcess::Start` and `kelProcess::Run`. Only the command
/// must be set: by default the child has the caller's directory, environment and streams.
///
/// @code
/// kelProcessOptions options;
/// options.command = "tr";
/// options.arguments = {"ab", "xy"};
/// options.setVariables = {{"LC_ALL", "C"}};
/// zuString output, errors;
/// int exitCode = 0;
/// if (kelProcess::Run(options, "b a", output, errors, exitCode, 10000000) == kelStatusOk) {
///     std::printf("%s, %d\n", output.c_str(), exitCode);  // prints: y x, 0
/// }
/// @endcode
struct kelProcessOptions {
    /// Where a stream of the child leads.
    enum StreamKind {
        StreamInherited,  ///< To where the caller's own stream leads.
        StreamNothing,    ///< Input: empty. Output: discarded.
        StreamFile,  ///< To a file: read from its start, or created if necessary and appended to.
        StreamPipe   ///< To the object, for `WriteInput`, `ReadOutput` and `ReadErrors`.
    };
    /// One stream of the child.
    struct Stream {
        StreamKind kind = StreamInherited;  ///< Where it leads.
        zuString file;  ///< For `StreamFile`: relative to the caller's current directory.
    };

    /// One program name or path, as in the other forms of `kelProcess::Start`. It is searched for
    /// along the caller's search path, whatever the child's environment.
    zuString command;
    /// What the program gets after its own name, each unchanged.
    zuStlVector<zuString> arguments;
    /// The child's working directory; empty: the caller's.
    zuString directory;

    /// Whether the child's environment starts empty, instead of as a copy of the caller's. Windows:
    /// some programs do not start without the variable `SystemRoot`.
    bool emptyEnvironment = false;
    /// Variables that the child does not inherit from the caller.
    zuStlVector<zuString> removedVariables;
    /// Variables that the child gets, each a name and its value. They replace the caller's, and
    /// earlier ones in this list. Linux: an empty value is kept.
    zuStlVector<std::pair<zuString, zuString>> setVariables;

    /// Standard input.
    Stream input;
    /// Standard output.
    Stream output;
    /// Standard error. If both outputs are the same file, it has them in the order written.
    Stream errors;

    /// As in the other forms of `kelProcess::Start`.
    bool detach = false;
};
