// Does what it is told on its standard input with the library that it is linked with: an operation
// and its words on each line, separated by tabs. Answers each with a line of two words on the
// standard output: `done` and a value, `refused` and a reason, or `lacks`. cases.py talks to it.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>

#include "Library.h"

namespace {

using Words = std::vector<std::string>;

constexpr std::size_t kSize = 65536;

using Operation = std::function<void(Library& library, const Words& words, std::string& answer)>;

void Describe(Library& library, const Words&, std::string& answer) {
    const Description about = library.About();
    answer = about.name + "\t" + about.version + "\t" + about.calls;
}
void Start(Library& library, const Words& words, std::string& answer) {
    const Words program(words.begin() + 3, words.end());
    answer = std::to_string(library.Start({program, words[1], words[2] == "pipe"}));
}
void Collect(Library& library, const Words& words, std::string& answer) {
    std::string output;
    std::string errors;
    library.Collect({{words.begin() + 1, words.end()}, "", true}, output, errors);
    answer = std::to_string(output.size()) + " " + std::to_string(errors.size());
}
void CreateAndWrite(Library& library, const Words& words, std::string&) {
    std::strcpy(library.Create(words[1], kSize), "something");
}
void IgnoreChildren(Library&, const Words&, std::string&) {
    std::signal(SIGCHLD, SIG_IGN);
}

const std::map<std::string, Operation> kOperations = {
    {"about", Describe},
    {"copy", [](auto& library, auto& words, auto&) { library.Copy(words[1], words[2]); }},
    {"move", [](auto& library, auto& words, auto&) { library.Move(words[1], words[2]); }},
    {"delete tree", [](auto& library, auto& words, auto&) { library.DeleteTree(words[1]); }},
    {"replace", [](auto& library, auto& words, auto&) { library.Replace(words[1], words[2]); }},
    {"lock", [](auto& library, auto& words, auto&) { library.Lock(words[1]); }},
    {"open and close", [](auto& library, auto& words, auto&) { library.OpenAndClose(words[1]); }},
    {"load", [](auto& library, auto& words, auto&) { library.Load(words[1]); }},
    {"ignore SIGCHLD", IgnoreChildren},
    {"start", Start},
    {"is running", [](auto& library, auto&, auto& a) { a = library.IsRunning() ? "yes" : "no"; }},
    {"wait", [](auto& library, auto&, auto& a) { a = std::to_string(library.Wait()); }},
    {"forget", [](auto& library, auto&, auto&) { library.Forget(); }},
    {"turn", [](auto& library, auto&, auto&) { library.Turn(); }},
    {"collect", Collect},
    {"create", [](auto& library, auto& words, auto& a) { a = library.Create(words[1], kSize); }},
    {"attach", [](auto& library, auto& words, auto& a) { a = library.Attach(words[1], kSize); }},
    {"create and write", CreateAndWrite},
    {"clear", [](auto& library, auto& words, auto&) { library.Clear(words[1]); }},
    {"release", [](auto& library, auto&, auto&) { library.Release(); }},
};

std::string Answer(Library& library, const Words& words) {
    try {
        std::string answer;
        kOperations.at(words[0])(library, words, answer);
        return "done\t" + answer;
    } catch (const Lacking&) {
        return "lacks\t";
    } catch (const std::exception& refusal) {
        std::string reason = library.Reason(refusal);
        std::replace(reason.begin(), reason.end(), '\n', ' ');
        return "refuses\t" + reason;
    }
}

}  // namespace

int main() {
    // Children write nowhere, not among the answers.
    std::FILE* const answers = fdopen(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3), "w");
    if (answers == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr) {
        return 1;
    }
    const std::unique_ptr<Library> library = ThisLibrary();
    for (std::string line; std::getline(std::cin, line);) {
        Words words;
        std::istringstream parts(line);
        for (std::string word; std::getline(parts, word, '\t');) {
            words.push_back(word);
        }
        std::fprintf(answers, "%s\n", Answer(*library, words).c_str());
        std::fflush(answers);
    }
}
