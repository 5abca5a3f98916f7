#include "support/program.h"

#include "support/expectations.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

namespace test
{
namespace
{
#if defined(_WIN32)
std::string Assign(const std::string& variable)
{
    return "set " + variable + (variable.find('=') == std::string::npos ? "=" : "") + "&& ";
}

int Run(const std::string& command)
{
    // The interpreter takes off the outer quotes.
    return std::system(("\"" + command + "\"").c_str());
}
#else
std::string Assign(const std::string& variable)
{
    return (variable.find('=') == std::string::npos ? "env -u " : "env ") + variable + " ";
}

int Run(const std::string& command)
{
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
#endif

std::string ReadAll(const std::string& path)
{
    // As text: lines may end with two characters.
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}
} // namespace

ProgramResult RunProgram(const std::string& name, const std::string& arguments, const std::string& folder,
                         const std::vector<std::string>& environment)
{
    namespace fs = std::filesystem;
    std::string command;
    for (const std::string& variable : environment)
        command += Assign(variable);
    const fs::path before = fs::current_path();
    if (!folder.empty())
        fs::current_path(folder);
    const TemporaryFolder texts;
    const auto quoted = [](const std::string& path) { return '"' + fs::path(path).make_preferred().string() + '"'; };
    ProgramResult result;
    command += quoted(TAMRA_PROGRAM_FOLDER "/" + name) + " " + arguments;
    result.exitCode = Run(command + " >" + quoted(texts.Path("out")) + " 2>" + quoted(texts.Path("err")));
    fs::current_path(before);
    result.output = ReadAll(texts.Path("out"));
    result.errors = ReadAll(texts.Path("err"));
    return result;
}
} // namespace test
