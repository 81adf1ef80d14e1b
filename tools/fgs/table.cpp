#include "display.h"

#include <algorithm>
#include <QtCore/QStringList>
#include <QtCore/QtGlobal>
#include <sys/ioctl.h>
#include <unistd.h>

namespace fgs
{

namespace
{

struct Screen {
    int lines = 24;
    int columns = 80;
};

Screen screenSize()
{
    winsize size = {};
    Screen screen;
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row && size.ws_col)
        screen = {size.ws_row, size.ws_col};
    return screen;
}

const QString ClearToEnd = QStringLiteral("\x1b[K");

class Table : public Display
{
public:
    explicit Table(Format valueFormat) : format(valueFormat) {}

    Time pause() const override { return 100ms; }

    void show(const std::vector<Row> &rows, const Host &host, Time elapsed, Time now) override
    {
        const Screen screen = screenSize();
        const int room = std::max(1, screen.lines - 3);
        QStringList lines;
        for (const Row &row : rows)
            if (lines.size() < room)
                lines << colored(rowLine(row, now).left(screen.columns - 1), row.age);
        const int hidden = static_cast<int>(rows.size()) - static_cast<int>(lines.size());
        lines << (statusLine(host.statistics(), elapsed, hidden) + lastRemark).left(screen.columns - 1);
        draw(lines);
    }

    void remark(const QString &text) override { lastRemark = QStringLiteral("; ") + text; }

private:
    QString rowLine(const Row &row, Time now) const
    {
        const QString age = row.age.isKnown() ? seconds(now - row.age.stored) + QStringLiteral(" s") : QString();
        return QStringLiteral("%1  %2").arg(age, 10).arg(rowText(row, format));
    }

    static QString statusLine(const Statistics &statistics, Time elapsed, int hidden)
    {
        const QString more = hidden ? QStringLiteral("%1 more variables; ").arg(hidden) : QString();
        return QStringLiteral("%1%2 s, %3 requests, %4 failed, Ctrl-C ends")
            .arg(more, QString::number(std::chrono::duration<double>(elapsed).count(), 'f', 1))
            .arg(statistics.requests)
            .arg(statistics.failures());
    }

    /// What has no value or an old one stands out.
    QString colored(const QString &line, const Age &age) const
    {
        return noColor || age.outcome == Outcome::Good ? line : QStringLiteral("\x1b[31m%1\x1b[0m").arg(line);
    }

    void draw(const QStringList &lines)
    {
        QString text = drawn ? QStringLiteral("\x1b[%1A\r").arg(drawn) : QString();
        text += lines.join(ClearToEnd + QLatin1Char('\n')) + ClearToEnd;
        printLine(text);
        drawn = static_cast<int>(lines.size());
    }

    const Format format;
    const bool noColor = !qEnvironmentVariableIsEmpty("NO_COLOR");
    int drawn = 0; ///< lines above the cursor
    QString lastRemark;
};

} // namespace

std::unique_ptr<Display> makeTable(Format format)
{
    return std::make_unique<Table>(format);
}

} // namespace fgs
