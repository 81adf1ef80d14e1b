// Prints the heap that loading the driver takes, the loader's own records included. argv[1]: the library.
#include <cstdio>
#include <dlfcn.h>
#include <malloc.h>

int main(int, char **argv)
{
    const size_t before = mallinfo2().uordblks;
    if (!dlopen(argv[1], RTLD_NOW)) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    std::printf("start %zu\n", mallinfo2().uordblks - before);
}
