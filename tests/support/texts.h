// Conditions on texts that show the text when they fail.
#ifndef TARN_TESTS_TEXTS_H
#define TARN_TESTS_TEXTS_H

#include <gtest/gtest.h>
#include <QtCore/QString>

inline ::testing::AssertionResult contains(const QString &text, const QString &part)
{
    return (text.contains(part) ? ::testing::AssertionSuccess() : ::testing::AssertionFailure())
           << "'" << part.toStdString() << "' in:\n"
           << text.toStdString();
}

inline ::testing::AssertionResult startsWith(const QString &text, const QString &beginning)
{
    return (text.startsWith(beginning) ? ::testing::AssertionSuccess() : ::testing::AssertionFailure())
           << "'" << beginning.toStdString() << "' ahead of:\n"
           << text.toStdString();
}

#endif
