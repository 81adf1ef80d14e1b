// Prints the heap that the driver holds per entry of its lists. Fields: name, bytes.
#include <cstdio>
#include <malloc.h>
#include <tarn_fgsseries.h>

namespace
{

const int Entries = 1000;

size_t heap()
{
    return mallinfo2().uordblks;
}

template <typename Step>
void perEntry(const char *name, Step step)
{
    step(0);
    const size_t before = heap();
    for (int i = 1; i <= Entries; ++i)
        step(i);
    std::printf("%s %zu\n", name, (heap() - before + Entries / 2) / Entries);
}

RW_VAR variable(int address)
{
    RW_VAR var;
    var.areaType = 5;
    var.station = 1;
    var.address = address;
    var.length = 1;
    return var;
}

} // namespace

int main()
{
    COMINFO info = COMINFO();
    info.blockWords = 30;
    info.stationMode = 1;
    SetComInfo(&info);

    perEntry("cyclic_entry", [](int i) {
        RW_VAR var = variable(i);
        AddListReadVar(&var);
    });
    perEntry("write_entry", [](int i) {
        RW_VAR var = variable(i);
        var.data = QByteArray("\x12\x34", 2);
        AddListWriteVar(&var, 1);
    });
    perEntry("one_shot_entry", [](int i) {
        RW_VAR var = variable(i);
        AddListOnceReadVar(&var, 1);
    });
    perEntry("station_value", [](int i) { ExtendFindSameVar(1, 5, i); });
}
