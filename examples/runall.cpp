// Runs several commands in parallel, each with its output in a file of its own, and shows which
// still run and how the others have ended. Ctrl-C ends those that run; -t ends those that take too
// long.
//
//     runall [-o DIRECTORY] [-t SECONDS] COMMAND [ARGUMENT...] [-- COMMAND [ARGUMENT...]]...
//
// The output of the second command, say "make", is appended to DIRECTORY/2-make.txt. Exit code: 0
// if all commands have ended by themselves, whatever their exit codes; 1 if one could not be
// started or took too long; 2 for wrong arguments; 130 after Ctrl-C.

#include <kelFile.h>
#include <kelProcess.h>
#include <kelStatus.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t interrupted = 0;

void Interrupt(int) {
    interrupted = 1;
}

struct Job {
    zuStlVector<zuString> arguments;  // the command first
    zuString label;                   // "2-make"
    kelProcess process;
    int pid = -1;
};

// Splits the arguments at each "--". An empty list means wrong arguments.
std::vector<Job> Jobs(char** words, char** end) {
    std::vector<Job> jobs(1);
    for (; words != end; ++words) {
        if (zuString(*words) == "--") {
            jobs.emplace_back();
        } else {
            jobs.back().arguments.emplace_back(*words);
        }
    }
    for (Job& job : jobs) {
        if (job.arguments.empty()) {
            return {};
        }
        const zuString& command = job.arguments.front();
        job.label = std::to_string(&job - jobs.data() + 1) + "-" +
                    command.substr(command.find_last_of("/\\") + 1);
    }
    return jobs;
}

bool Start(Job& job, const zuString& directory) {
    const zuString file = directory + "/" + job.label + ".txt";
    // Start succeeds even if an output file cannot be opened, and the output would be lost.
    if (!kelFile(file, kelFile::ModeWrite | kelFile::ModeCreate | kelFile::ModeAppend).IsOpen()) {
        std::fprintf(stderr, "runall: %s is not started: %s cannot be written\n", job.label.c_str(),
                     file.c_str());
        return false;
    }
    const zuStlVector<zuString> arguments(job.arguments.begin() + 1, job.arguments.end());
    if (job.process.Start(job.arguments.front(), arguments, "", {file}, false) != kelStatusOk) {
        std::fprintf(stderr, "runall: %s cannot be started: %s\n", job.label.c_str(),
                     job.process.GetLastError().c_str());
        return false;
    }
    job.pid = job.process.GetPid();
    std::printf("%s runs as %d, its output goes to %s\n", job.label.c_str(), job.pid, file.c_str());
    return true;
}

bool Runs(Job& job) {
    return job.process.Wait(0) == kelStatusTimedOut;
}

void TellEnd(const Job& job) {
    int number = 0;
    if (job.process.GetExitCode(number) == kelStatusOk) {
        std::printf("%s: exit code %d\n", job.label.c_str(), number);
    } else if (job.process.GetSignal(number) == kelStatusOk) {
        std::printf("%s: ended by signal %d\n", job.label.c_str(), number);
    }
}

zuString Labels(const std::vector<Job*>& jobs) {
    zuString text;
    for (const Job* job : jobs) {
        text += " " + job->label;
    }
    return text.empty() ? " nothing" : text;
}

// Removes the commands that have ended from the list, and shows it if it has changed.
void Watch(std::vector<Job*>& running, Clock::time_point start) {
    std::vector<Job*> left;
    for (Job* job : running) {
        if (Runs(*job)) {
            left.push_back(job);
        } else {
            TellEnd(*job);
        }
    }
    if (left.size() != running.size()) {
        const std::chrono::duration<double> passed = Clock::now() - start;
        std::printf("%7.1f s  still running:%s\n", passed.count(), Labels(left).c_str());
        running = left;
    }
    std::fflush(stdout);
    if (!running.empty()) {
        running.front()->process.Wait(20000);
    }
}

int RunAll(std::vector<Job>& jobs, const zuString& directory, double seconds) {
    const Clock::time_point start = Clock::now();
    std::vector<Job*> running;
    for (Job& job : jobs) {
        if (interrupted == 0 && Start(job, directory)) {
            running.push_back(&job);
        }
    }
    const bool allStarted = running.size() == jobs.size();
    const std::chrono::duration<double> most(seconds);
    while (!running.empty() && interrupted == 0 && (seconds <= 0 || Clock::now() - start < most)) {
        Watch(running, start);
    }
    if (running.empty() && interrupted == 0) {
        return allStarted ? 0 : 1;
    }
    std::printf("%s: ending%s\n", interrupted != 0 ? "interrupted" : "out of time",
                Labels(running).c_str());
    for (Job& job : jobs) {
        job.process.Kill();  // fails for a process that has ended
    }
    const Clock::time_point patience = Clock::now() + std::chrono::seconds(3);
    while (!running.empty() && Clock::now() < patience) {
        Watch(running, start);
    }
    if (!running.empty()) {
        std::fprintf(stderr, "runall: not to be ended:%s\n", Labels(running).c_str());
    }
    return interrupted != 0 ? 130 : 1;
}

}  // namespace

int main(int count, char** words) {
    zuString directory = ".";
    int first = 1;
    double seconds = 0;  // no limit
    for (; first + 1 < count && words[first][0] == '-'; first += 2) {
        if (zuString(words[first]) == "-o") {
            directory = words[first + 1];
        } else if (zuString(words[first]) == "-t") {
            seconds = std::atof(words[first + 1]);
        } else {
            break;
        }
    }
    std::vector<Job> jobs = Jobs(words + first, words + count);
    if (jobs.empty() || jobs.front().arguments.front().rfind('-', 0) == 0) {
        std::fprintf(
            stderr,
            "usage: runall [-o DIRECTORY] [-t SECONDS] COMMAND [ARGUMENT...] [-- COMMAND...]...\n");
        return 2;
    }
    std::signal(SIGINT, Interrupt);
    std::signal(SIGTERM, Interrupt);
    return RunAll(jobs, directory, seconds);
}
