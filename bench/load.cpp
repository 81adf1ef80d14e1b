// Prints the microseconds that loading the driver takes in a process that has Qt Core. argv[1]: the library.
#include <chrono>
#include <cstdio>
#include <dlfcn.h>

int main(int, char **argv)
{
    const auto start = std::chrono::steady_clock::now();
    if (!dlopen(argv[1], RTLD_NOW)) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - start;
    std::printf("%.1f\n", taken.count());
}
