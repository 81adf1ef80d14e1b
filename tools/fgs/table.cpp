#include "display.h"
#include "table_layout.h"
#include "terminal.h"
#include "watch/line_event_text.h"

#include <climits>
#include <mutex>
#include <optional>
#include <poll.h>
#include <QtCore/QRegularExpression>
#include <thread>

namespace fgs
{

namespace
{

const int RedrawPause = 100; ///< ms
const Time MarkedFor = 2s;   ///< after a change
const int RowsForHelp = 10;  ///< of a screen that has room for the line about the keys
const QString KeysHelp = QStringLiteral("keys: e a row for each value, r range (min, mean, max), t trend, q quit");

/// One line of the table and of what it shows.
struct Entry {
    Reading reading;
    QString reason;
    std::vector<Time> changedAt; ///< of each value; Never: not since the start
    ValueStatistics statistics;
    int rows = 0; ///< that it takes in the layout; 0: not counted yet
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
    Table(const std::vector<Tag> &theTags, const TextStyle &textStyle, const Link &theLink,
          const TableView &theView, Stop &theStop)
        : tags(theTags), style(textStyle), link(theLink), stop(theStop), view(theView), drawer([this] { run(); })
    {
    }

    ~Table() override { close(); }

    void updated(const std::vector<Reading> &readings, const std::vector<std::size_t> &which) override
    {
        const std::lock_guard<std::mutex> guard(board.lock);
        board.entries.resize(readings.size());
        for (std::size_t i : which)
            update(board.entries[i], tags[i], readings[i]);
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
        board.remark = textOf(event);
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
    void update(Entry &entry, const Tag &tag, const Reading &reading) const
    {
        entry.statistics.add(tag, style.format, reading, link.now());
        entry.changedAt.resize(reading.values.size(), Never);
        const bool isFirst = entry.reading.values.size() != reading.values.size();
        for (std::size_t i = 0; i < reading.values.size() && !isFirst; ++i)
            if (reading.values[i] != entry.reading.values[i])
                entry.changedAt[i] = reading.time;
        entry.reading = reading;
        entry.reason = qualityText(reading, style);
        entry.rows = 0;
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
        case Key::Each:
            toggle(view.each);
            break;
        case Key::Range:
            toggle(view.range);
            break;
        case Key::Trend:
            toggle(view.trend);
            break;
        case Key::Quit:
            stop.request();
            break;
        }
    }

    void toggle(bool &column)
    {
        column = !column;
        layout.reset();
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

    QStringList screen(const Terminal::Size &size, bool isLive)
    {
        const int total = layOut(size.columns);
        const QStringList help =
            isLive && size.rows >= RowsForHelp ? wrapped(KeysHelp, size.columns) : QStringList();
        page = std::max(1, size.rows - 1 - int(statusLines(size.columns, 0, total).size() + help.size()));
        top = qBound(0, top, std::max(0, total - page));
        QStringList lines{layout->header()};
        appendRows(lines, isLive);
        lines << statusLines(size.columns, std::min(page, total), total) << help;
        return lines.mid(lines.size() > size.rows ? 1 : 0, size.rows); // the header goes first
    }

    /// Returns the rows of the whole table. What is known from the last time is not found out again.
    int layOut(int columns)
    {
        if (!layout || columns != layoutColumns) {
            layout.emplace(tags, style.format, columns, view, style.isRemote);
            layoutColumns = columns;
            for (Entry &entry : board.entries)
                entry.rows = 0;
        }
        int total = 0;
        for (std::size_t i = 0; i < board.entries.size(); ++i) {
            Entry &entry = board.entries[i];
            if (entry.rows == 0)
                entry.rows = layout->rowCount(tags[i], entry.reading, entry.reason);
            total += entry.rows;
        }
        return total;
    }

    /// The rows from `top` on.
    void appendRows(QStringList &lines, bool colored) const
    {
        int row = 0; // of the first of the entry
        const int bottom = top + page;
        for (std::size_t i = 0; i < board.entries.size() && row < bottom; row += board.entries[i++].rows) {
            const Entry &entry = board.entries[i];
            if (row + entry.rows <= top)
                continue;
            const RowRange range = {std::max(0, top - row), std::min(entry.rows, bottom - row)};
            for (const QString &text : layout->rows(tags[i], entry.reading, entry.reason, marksOf(entry),
                                                    link.now(), entry.statistics, range))
                lines << (colored ? inColor(text, entry.reading.quality) : text);
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

    QStringList statusLines(int columns, int shown, int total) const
    {
        QString status;
        if (const int missing = layout->missingColumns())
            status = QStringLiteral("too narrow: %1 more columns needed; ").arg(missing);
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
    TableView view;
    std::optional<TableLayout> layout; ///< of the view
    int layoutColumns = 0;
    int top = 0;  ///< first row on the screen; the drawing thread's, like the next
    int page = 1; ///< rows on the screen
    std::atomic<bool> terminalGone{false};
    Stop closing;
    std::thread drawer; ///< last, so that it starts when all is there
};

} // namespace

std::unique_ptr<Display> makeTable(const std::vector<Tag> &tags, const TextStyle &style, const Link &link,
                                   const TableView &view, Stop &stop)
{
    return std::make_unique<Table>(tags, style, link, view, stop);
}

} // namespace fgs
