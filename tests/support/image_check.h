// Says where the image differs from what it should be.
#ifndef TARN_TESTS_IMAGE_CHECK_H
#define TARN_TESTS_IMAGE_CHECK_H

#include "support/fixture.h"

/// Fails with the first byte that differs.
inline ::testing::AssertionResult sameBytes(const QByteArray &got, const QByteArray &expected)
{
    if (got == expected)
        return ::testing::AssertionSuccess();
    int i = 0;
    while (i < int(got.size()) && i < int(expected.size()) && got.at(i) == expected.at(i))
        ++i;
    return ::testing::AssertionFailure() << "byte " << i << " of " << got.size() << " is " << hex(got.mid(i, 1))
                                         << ", expected " << hex(expected.mid(i, 1)) << " of " << expected.size();
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

/// Fails with the first byte of the image that is not 0.
inline ::testing::AssertionResult imageIsEmpty()
{
    return sameImage(QByteArray(wholeImage().size(), '\0'));
}

#endif
