// The one driver object as it is after loading, for every test, and small helpers around it.
//
//     class SingleReads : public DriverTest {};
//     TEST_F(SingleReads, ...) { RW_VAR var = variable(5, 100, 4); ... EXPECT_EQ(hex(head().frame), "01 FE ..."); }
#ifndef TARN_TESTS_FIXTURE_H
#define TARN_TESTS_FIXTURE_H

#include "tarn_fgsseries.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

// These tests run on one thread and look at guarded state without its lock.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wthread-safety-analysis"
#pragma clang diagnostic ignored "-Wthread-safety-reference"
#endif

/// "03 FE 01" to bytes; blanks do not count.
inline QByteArray bytes(const char *hexText)
{
    return QByteArray::fromHex(QByteArray(hexText));
}

/// Bytes to "03 FE 01".
inline std::string hex(const QByteArray &data)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (int i = 0; i < int(data.size()); ++i) {
        const unsigned value = static_cast<unsigned char>(data.at(i));
        text += i ? " " : "";
        text += digits[value >> 4];
        text += digits[value & 15];
    }
    return text;
}

/// One variable; everything that is not given is 0 or empty.
inline RW_VAR variable(int areaType, int address, int length, int station = 1,
                       const QByteArray &data = QByteArray())
{
    RW_VAR var;
    var.areaType = areaType;
    var.address = address;
    var.length = length;
    var.station = station;
    var.data = data;
    return var;
}

/// A variable whose every field tells it from any other, to see what is copied.
inline RW_VAR distinctVariable(int areaType, int address, int length, int station = 1)
{
    RW_VAR var = variable(areaType, address, length, station, bytes("0A 0B 0C 0D"));
    var.hostType = 21;
    var.hostAddr = 22;
    var.hostField3 = 23;
    var.remoteModeCopy = 24;
    var.linkNo = 25;
    var.result = 26;
    var.text1 = QString::fromLatin1("first text");
    var.addressText = QString::fromLatin1("second text");
    var.remoteStoreMark = 27;
    var.hostField14 = 28;
    return var;
}

/// Fails with the name of the first field that differs.
inline ::testing::AssertionResult sameVariable(const RW_VAR &a, const RW_VAR &b)
{
    const char *differs = a.hostType != b.hostType                 ? "hostType"
                          : a.hostAddr != b.hostAddr               ? "hostAddr"
                          : a.hostField3 != b.hostField3           ? "hostField3"
                          : a.remoteModeCopy != b.remoteModeCopy   ? "remoteModeCopy"
                          : a.linkNo != b.linkNo                   ? "linkNo"
                          : a.result != b.result                   ? "result"
                          : a.text1 != b.text1                     ? "text1"
                          : a.addressText != b.addressText         ? "addressText"
                          : a.areaType != b.areaType               ? "areaType"
                          : a.address != b.address                 ? "address"
                          : a.station != b.station                 ? "station"
                          : a.length != b.length                   ? "length"
                          : a.remoteStoreMark != b.remoteStoreMark ? "remoteStoreMark"
                          : a.hostField14 != b.hostField14         ? "hostField14"
                          : a.data != b.data                       ? "data"
                                                                   : nullptr;
    if (differs)
        return ::testing::AssertionFailure() << differs << " differs";
    return ::testing::AssertionSuccess();
}

/// The image buffer of one area type: its place, the bytes of one item (bit areas: 1, eight bits) and the items.
struct AreaBuffer {
    int areaType;
    void *start;
    int itemSize;
    int items;

    int size() const { return itemSize * items; }
    QByteArray content() const { return QByteArray(static_cast<const char *>(start), size()); }
    bool isBits() const { return itemSize == 1; }

