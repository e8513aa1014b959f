// Hands each line of a file to system(), as the prerequisite check does with its queries: system FILE
#include <cstdlib>
#include <fstream>
#include <string>

int main(int argc, char** argv)
{
    std::ifstream commands(argc > 1 ? argv[1] : "/dev/null");
    int failures = 0;
    for (std::string command; std::getline(commands, command);)
        failures += std::system(command.c_str()) == 0 ? 0 : 1;
    return failures == 0 ? 0 : 1;
}
