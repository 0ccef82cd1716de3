#include "Support/Program.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr mode_t NEW_FILE_MODE = 0600;

std::vector<char*> ToArguments(const std::vector<std::string>& aCommand)
{
    std::vector<char*> arguments;
    arguments.reserve(aCommand.size() + 1);
    for (const std::string& word : aCommand)
    {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    return arguments;
}

} // namespace

Program::Program(const std::vector<std::string>& aCommand) : mCommand(aCommand)
{
    ::unsetenv("KO_LOG");
    ::setenv("TERM", "xterm", 1);
}

Program::~Program()
{
    if (mProcess > 0 && IsRunning())
    {
        Signal(SIGKILL);
        ::waitpid(mProcess, nullptr, 0);
    }
}

Program& Program::WithInput(const std::string& aPath)
{
    mInput = aPath;
    return *this;
}

Program& Program::WithOutput(const std::string& aPath)
{
    mOutput = aPath;
    return *this;
}

Program& Program::WithErrors(const std::string& aPath)
{
    mErrors = aPath;
    return *this;
}

Program& Program::OnTerminal(const std::string& aPath)
{
    mNewSession = true;
    return WithInput(aPath).WithOutput(aPath).WithErrors(aPath);
}

Program& Program::Start()
{
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, mInput.c_str(), O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, mOutput.c_str(), O_WRONLY | O_CREAT, NEW_FILE_MODE);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, mErrors.c_str(), O_WRONLY | O_CREAT, NEW_FILE_MODE);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setflags(&attributes, static_cast<short>(mNewSession ? POSIX_SPAWN_SETSID : 0));

    const std::vector<char*> arguments = ToArguments(mCommand);
    const int error = ::posix_spawnp(&mProcess, arguments[0], &actions, &attributes, arguments.data(), environ);
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(error, 0) << mCommand.front();
    return *this;
}

void Program::Signal(int aSignal)
{
    ASSERT_EQ(::kill(mProcess, aSignal), 0);
}

bool Program::IsRunning()
{
    if (mProcess > 0 && ::waitpid(mProcess, &mWaitStatus, WNOHANG) == mProcess)
    {
        mProcess = -1;
    }
    return mProcess > 0;
}

int Program::Wait()
{
    if (mProcess == 0)
    {
        Start();
    }
    EXPECT_TRUE(WaitUntil([this] { return !IsRunning(); })) << mCommand.front() << " does not end";
    return WIFEXITED(mWaitStatus) ? WEXITSTATUS(mWaitStatus) : -WTERMSIG(mWaitStatus);
}

std::vector<std::string> Koserial(const std::vector<std::string>& aArguments)
{
    std::vector<std::string> command;
    std::istringstream words(KOSERIAL_COMMAND);
    for (std::string word; std::getline(words, word, '|');)
    {
        command.push_back(word);
    }
    command.insert(command.end(), aArguments.begin(), aArguments.end());
    return command;
}

Outcome RunKoserial(const std::vector<std::string>& aArguments, const std::string& aInputFile)
{
    Program program(Koserial(aArguments));
    const int status = program.WithInput(aInputFile).Wait();
    return {status, program.GetOutput(), program.GetErrors()};
}
