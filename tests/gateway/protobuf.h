// Protocol buffers as the tests read and write them, apart from the program's own way.
#ifndef TARN_TESTS_PROTOBUF_H
#define TARN_TESTS_PROTOBUF_H

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace protobuf
{

struct Field {
    std::uint64_t number = 0;
    int wire = 0;
    std::uint64_t value = 0; ///< of a number, its bits
    std::string bytes;       ///< of a text or message
};

class Message
{
public:
    Message() = default;
    /// A test fails unless the bytes are fields to the last of them.
    explicit Message(const std::string &bytes)
    {
        std::size_t at = 0;
        while (at < bytes.size())
            if (!take(bytes, at)) {
                ADD_FAILURE() << "no fields at " << at << " of " << bytes.size();
                return;
            }
    }

    std::vector<Field> all(std::uint64_t number) const
    {
        std::vector<Field> found;
        for (const Field &field : fields)
            if (field.number == number)
                found.push_back(field);
        return found;
    }
    bool has(std::uint64_t number) const { return !all(number).empty(); }
    /// Of a field that stands once.
    Field one(std::uint64_t number) const
    {
        const std::vector<Field> found = all(number);
        EXPECT_EQ(found.size(), 1U) << "field " << number;
        return found.size() == 1 ? found[0] : Field();
    }
    std::uint64_t number(std::uint64_t at) const { return one(at).value; }
    std::string text(std::uint64_t at) const { return one(at).bytes; }
    float asFloat(std::uint64_t at) const
    {
        EXPECT_EQ(one(at).wire, 5);
        const std::uint32_t bits = static_cast<std::uint32_t>(number(at));
        float value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    double asDouble(std::uint64_t at) const
    {
        EXPECT_EQ(one(at).wire, 1);
        const std::uint64_t bits = number(at);
        double value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    std::size_t size() const { return fields.size(); }

private:
    static bool takeVarint(const std::string &bytes, std::size_t &at, std::uint64_t &value)
    {
        value = 0;
        for (int shift = 0; shift < 64 && at < bytes.size(); shift += 7) {
            const std::uint64_t byte = static_cast<unsigned char>(bytes[at++]);
            value |= (byte & 0x7F) << shift;
            if (byte < 0x80)
                return true;
        }
        return false;
    }
    static bool takeFixed(const std::string &bytes, std::size_t &at, std::size_t size, std::uint64_t &value)
    {
        if (bytes.size() - at < size)
            return false;
        value = 0;
        for (std::size_t i = 0; i < size; ++i)
            value |= std::uint64_t(static_cast<unsigned char>(bytes[at++])) << 8 * i;
        return true;
    }
    static bool takeBytes(const std::string &bytes, std::size_t &at, std::string &text)
    {
        std::uint64_t length;
        if (!takeVarint(bytes, at, length) || length > bytes.size() - at)
            return false;
        text = bytes.substr(at, static_cast<std::size_t>(length));
        at += text.size();
        return true;
    }
    bool take(const std::string &bytes, std::size_t &at)
    {
        std::uint64_t key;
        Field field;
        if (!takeVarint(bytes, at, key))
            return false;
        field.number = key >> 3;
        field.wire = static_cast<int>(key & 7);
        const bool isRead = field.wire == 0   ? takeVarint(bytes, at, field.value)
                            : field.wire == 1 ? takeFixed(bytes, at, 8, field.value)
                            : field.wire == 2 ? takeBytes(bytes, at, field.bytes)
                                              : field.wire == 5 && takeFixed(bytes, at, 4, field.value);
        fields.push_back(field);
        return isRead;
    }

    std::vector<Field> fields;
};

// ---- writing

inline std::string varint(std::uint64_t value)
{
    std::string bytes;
    for (; value >= 0x80; value >>= 7)
        bytes += static_cast<char>((value & 0x7F) | 0x80);
    return bytes + static_cast<char>(value);
}

inline std::string number(std::uint64_t field, std::uint64_t value)
{
    return varint(field << 3) + varint(value);
}

inline std::string text(std::uint64_t field, const std::string &bytes)
{
    return varint(field << 3 | 2) + varint(bytes.size()) + bytes;
}

template <typename Number>
std::string fixed(std::uint64_t field, Number value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value); // little-endian
    std::string bytes = varint(field << 3 | (sizeof value == 4 ? 5 : 1));
    for (std::size_t i = 0; i < sizeof value; ++i)
        bytes += static_cast<char>(bits >> 8 * i & 0xFF);
    return bytes;
}

} // namespace protobuf

#endif
