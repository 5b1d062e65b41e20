#include "ControllerProcess.h"

int main(int argc, char **argv)
{
    return runControllerProcess(argc, argv);
}