    /// Item i as a number; a bit area's item is a byte.
    unsigned at(int i) const
    {
        return itemSize == 1   ? static_cast<const unsigned char *>(start)[i]
               : itemSize == 2 ? static_cast<const unsigned short *>(start)[i]
                               : static_cast<const unsigned int *>(start)[i];
    }
    void put(int i, unsigned value) const
    {
        if (itemSize == 1)
            static_cast<unsigned char *>(start)[i] = static_cast<unsigned char>(value);
        else if (itemSize == 2)
            static_cast<unsigned short *>(start)[i] = static_cast<unsigned short>(value);
        else
            static_cast<unsigned int *>(start)[i] = value;
    }
    /// The address of item i: a bit area counts in bits.
    int addressOf(int i) const { return isBits() ? i * 8 : i; }
};

/// The fourteen areas, by area type.
inline const std::vector<AreaBuffer> &areaBuffers()
{
    Tarn_FGsSeries &d = PLC_driver;
    static const std::vector<AreaBuffer> areas = {
        {0, d.ucArea0, 1, 256}, {1, d.ucArea1, 1, 256},   {2, d.ucArea2, 1, 1500},  {3, d.ucArea3, 1, 256},
        {4, d.ucArea4, 1, 256}, {5, d.usArea5, 2, 10000}, {6, d.usArea6, 2, 256},   {7, d.usArea7, 2, 256},
        {8, d.usArea8, 2, 256}, {9, d.usArea9, 2, 256},   {10, d.uiArea10, 4, 256}, {11, d.ucArea11, 1, 140},
        {12, d.usArea12, 2, 8}, {13, d.usArea13, 2, 8},
    };
    return areas;
}

inline const AreaBuffer &area(int areaType)
{
    return areaBuffers().at(size_t(areaType));
}

/// Every byte of the image, to see that nothing, or nothing else, changed.
inline QByteArray wholeImage()
{
    QByteArray all;
    for (const AreaBuffer &buffer : areaBuffers())
        all += buffer.content();
    return all;
}

inline void restoreImage(const QByteArray &all)
{
    const char *from = all.constData();
    for (const AreaBuffer &buffer : areaBuffers()) {
        std::memcpy(buffer.start, from, size_t(buffer.size()));
        from += buffer.size();
    }
}

inline void fillImage(unsigned char value)
{
    for (const AreaBuffer &buffer : areaBuffers())
        std::memset(buffer.start, value, size_t(buffer.size()));
}

/// Fails with the first byte of the image that differs from expected, an earlier wholeImage(): area, item and
/// values.
inline ::testing::AssertionResult sameImage(const QByteArray &expected)
{
    const QByteArray now = wholeImage();
    int differs = 0;
    while (differs < int(now.size()) && now.at(differs) == expected.at(differs))
        ++differs;
    if (differs == int(now.size()))
        return ::testing::AssertionSuccess();
    int offset = 0; // of the area in the image
    for (const AreaBuffer &buffer : areaBuffers()) {
        if (differs < offset + buffer.size()) {
            const int i = (differs - offset) / buffer.itemSize, from = offset + i * buffer.itemSize;
            return ::testing::AssertionFailure()
                   << "area " << buffer.areaType << ", address " << buffer.addressOf(i) << ": bytes "
                   << hex(now.mid(from, buffer.itemSize)) << ", expected "
                   << hex(expected.mid(from, buffer.itemSize));
        }
        offset += buffer.size();
    }
    return ::testing::AssertionFailure() << "the image has no byte " << differs;
}

/// Fails unless the image is as fillImage(background) made it but for these items of one area, from item first on.
inline ::testing::AssertionResult imageIs(int areaType, int first, const std::vector<unsigned> &items,
                                          unsigned char background = 0)
{
    const QByteArray now = wholeImage();
    fillImage(background);
    for (size_t i = 0; i < items.size(); ++i)
        area(areaType).put(first + int(i), items[i]);
    const QByteArray expected = wholeImage();
    restoreImage(now);
    return sameImage(expected);
}

