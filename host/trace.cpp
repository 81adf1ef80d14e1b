#include "trace.h"

#include "frame_text.h"

namespace fgs
{

namespace
{

QString hex(FrameView bytes)
{
    return QString::fromLatin1(QByteArray(bytes.bytes, bytes.size).toHex(' ').toUpper());
}

QString meaning(const TraceEntry &entry)
{
    if (entry.event == TraceEntry::Sent)
        return describeRequest(entry.bytes);
    if (entry.event == TraceEntry::Stray)
        return QStringLiteral("thrown away: came without a question");
    if (entry.outcome != Outcome::Good)
        return QString::fromLatin1(nameOf(entry.outcome));
    if (entry.bytes.size == 0)
        return QStringLiteral("none expected");
    const FrameView reply = entry.bytes.from(entry.replyAt);
    const QString skipped = QStringLiteral("%1 bytes skipped; ").arg(entry.replyAt);
    return (entry.replyAt ? skipped : QString()) +
           (entry.asked.isEmpty() ? describeReply(reply)
                                  : describeRemoteReply(reply, {entry.asked.constData(), int(entry.asked.size())}));
}

} // namespace

QString describe(const TraceEntry &entry)
{
    const QString mark = entry.event == TraceEntry::Sent ? QStringLiteral(">") : QStringLiteral("<");
    const QString bytes = entry.bytes.size ? hex(entry.bytes) : QStringLiteral("-");
    return QStringLiteral("%1 %2  %3").arg(mark, bytes, meaning(entry));
}

} // namespace fgs
