#include "display.h"
#include "table_layout.h"
#include "terminal.h"

#include <climits>
#include <mutex>
#include <poll.h>
#include <QtCore/QRegularExpression>
#include <thread>

namespace fgs
{

namespace
{

const int RedrawPause = 100; ///< ms
const Time MarkedFor = 2s;   ///< after a change

/// One line of the table and of what it shows.
struct Entry {
    Reading reading;
    QString reason;
    std::vector<Time> changedAt; ///< of each value; Never: not since the start
};

/// What both threads see, under its lock.
struct Board {
    std::mutex lock;
    std::vector<Entry> entries;
    quint64 requests = 0, failures = 0;
    bool linkIsOpen = true;
    QString remark;
};

/// The loop's thread fills the board; a thread of the table's own draws it and takes the keys, so that neither
/// waits for the other.
class Table : public Display
{
public:
    Table(const std::vector<Tag> &theTags, const TextStyle &textStyle, const Link &theLink, Stop &theStop)
        : tags(theTags), style(textStyle), link(theLink), stop(theStop), drawer([this] { run(); })
    {
    }

    ~Table() override { close(); }

    void updated(const std::vector<Reading> &readings, const std::vector<std::size_t> &which) override
    {
        const std::lock_guard<std::mutex> guard(board.lock);
        board.entries.resize(readings.size());
        for (std::size_t i : which)
            update(board.entries[i], readings[i]);
    }

    void counted(const Statistics &statistics) override
    {
        const std::lock_guard<std::mutex> guard(board.lock);
        board.requests = statistics.requests;
        board.failures = statistics.failures();
    }

    void happened(const LineEvent &event) override
    {
        const std::lock_guard<std::mutex> guard(board.lock);
        board.remark = eventText(event);
        board.linkIsOpen = link.isOpen();
    }

    void tell(const QString &message) override
    {
        const std::lock_guard<std::mutex> guard(board.lock);
        board.remark = message;
    }

    bool isDone() const override { return terminalGone; }

    /// The rows that were seen last stay on the terminal.
    void end() override
    {
        close();
        const std::lock_guard<std::mutex> guard(board.lock);
        for (const QString &line : screen(Terminal::size(), false))
            printLine(line);
    }

private:
    void update(Entry &entry, const Reading &reading) const
    {
        entry.changedAt.resize(reading.values.size(), Never);
        const bool isFirst = entry.reading.values.size() != reading.values.size();
        for (std::size_t i = 0; i < reading.values.size() && !isFirst; ++i)
            if (reading.values[i] != entry.reading.values[i])
                entry.changedAt[i] = reading.time;
        entry.reading = reading;
        entry.reason = qualityText(reading, style);
    }

    void close()
    {
        if (!drawer.joinable())
            return;
        closing.request();
        drawer.join();
    }

    // ---- the drawing thread

    void run()
    {
        Terminal terminal;
        while (!closing.isRequested() && !terminalGone) {
            redraw();
            waitForKeys(terminal);
        }
        redraw();
    }

    void waitForKeys(Terminal &terminal)
    {
        pollfd sources[] = {{closing.descriptor(), POLLIN, 0}, {terminal.input(), POLLIN, 0}};
        ::poll(sources, 2, RedrawPause);
        if (sources[1].revents & POLLIN)
            for (Key key : terminal.keys())
                obey(key);
        if (sources[1].revents & (POLLHUP | POLLERR))
            leave();
    }

    void leave()
    {
        terminalGone = true;
        stop.request();
    }

    void obey(Key key)
    {
        switch (key) {
        case Key::Up:
            --top;
            break;
        case Key::Down:
            ++top;
            break;
        case Key::PageUp:
            top -= page;
            break;
        case Key::PageDown:
            top += page;
            break;
        case Key::Home:
            top = 0;
            break;
        case Key::End:
            top = INT_MAX / 2;
            break;
        case Key::Quit:
            stop.request();
            break;
        }
    }

    /// A terminal that takes nothing holds up this thread only.
    void redraw()
    {
        if (!Terminal::draw(lockedScreen()))
            leave();
    }

