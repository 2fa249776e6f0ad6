// quillmoor-thumbnailer: see thumbnailer/Cli.h for the commands and exit codes.
#include "thumbnailer/Cli.h"

#include <iostream>

int main(int argc, char** argv)
{
    return qm::runCli(argc, argv, std::cout, std::cerr);
}
