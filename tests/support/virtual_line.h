// A line in virtual time that is opened with one setting after the other.
#ifndef TARN_TESTS_VIRTUAL_LINE_H
#define TARN_TESTS_VIRTUAL_LINE_H

#include "support/fake_controller.h"
#include "support/virtual_link.h"

#include <memory>
#include <set>
#include <string>

/// What is on the line, and what was sent on it.
struct VirtualLine {
    using Time = fgs::Time;

    struct Question {
        std::string link;
        QByteArray bytes;
        Time at;

        int station() const { return int(frames::byteAt(bytes, 0)); }
    };

    QString rightLink;      ///< the stations understand and are understood at these settings alone
    std::set<int> stations; ///< that answer
    FakeController controller{unwritten::pattern};
    bool echoes = false;
    Time answersAfter = std::chrono::milliseconds(5);
    std::function<bool(const QByteArray &question)> loses = [](const QByteArray &) { return false; };
    /// What others say while a link with these settings is open: after how long, and which bytes.
    std::function<std::vector<std::pair<Time, QByteArray>>(const QString &link)> others = [](const QString &) {
        return std::vector<std::pair<Time, QByteArray>>();
    };
    std::function<bool(const QString &link)> refuses = [](const QString &) { return false; };

    /// Has other bytes arrive than an answer, on the link that is in use.
    std::function<void(const QByteArray &bytes)> reply = [](const QByteArray &) {};

    Time clock = std::chrono::seconds(1000);
    std::vector<std::string> opened;
    std::vector<Question> sent;

    /// A link on this line, which outlives it. The last eight characters name the settings: "19200,8E1" has eleven
    /// bits a byte.
    std::unique_ptr<fgs::Link> link(const QString &text);
};

class VirtualLineLink : public VirtualLink
{
public:
    VirtualLineLink(VirtualLine &theLine, const QString &theText) : line(theLine), text(theText)
    {
        clock = line.clock;
        opened = false;
        perByte = byteTimeOf(text);
        onSend = [this](const QByteArray &bytes) { take(bytes); };
    }
    ~VirtualLineLink() override { line.clock = clock; }

    bool open() override
    {
        clock = line.clock;
        refusals = line.refuses(text) ? 1 : 0;
        line.opened.push_back(text.toStdString());
        if (!VirtualLink::open() || refusals || line.refuses(text))
            return opened = false;
        line.reply = [this](const QByteArray &bytes) { arrive(line.answersAfter, bytes); };
        for (const auto &[after, bytes] : line.others(text))
            arrive(after, bytes);
        return true;
    }

private:
    static Time byteTimeOf(const QString &text)
    {
        const int colon = int(text.lastIndexOf(QLatin1Char(':')));
        const int comma = int(text.lastIndexOf(QLatin1Char(',')));
        if (comma < 0)
            return Time(0);
        const int bits = text.mid(comma + 2, 1) == QLatin1String("N") ? 10 : 11;
        return Time(std::chrono::seconds(1)) * bits / text.mid(colon + 1, comma - colon - 1).toInt();
    }

    void take(const QByteArray &bytes)
    {
        line.sent.push_back({text.toStdString(), bytes, clock});
        if (line.echoes)
            arrive(Time(0), bytes);
        const bool isHeard = text == line.rightLink && line.stations.count(line.sent.back().station()) != 0;
        if (isHeard && !line.loses(bytes))
            arrive(line.answersAfter, line.controller.answer(bytes));
    }

    VirtualLine &line;
    const QString text;
};

inline std::unique_ptr<fgs::Link> VirtualLine::link(const QString &text)
{
    return std::make_unique<VirtualLineLink>(*this, text);
}

#endif