    QStringList lockedScreen()
    {
        const std::lock_guard<std::mutex> guard(board.lock);
        return screen(Terminal::size(), true);
    }

    QStringList screen(const Terminal::Size &size, bool colored)
    {
        const TableLayout layout(tags, style.format, size.columns);
        const int total = totalRows(layout);
        page = std::max(1, size.rows - 1 - int(statusLines(layout, size.columns, 0, total).size()));
        top = qBound(0, top, std::max(0, total - page));
        QStringList lines{layout.header()};
        appendRows(lines, layout, colored);
        lines << statusLines(layout, size.columns, std::min(page, total), total);
        return lines.mid(lines.size() > size.rows ? 1 : 0, size.rows); // the header goes first
    }

    int totalRows(const TableLayout &layout) const
    {
        int rows = 0;
        for (std::size_t i = 0; i < board.entries.size(); ++i)
            rows += rowCount(layout, i);
        return rows;
    }

    int rowCount(const TableLayout &layout, std::size_t index) const
    {
        const Entry &entry = board.entries[index];
        return layout.rowCount(tags[index], entry.reading, entry.reason);
    }

    /// The rows from `top` on.
    void appendRows(QStringList &lines, const TableLayout &layout, bool colored) const
    {
        int row = 0;
        const int bottom = top + page;
        for (std::size_t index = 0; index < board.entries.size(); ++index) {
            const Entry &entry = board.entries[index];
            const int count = rowCount(layout, index);
            if (row + count > top && row < bottom) {
                const QStringList rows =
                    layout.rows(tags[index], entry.reading, entry.reason, marksOf(entry), link.now());
                for (int i = std::max(0, top - row); i < count && row + i < bottom; ++i)
                    lines << (colored ? inColor(rows[i], entry.reading.quality) : rows[i]);
            }
            row += count;
        }
    }

    std::vector<bool> marksOf(const Entry &entry) const
    {
        std::vector<bool> marks;
        for (Time changed : entry.changedAt)
            marks.push_back(changed != Never && link.now() - changed < MarkedFor);
        return marks;
    }

    /// What has no value or an old one stands out, and so does what has changed.
    QString inColor(QString row, Quality quality) const
    {
        if (noColor)
            return row;
        if (quality != Quality::Good)
            return QStringLiteral("\x1b[31m%1\x1b[0m").arg(row);
        static const QRegularExpression marked(QStringLiteral("(\\*[^ ]+)"));
        return row.replace(marked, QStringLiteral("\x1b[1m\\1\x1b[0m"));
    }

    QStringList statusLines(const TableLayout &layout, int columns, int shown, int total) const
    {
        QString status;
        if (const int missing = layout.missingColumns())
            status = QStringLiteral("too narrow for the values: %1 more columns needed; ").arg(missing);
        status += QStringLiteral("rows %1-%2 of %3").arg(total ? top + 1 : 0).arg(top + shown).arg(total);
        if (shown < total)
            status += QStringLiteral(" (arrows, page keys)");
        status += QStringLiteral("; %1 s, %2 requests, %3 failed; link %4; q ends")
                      .arg(QString::number(std::chrono::duration<double>(link.now() - style.start).count(), 'f', 1))
                      .arg(board.requests)
                      .arg(board.failures)
                      .arg(board.linkIsOpen ? QStringLiteral("open") : QStringLiteral("lost"));
        return wrapped(status, columns) + wrapped(board.remark, columns);
    }

    const std::vector<Tag> &tags;
    const TextStyle style;
    const Link &link;
    Stop &stop;
    const bool noColor = !qEnvironmentVariableIsEmpty("NO_COLOR");
    Board board;
    int top = 0;  ///< first row on the screen; the drawing thread's, like the next
    int page = 1; ///< rows on the screen
    std::atomic<bool> terminalGone{false};
    Stop closing;
    std::thread drawer; ///< last, so that it starts when all is there
};

} // namespace

std::unique_ptr<Display> makeTable(const std::vector<Tag> &tags, const TextStyle &style, const Link &link,
                                   Stop &stop)
{
    return std::make_unique<Table>(tags, style, link, stop);
}

} // namespace fgs
