// What loading the library adds to the start of a program: the time from spawning a process to its end, for a
// program that links what the library links and for one that links the library too. Spawns of the two
// alternate. Counters beside the time: allocations before main(), and relocations that the dynamic linker
// worked out.

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kSpawns = 101;

[[noreturn]] void fail(const std::string& sentence) { throw std::runtime_error(sentence); }

/// A program that the build puts beside this one.
std::string beside(const char* name) {
    return std::filesystem::canonical("/proc/self/exe").replace_filename(name).string();
}

/// Runs `program` to its end; what it wrote to standard output and standard error if `output` is given.
void spawn(const std::string& program, const char* argument, bool countRelocations, std::string* output) {
    std::array<int, 2> pipeEnds{-1, -1};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (output != nullptr) {
        if (pipe2(pipeEnds.data(), O_CLOEXEC) != 0) {
            fail("no pipe");
        }
        posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDERR_FILENO);
    }
    std::string name = program;
    std::string word = argument == nullptr ? "" : argument;
    std::array<char*, 3> arguments{name.data(), argument == nullptr ? nullptr : word.data(), nullptr};
    std::string statistics = "LD_DEBUG=statistics";
    std::array<char*, 2> environment{countRelocations ? statistics.data() : nullptr, nullptr};
    pid_t child = 0;
    const int error =
        posix_spawn(&child, program.c_str(), &actions, nullptr, arguments.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        fail("cannot run " + program);
    }
    if (output != nullptr) {
        close(pipeEnds[1]);
        std::array<char, 4096> block{};
        for (ssize_t got = 0; (got = read(pipeEnds[0], block.data(), block.size())) > 0;) {
            output->append(block.data(), static_cast<std::size_t>(got));
        }
        close(pipeEnds[0]);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        fail(program + " did not end well");
    }
}

/// The number after `label` in what the dynamic linker tells of its work.
double numberAfter(const std::string& text, const std::string& label) {
    const std::size_t at = text.find(label);
    if (at == std::string::npos) {
        fail("the dynamic linker does not tell the " + label);
    }
    return std::stod(text.substr(at + label.size()));
}

std::set<std::string> librariesOf(const std::string& program) {
    std::string output;
    spawn(program, "libraries", false, &output);
    std::set<std::string> names;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) {
            names.insert(std::filesystem::path(line).filename().string());
        }
    }
    return names;
}

/// The two programs must differ in this project's libraries alone, or the difference of their times means
/// nothing.
void checkLibraries(const std::string& plain, const std::string& library) {
    const std::set<std::string> without = librariesOf(plain);
    const std::set<std::string> with = librariesOf(library);
    std::vector<std::string> missing;
    std::set_difference(without.begin(), without.end(), with.begin(), with.end(),
                        std::back_inserter(missing));
    std::vector<std::string> added;
    std::set_difference(with.begin(), with.end(), without.begin(), without.end(), std::back_inserter(added));
    const bool ours = std::all_of(added.begin(), added.end(), [](const std::string& name) {
        return name.starts_with("libVKCoreKit.so") || name.starts_with("libVKQtCoreLite.so");
    });
    if (!missing.empty() || added.size() != 2 || !ours) {
        std::string sentence = "the two programs load different libraries:";
        for (const std::string& name : missing) {
            sentence += " -" + name;
        }
        for (const std::string& name : added) {
            sentence += " +" + name;
        }
        fail(sentence);
    }
}

void add(const char* name, const std::string& program) {
    std::string told;
    spawn(program, nullptr, true, &told);
    const double relocations = numberAfter(told, "number of relocations:");
    const double relative = numberAfter(told, "number of relative relocations:");
    told.clear();
    spawn(program, "allocations", false, &told);
    const double allocations = std::stod(told);
    benchmark::RegisterBenchmark(name,
                                 [=](benchmark::State& state) {
                                     while (state.KeepRunning()) {
                                         spawn(program, nullptr, false, nullptr);
                                     }
                                     state.SetItemsProcessed(state.iterations());
                                     state.counters["relocations"] = relocations;
                                     state.counters["relative_relocations"] = relative;
                                     state.counters["allocations"] = allocations;
                                 })
        ->UseRealTime()
        ->Iterations(1)
        ->Repetitions(kSpawns);
}

} // namespace

int main(int argc, char** argv) {
    try {
        const std::string plain = beside("StartUpPlain");
        const std::string library = beside("StartUpLibrary");
        checkLibraries(plain, library);
        add("start/linked libraries", plain);
        add("start/VKQtCoreLite", library);
        benchmark::Initialize(&argc, argv);
        if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
            return 2;
        }
        benchmark::RunSpecifiedBenchmarks();
        benchmark::Shutdown();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "StartUpBenchmark: %s\n", error.what());
        return 2;
    }
}
