// What every message about a faulty file has.
#ifndef TARN_TESTS_FUZZ_FILE_ERRORS_H
#define TARN_TESTS_FUZZ_FILE_ERRORS_H

#include "host/text_error.h"
#include "target.h"

#include <QtCore/QRegularExpression>

namespace fuzz
{

/// It names the file, "f", a line and a column, and tells a remedy.
inline void checkError(const fgs::TextError &error)
{
    static const QRegularExpression form(QStringLiteral("^f:[1-9][0-9]*:[1-9][0-9]*: .*; "),
                                         QRegularExpression::DotMatchesEverythingOption);
    require(form.match(QString::fromUtf8(error.what())).hasMatch(), "an error without a place or a remedy");
}

} // namespace fuzz

#endif
