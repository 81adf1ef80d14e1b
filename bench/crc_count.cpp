// Computes the CRC of so many times 256 bytes: for counting instructions on a processor of another kind.
#include <cstdlib>
#include <tarn_fgsseries.h>

int main(int, char **argv)
{
    static unsigned char bytes[256];
    unsigned all = 0;
    for (int i = std::atoi(argv[1]); i > 0; --i)
        all += CalCRC(bytes, sizeof bytes);
    return all == 1;
}
