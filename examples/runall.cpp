// Runs several commands side by side, each with its output in a file of its own, and shows which
// still run. Ctrl-C ends the rest.
//
//     runall [-o DIRECTORY] COMMAND [ARGUMENT...] [-- COMMAND [ARGUMENT...]]...
//
// The output of the second command, say "make", goes to the end of DIRECTORY/2-make.txt. Exit code:
// 0 when all commands have ended by themselves, 1 when one could not be started, 2 for a wrong
// call, 130 after Ctrl-C.

#include <kelFile.h>
#include <kelProcess.h>
#include <kelStatus.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <string>
#include <thread>
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

// Splits the words at each "--". An empty list tells of a wrong call.
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
    // A start does not fail for an output that cannot be opened: it would go nowhere.
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

bool Runs(const Job& job) {
    // A process that was told to end is the object's no more: only its number is left to ask by.
    return job.process.GetPid() == -1 ? kelProcess::IsRunning(job.pid) : job.process.IsRunning();
}

zuString Labels(const std::vector<const Job*>& jobs) {
    zuString text;
    for (const Job* job : jobs) {
        text += " " + job->label;
    }
    return text.empty() ? " nothing" : text;
}

// Leaves those in the list that still run, and shows it when it has changed.
void Watch(std::vector<const Job*>& running, Clock::time_point start) {
    std::vector<const Job*> left;
    std::copy_if(running.begin(), running.end(), std::back_inserter(left),
                 [](const Job* job) { return Runs(*job); });
    if (left.size() != running.size()) {
        const std::chrono::duration<double> passed = Clock::now() - start;
        std::printf("%7.1f s  still running:%s\n", passed.count(), Labels(left).c_str());
        running = left;
    }
    std::fflush(stdout);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

int RunAll(std::vector<Job>& jobs, const zuString& directory) {
    const Clock::time_point start = Clock::now();
    std::vector<const Job*> running;
    for (Job& job : jobs) {
        if (interrupted == 0 && Start(job, directory)) {
            running.push_back(&job);
        }
    }
    const bool allStarted = running.size() == jobs.size();
    while (!running.empty() && interrupted == 0) {
        Watch(running, start);
    }
    if (interrupted == 0) {
        return allStarted ? 0 : 1;
    }
    std::printf("interrupted: ending%s\n", Labels(running).c_str());
    for (Job& job : jobs) {
        job.process.Kill();  // fails for those that have ended
    }
    const Clock::time_point patience = Clock::now() + std::chrono::seconds(3);
    while (!running.empty() && Clock::now() < patience) {
        Watch(running, start);
    }
    if (!running.empty()) {
        std::fprintf(stderr, "runall: not to be ended:%s\n", Labels(running).c_str());
    }
    return 130;
}

}  // namespace

int main(int count, char** words) {
    zuString directory = ".";
    int first = 1;
    if (count > 2 && zuString(words[1]) == "-o") {
        directory = words[2];
        first = 3;
    }
    std::vector<Job> jobs = Jobs(words + first, words + count);
    if (jobs.empty() || jobs.front().arguments.front().rfind('-', 0) == 0) {
        std::fprintf(stderr,
                     "usage: runall [-o DIRECTORY] COMMAND [ARGUMENT...] [-- COMMAND...]...\n");
        return 2;
    }
    std::signal(SIGINT, Interrupt);
    std::signal(SIGTERM, Interrupt);
    return RunAll(jobs, directory);
}
