#include "tests/support/RunProgram.h"

#include "tests/support/TempFile.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

extern char** environ;

namespace qmtest {

ProgramRun runProgram(std::string const& program, std::vector<std::string> const& arguments,
                      std::string const& workingFolder)
{
    ProgramRun run;
    TempFile outFile({}, ".out");
    TempFile errFile({}, ".err");
    std::vector<std::string> args;
    args.push_back(program);
    args.insert(args.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, outFile.path().c_str(), O_WRONLY | O_TRUNC, 0);
    posix_spawn_file_actions_addopen(&actions, 2, errFile.path().c_str(), O_WRONLY | O_TRUNC, 0);
    std::filesystem::path previous;
    if (!workingFolder.empty()) {
        previous = std::filesystem::current_path();
        std::filesystem::current_path(workingFolder);
    }
    pid_t pid = 0;
    int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    if (!previous.empty())
        std::filesystem::current_path(previous);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return run;
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
    }
    if (WIFEXITED(status))
        run.exitCode = WEXITSTATUS(status);
    auto out = readFile(outFile.path());
    auto err = readFile(errFile.path());
    run.out.assign(out.begin(), out.end());
    run.err.assign(err.begin(), err.end());
    return run;
}

} // namespace qmtest
