#include "prober.h"

#include "host/text_error.h"

#include <algorithm>

namespace fgs
{

namespace
{

const int HeadSize = EntriesAt + ReplyHeaderSize;
const int QuestionSize = EntriesAt + RequestEntrySize + CrcSize;
const int AnswerSize = HeadSize + 2 + CrcSize;
const Time LeastSilence = 2ms; ///< before a question; at least four byte times are kept

QByteArray questionFor(int station, const Variable &place, int address)
{
    const int bytes[] = {station, ReadCommand, 1, areaOf(place.area)->code, 1, address & 0xFF, address >> 8};
    QByteArray frame;
    for (const int byte : bytes)
        frame.append(static_cast<char>(byte));
    const int check = checkCode({frame.constData(), int(frame.size())});
    frame.append(static_cast<char>(check & 0xFF));
    frame.append(static_cast<char>(check >> 8));
    return frame;
}

Time silenceBefore(const Link &link)
{
    return std::max(LeastSilence, 4 * link.byteTime());
}

/// From the first byte of the question on.
Time answerLimit(const Link &link, const ProbeSettings &probe)
{
    return probe.patience + (QuestionSize + AnswerSize) * link.byteTime();
}

/// How often the question itself, and other answers to it, are in what came.
struct Count {
    int alike = 0;
    int other = 0;
};

Count count(const QByteArray &question, const QByteArray &received)
{
    Count found;
    for (int at = 0; at + AnswerSize <= received.size();) {
        const QByteArray frame = received.mid(at, AnswerSize);
        const bool isAnswer =
            frame.startsWith(question.left(HeadSize)) && hasGoodCheck({frame.constData(), AnswerSize});
        if (isAnswer)
            ++(frame == question ? found.alike : found.other);
        at += isAnswer ? AnswerSize : 1;
    }
    return found;
}

} // namespace

Variable parseProbe(const QString &text)
{
    const Variable place = parseVariable(text);
    if (text.contains(QLatin1Char('@')) || place.count != 1 || areaOf(place.area)->kind != AreaKind::Word)
        throw TextError(
            QStringLiteral("probe '%1': must be one word without a station, for example 5:0").arg(text));
    return place;
}

Time questionLimit(const Link &link, const ProbeSettings &probe)
{
    return silenceBefore(link) + answerLimit(link, probe);
}

Answer Prober::ask(int station)
{
    Exchange first = exchange(station, probe.place.address);
    if (first.isAlike) {
        echoes = isEcho(station);
        first.answer.kind = link.isEnded() || !link.isOpen() ? Answer::Ended
                            : *echoes                        ? Answer::Silence
                                                             : Answer::Good;
    }
    return first.answer;
}

/// Whether questions for other words come back too.
bool Prober::isEcho(int station)
{
    return exchange(station, probe.place.address ^ 1).isAlike && exchange(station, probe.place.address ^ 2).isAlike;
}

Prober::Exchange Prober::exchange(int station, int address)
{
    Exchange result;
    if (!waitForSilence() || !converse(questionFor(station, probe.place, address), result))
        result.answer.kind = Answer::Ended;
    return result;
}

/// Or for as long as an answer may take. False: the link is lost, or has ended.
bool Prober::waitForSilence()
{
    const Time last = link.now() + answerLimit(link, probe);
    char bytes[256];
    int size = 1;
    while (size > 0 && link.now() < last)
        size = link.receive(bytes, int(sizeof bytes), link.now() + silenceBefore(link));
    return size >= 0 && !link.isEnded();
}

/// False: the link is lost, or has ended.
bool Prober::converse(const QByteArray &question, Exchange &result)
{
    const Time start = link.now(), deadline = start + answerLimit(link, probe);
    if (!link.send(question.constData(), int(question.size())))
        return false;
    QByteArray received;
    char bytes[256];
    for (int size; (size = link.receive(bytes, int(sizeof bytes), deadline)) != 0;) {
        if (size < 0)
            return false;
        received.append(bytes, size);
        if (judge(question, received)) {
            result.answer = {Answer::Good, link.now() - start};
            return true;
        }
    }
    if (received.isEmpty() && !echoes && !link.isEnded())
        echoes = false;
    result.isAlike = !echoes && count(question, received).alike == 1;
    result.answer = {received.isEmpty() || received == question ? Answer::Silence : Answer::Garbled,
                     link.now() - start};
    return !link.isEnded();
}

/// Whether the answer is there.
bool Prober::judge(const QByteArray &question, const QByteArray &received)
{
    const Count found = count(question, received);
    if (found.alike + found.other == 0)
        return false;
    if (!echoes && found.alike + found.other > 1)
        echoes = found.alike > 0;
    if (!echoes && found.alike == 0)
        echoes = false;
    return echoes && found.alike + found.other > (*echoes ? 1 : 0);
}

} // namespace fgs
