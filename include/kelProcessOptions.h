#pragma once

#include <utility>

#include "zuString.h"

/// How a program is to be started: a plain record, for `kelProcess::Start` and `kelProcess::Run`.
/// As it is made, only the command is missing: the child then has the caller's directory,
/// environment and streams.
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
        StreamNothing,    ///< Input: at its end at once. Output: any amount is taken and dropped.
        StreamFile,       ///< To a file: read from its start, or made if need be and appended to.
        StreamPipe        ///< To the object, for `WriteInput`, `ReadOutput` and `ReadErrors`.
    };
    /// One stream of the child.
    struct Stream {
        StreamKind kind = StreamInherited;  ///< Where it leads.
        zuString file;  ///< For `StreamFile`: relative to the caller's current directory.
    };

    /// One program name or path, as in the other forms of `kelProcess::Start`. It is looked for
    /// along the caller's search path, whatever the child's environment.
    zuString command;
    /// What the program gets after its own name, each unchanged.
    zuStlVector<zuString> arguments;
    /// The child's working directory; empty: the caller's.
    zuString directory;

    /// Whether the child's environment begins empty, and not as the caller's. Windows: some
    /// programs do not start without the variable `SystemRoot`.
    bool emptyEnvironment = false;
    /// Variables that the child does not get from the caller.
    zuStlVector<zuString> removedVariables;
    /// Variables that the child gets, each a name and its value, in the place of the caller's and
    /// of earlier ones in this list. Linux: an empty value is kept.
    zuStlVector<std::pair<zuString, zuString>> setVariables;

    /// Standard input.
    Stream input;
    /// Standard output.
    Stream output;
    /// Standard error. If both outputs are the same file, they share it in the order written.
    Stream errors;

    /// As in the other forms of `kelProcess::Start`.
    bool detach = false;
};