/// ReadRegister1 .. ReadRegister6, by the number of variables; leaves groupExtra to the caller.
inline void readGroup(std::vector<RW_VAR> &vars)
{
    RW_VAR *v = vars.data();
    switch (vars.size()) {
    case 1:
        return ReadRegister1(v);
    case 2:
        return ReadRegister2(v, v + 1);
    case 3:
        return ReadRegister3(v, v + 1, v + 2);
    case 4:
        return ReadRegister4(v, v + 1, v + 2, v + 3);
    case 5:
        return ReadRegister5(v, v + 1, v + 2, v + 3, v + 4);
    case 6:
        return ReadRegister6(v, v + 1, v + 2, v + 3, v + 4, v + 5);
    default:
        FAIL() << vars.size() << " variables are no group of 1 to 6";
    }
}

/// The numbers of the words of the settings that are not as they were.
inline std::vector<int> changedWords(const COMINFO &before, const COMINFO &after)
{
    int old[20], now[20];
    std::memcpy(old, &before, sizeof old);
    std::memcpy(now, &after, sizeof now);
    std::vector<int> words;
    for (int i = 0; i < 20; ++i)
        if (old[i] != now[i])
            words.push_back(i);
    return words;
}

class DriverTest : public ::testing::Test
{
protected:
    DriverTest() { reset(); }
    ~DriverTest() override
    {
        reset();
        PLC_driver.settings = nullptr;
    }

    /// Puts the driver into its state after loading, but with the fixture's settings, all zero.
    void reset()
    {
        settings = COMINFO();
        PLC_driver.settings = &settings;
        PLC_driver.CallBackFunc = nullptr;
        PLC_driver.CallBackContext = 0;
        PLC_driver.RetVar = RW_VAR();
        PLC_driver.RetVar.result = 1;
        PLC_driver.CurrentSource = 100;
        PLC_driver.WriteTimes = PLC_driver.OnceReadTimes = PLC_driver.CycleReadCount = 0;
        PLC_driver.CommFailFlag = 0;
        PLC_driver.spareFlag = 0;
        clearLists();
        fillImage(0);
        std::fill(std::begin(iRet_ValidLen), std::end(iRet_ValidLen), 0);
        std::fill(std::begin(iRet_ValidStar), std::end(iRet_ValidStar), 0);
        iTimes = 0;
        LB = LW = RWI = nullptr;
    }

    static void clearLists()
    {
        PLC_driver.ReadVarList.clear();
        PLC_driver.WriteVarList.clear();
        PLC_driver.OnceReadVarList.clear();
        PLC_driver.SpareVarList.clear();
        PLC_driver.ProtocolList.clear();
        PLC_driver.ExtendVarList.clear();
        CurrentRWVar.clear();
    }

    /// The request at the head of ProtocolList; an empty one if there is none.
    static Protocol head()
    {
        return PLC_driver.ProtocolList.isEmpty() ? Protocol() : PLC_driver.ProtocolList.first();
    }
    /// The request built last.
    static Protocol last()
    {
        return PLC_driver.ProtocolList.isEmpty() ? Protocol() : PLC_driver.ProtocolList.last();
    }
    static int built() { return int(PLC_driver.ProtocolList.size()); }

    /// True if no lock was left behind.
    static bool locksAreFree()
    {
        const bool list = PLC_driver.ListMutex.tryLock();
        const bool image = PLC_driver.ImageMutex.tryLock();
        if (list)
            PLC_driver.ListMutex.unlock();
        if (image)
            PLC_driver.ImageMutex.unlock();
        return list && image;
    }

    static void addStored(int station, int areaType, int address, const char *hexValue)
    {
        EXTENDVAR entry;
        entry.station = station;
        entry.areaType = areaType;
        entry.address = address;
        entry.value = bytes(hexValue);
        PLC_driver.ExtendVarList.append(entry);
    }

    /// "station/area@address = 01 02", one per-station entry a line.
    static std::string stored()
    {
        std::string text;
        for (const EXTENDVAR &entry : PLC_driver.ExtendVarList)
            text += std::to_string(entry.station) + "/" + std::to_string(entry.areaType) + "@" +
                    std::to_string(entry.address) + " = " + hex(entry.value) + "\n";
        return text;
    }

    COMINFO settings;
};

#endif
