#pragma once

#include <string>
#include <vector>

namespace test
{
struct ProgramResult
{
    int exitCode = -1;
    std::string output;
    std::string errors;
};

/// Runs one of our programs to its end in a folder, by default the current one. Arguments with blanks stand in double
/// quotes. Each entry of `environment` is a NAME=VALUE that holds for the program, or a NAME that it does not see.
ProgramResult RunProgram(const std::string& name, const std::string& arguments, const std::string& folder = {},
                         const std::vector<std::string>& environment = {});
} // namespace test
