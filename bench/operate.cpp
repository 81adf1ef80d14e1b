// Does one operation so many times.
//
//   operate                       prints names and numbers of repetitions
//   operate OPERATION REPETITIONS
#include "operations.h"

#include <QtCore/QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char **argv)
{
    int nameOnly = 1;
    QCoreApplication app(nameOnly, argv);
    for (const bench::Operation &operation : bench::operations()) {
        if (argc == 1)
            std::printf("%s %ld\n", operation.name, operation.repetitions);
        if (argc == 3 && std::strcmp(operation.name, argv[1]) == 0) {
            operation.prepare()(std::atol(argv[2]));
            return 0;
        }
    }
    if (argc != 1)
        std::fprintf(stderr, "usage: operate [OPERATION REPETITIONS]; without arguments it prints the names\n");
    return argc == 1 ? 0 : 2;
}
