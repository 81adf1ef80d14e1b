// What the doctor finds, for people.
#ifndef FGS_WATCH_DOCTOR_TEXT_H
#define FGS_WATCH_DOCTOR_TEXT_H

#include "doctor.h"

#include <QtCore/QStringList>

namespace fgs
{

/// Mark, name and text; of what is to be mended the remedy in a line of its own.
QStringList linesOf(const CheckResult &finding);
/// Name, and what it looks for.
QString lineOf(const CheckText &check);

} // namespace fgs

#endif
