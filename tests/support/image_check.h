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

/// Fails with the first byte of the image that is not 0.
inline ::testing::AssertionResult imageIsEmpty()
{
    return sameImage(QByteArray(wholeImage().size(), '\0'));
}

#endif
