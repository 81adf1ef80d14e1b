// Loads the library as a host does, by name, works with it, unloads it, and looks at what it left behind.
// Its argument is the library's path. Ends with 0 if everything was as it should be.
#include "independent_records.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

namespace
{

int failures = 0;

void expect(bool met, const char *what)
{
    std::printf("%s: %s\n", met ? "ok" : "FAILED", what);
    failures += met ? 0 : 1;
}

class Library
{
public:
    explicit Library(const char *path) : handle(dlopen(path, RTLD_NOW | RTLD_LOCAL))
    {
        if (!handle) {
            std::printf("FAILED: %s\n", dlerror());
            std::exit(EXIT_FAILURE);
        }
    }
    ~Library() { dlclose(handle); }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    template <typename Type>
    Type *find(const char *name) const
    {
        void *symbol = dlsym(handle, name);
        if (!symbol) {
            std::printf("FAILED: %s\n", dlerror());
            std::exit(EXIT_FAILURE);
        }
        Type *typed;
        std::memcpy(&typed, &symbol, sizeof typed);
        return typed;
    }

private:
    void *handle;
};

/// Leaves something in every list: cyclic entries, a write, a one-shot read, a request in flight, stored values.
void work(const char *path, int *settings, unsigned char *memory)
{
    const Library library(path);
    const auto *driver = library.find<Tarn_FGsSeries>("PLC_driver");
    expect(driver->CurrentSource == 100 && driver->RetVar.result == 1, "the object is new");
    expect(driver->ReadVarList.isEmpty() && driver->ExtendVarList.isEmpty(), "its lists are empty");
    expect(driver->settings == nullptr && driver->uiArea10[255] == 0, "it has no settings and an empty image");

    library.find<void(int *)>("SetComInfo")(settings);
    library.find<int(void *, void *, void *)>("FlashLocalRegister")(memory, memory, memory);
    QList<HOST_VAR> variables;
    variables << HOST_VAR{5, 1, QString::fromLatin1("100"), 4} << HOST_VAR{1, 2, QString::fromLatin1("20"), 8};
    expect(library.find<int(QList<HOST_VAR> *)>("ReCreatReadVarList")(&variables) == 2, "two blocks are built");
    QByteArray values(2, '\1');
    const auto setRegisterData =
        library.find<int(QString, int, QString, int, QByteArray *, int, int, int)>("SetRegisterData");
    expect(setRegisterData(QString::fromLatin1("text"), 5, QString::fromLatin1("7"), 1, &values, 1, 0, 0) == 1,
           "a write is queued");
    RW_VAR once = RW_VAR();
    once.addressText = QString::fromLatin1("8");
    once.length = 1;
    expect(library.find<int(RW_VAR *, int)>("AddListOnceReadVar")(&once, 0) == 1, "a one-shot read is queued");
    expect(library.find<Protocol *()>("ComCommunication")() != nullptr, "a request is in flight");
    expect(driver->ExtendVarList.size() == 1, "the write is stored");
}

bool isLoaded(const char *path)
{
    void *handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

} // namespace

int main(int count, char **arguments)
{
    if (count != 2) {
        std::printf("usage: load_unload LIBRARY\n");
        return EXIT_FAILURE;
    }
    COMINFO settings = {};
    settings[BlockWords] = 32;
    settings[StationMode] = 1;
    settings[WriteMode] = 2;
    COMINFO expected;
    std::memcpy(expected, settings, sizeof expected);
    expected[FrameTotal] = 1;
    unsigned char memory[64] = {};
    for (int i = 0; i < 2; ++i) {
        work(arguments[1], settings, memory);
        expect(!isLoaded(arguments[1]), "the library is unloaded");
        expect(std::memcmp(settings, expected, sizeof expected) == 0, "the settings are as the request left them");
    }
    for (unsigned char byte : memory)
        failures += byte != 0;
    expect(failures == 0, "the host's memory was not touched");
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
