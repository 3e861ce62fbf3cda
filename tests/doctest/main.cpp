#include <doctest.h>

int main(int argumentCount, char** arguments)
{
    return doctest::Context(argumentCount, arguments).run();
}
