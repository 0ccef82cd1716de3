#include "CommandLine.h"

int main(int aArgumentCount, char** aArguments)
{
    return KoTool::RunCommandLine(aArgumentCount, aArguments);
}
