#include "support/program.h"

#include "support/expectations.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

namespace test
{
namespace
{
#if defined(_WIN32)
void SetVariable(const std::string& name, const char* value)
{
    _putenv((name + "=" + (value ? value : "")).c_str());
}

int Run(const std::string& command)
{
    // The interpreter takes off the outer quotes.
    return std::system(("\"" + command + "\"").c_str());
}
#else
void SetVariable(const std::string& name, const char* value)
{
    if (value)
        setenv(name.c_str(), value, 1);
    else
        unsetenv(name.c_str());
}

int Run(const std::string& command)
{
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
#endif

// A variable of the environment that has another value until the end of the scope.
class Variable
{
public:
    explicit Variable(const std::string& assignment) : m_name(assignment.substr(0, assignment.find('=')))
    {
        if (const char* const value = std::getenv(m_name.c_str()))
            m_before = value;
        SetVariable(m_name, m_name == assignment ? nullptr : assignment.c_str() + m_name.size() + 1);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { SetVariable(m_name, m_before ? m_before->c_str() : nullptr); }

private:
    std::string m_name;
    std::optional<std::string> m_before;
};

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
    std::vector<std::unique_ptr<Variable>> variables;
    for (const std::string& assignment : environment)
        variables.push_back(std::make_unique<Variable>(assignment));
    const fs::path before = fs::current_path();
    if (!folder.empty())
        fs::current_path(folder);
    const TemporaryFolder texts;
    const auto quoted = [](const std::string& path) { return '"' + fs::path(path).make_preferred().string() + '"'; };
    ProgramResult result;
    result.exitCode = Run(quoted(TAMRA_PROGRAM_FOLDER "/" + name) + " " + arguments + " >" + quoted(texts.Path("out")) +
                          " 2>" + quoted(texts.Path("err")));
    fs::current_path(before);
    result.output = ReadAll(texts.Path("out"));
    result.errors = ReadAll(texts.Path("err"));
    return result;
}
} // namespace test
