// Texts that somebody else wrote, for a terminal.
#ifndef FGS_TOOL_CONTROLS_H
#define FGS_TOOL_CONTROLS_H

#include <QtCore/QString>

namespace fgs
{

/// They may hold characters that would move the cursor: these become \xNN. Line feeds stay.
inline QString withoutControls(const QString &text)
{
    QString shown;
    for (const QChar letter : text)
        shown += letter.category() == QChar::Other_Control && letter != QLatin1Char('\n')
                     ? QStringLiteral("\\x%1").arg(letter.unicode(), 2, 16, QLatin1Char('0'))
                     : QString(letter);
    return shown;
}

} // namespace fgs

#endif
