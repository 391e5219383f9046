#include "core/tarvod.h"

int main(int argc, char **argv)
{
    return run_tarvod(argc, argv);
}
