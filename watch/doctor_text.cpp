#include "doctor_text.h"

namespace fgs
{

namespace
{

const int MarkColumns = 13, NameColumns = 13;

QString cell(const char *text, int columns)
{
    return QString::fromLatin1(text).leftJustified(columns);
}

const char *textOf(Mark mark)
{
    static const char *const texts[] = {"ok", "FOUND", "not checked"};
    return texts[static_cast<int>(mark)];
}

} // namespace

QStringList linesOf(const CheckResult &finding)
{
    QStringList lines{cell(textOf(finding.mark), MarkColumns) + cell(finding.check, NameColumns) + finding.text};
    if (!finding.remedy.isEmpty())
        lines << cell("", MarkColumns + NameColumns) + QStringLiteral("-> ") + finding.remedy;
    return lines;
}

QString lineOf(const CheckText &check)
{
    return cell(check.name, NameColumns) + QString::fromLatin1(check.about);
}

} // namespace fgs
