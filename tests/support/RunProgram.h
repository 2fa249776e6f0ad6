// Runs a program as a user would, capturing its exit code, stdout and stderr.
#pragma once

#include <string>
#include <vector>

namespace qmtest {

struct ProgramRun {
    int exitCode = -1; // -1 when it could not be started or did not exit normally
    std::string out;
    std::string err;
};

// `arguments` excludes the program itself; `workingFolder` is empty for the current one.
ProgramRun runProgram(std::string const& program, std::vector<std::string> const& arguments,
                      std::string const& workingFolder = "");

} // namespace qmtest
