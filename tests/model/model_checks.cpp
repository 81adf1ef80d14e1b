// Address texts and check codes.
#include "model.h"

#include <climits>

namespace model
{

int wrap(Wide number)
{
    return static_cast<int>(static_cast<unsigned>(number & 0xFFFFFFFF));
}

unsigned char lowByte(Wide number)
{
    return static_cast<unsigned char>(number & 0xFF);
}

// Blanks around, one sign, then digits of the base and nothing else; false for a number beyond 32 bits.
static bool parse(const Text &text, int base, int *number)
{
    // Those of Unicode too.
    const Text blanks = u" \t\n\v\f\r\u0085\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009"
                        u"\u200A\u2028\u2029\u202F\u205F\u3000";
    const size_t first = text.find_first_not_of(blanks);
    if (first == Text::npos)
        return false;
    Text digits = text.substr(first, text.find_last_not_of(blanks) - first + 1);
    const bool negative = digits[0] == u'-';
    if (digits[0] == u'-' || digits[0] == u'+')
        digits.erase(0, 1);
    if (digits.empty())
        return false;
    Wide value = 0;
    for (char16_t digit : digits) {
        if (digit < u'0' || digit >= u'0' + base)
            return false;
        value = value * base + (digit - u'0');
        if (value > Wide(INT_MAX) + 1)
            return false;
    }
    value = negative ? -value : value;
    *number = static_cast<int>(value);
    return value >= INT_MIN && value <= INT_MAX;
}

static int parsedOrZero(const Text &text, int base)
{
    int number = 0;
    return parse(text, base, &number) ? number : 0;
}

int StringAddressToInt(int areaType, const Text &text)
{
    if (areaType == 0 || areaType == 1)
        return parsedOrZero(text, 8);
    if (areaType >= 2 && areaType <= 13)
        return parsedOrZero(text, 10);
    return 0;
}

int PLCAddressChangeIntef(int areaType, const Text &text)
{
    if (areaType < 0 || areaType > 13)
        return 0;
    if (areaType <= 1)
        return parsedOrZero(text, 8);
    const int number = parsedOrZero(text, 10);
    if (areaType != 10)
        return number;
    return number > 199 ? number - 200 : -1;
}

unsigned CalCRC(const Bytes &bytes, Wide length)
{
    unsigned crc = 0xFFFF;
    for (Wide i = 0; i < length; ++i) {
        crc ^= bytes[static_cast<size_t>(i)];
        for (int bit = 0; bit < 8; ++bit) {
            const bool out = crc & 1;
            crc >>= 1;
            if (out)
                crc ^= 0xA001;
        }
    }
    return crc;
}

static unsigned long long sum(const Bytes &bytes, Wide length)
{
    unsigned long long total = 0;
    for (Wide i = 0; i < length; ++i)
        total += bytes[static_cast<size_t>(i)];
    return total;
}

unsigned CalSUM(const Bytes &bytes, Wide length)
{
    return static_cast<unsigned>(sum(bytes, length) % 65536);
}

int CalLRC(const Bytes &bytes, Wide length)
{
    return static_cast<int>(~sum(bytes, length) & 0xFF) + 1;
}

unsigned CalXOR(const Bytes &bytes, Wide length)
{
    unsigned value = bytes[0];
    for (Wide i = 1; i < length; ++i)
        value ^= bytes[static_cast<size_t>(i)];
    return value;
}

int DigitalToASCII(int digit)
{
    return wrap(digit <= 9 ? Wide(digit) + 0x30 : Wide(digit) + 0x37);
}

int ASCIIToDigital(int character)
{
    if (character <= 0x2F)
        return 0;
    if (character <= 0x3F)
        return character - 0x30;
    if (character == 0x40)
        return 0;
    return character - 0x37;
}

} // namespace model
