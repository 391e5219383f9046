#include "cli/run.h"

int main(int argc, char **argv)
{
    cli::Cli session;
    return cli::run(&session, {argv + 1, argv + argc}, stdin);
}
