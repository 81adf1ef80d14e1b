// Rows, summaries and messages, as text and as JSON.
#ifndef FGS_TOOL_OUTPUT_H
#define FGS_TOOL_OUTPUT_H

#include "host/host.h"
#include "values.h"

#include <QtCore/QJsonObject>

namespace fgs
{

/// A variable as it stands now.
struct Row {
    Variable variable;
    Age age;
    std::vector<quint32> values; ///< empty unless age.isKnown()

    bool operator==(const Row &other) const; ///< the same values, and known or failing alike
};

Row rowOf(const Host &host, const Variable &variable);

/// The values, or "-" and the reason; values whose last reading failed with the reason.
QString contentText(const Row &row, Format format);
/// Place as typed and on the wire, and content: "5:100x2@1  word  wire 0x08:100  4660 22136".
QString rowText(const Row &row, Format format);
QJsonObject rowJson(const Row &row, Format format, Time now);

QString summaryText(const Statistics &statistics, Time elapsed, Time timeout);
QJsonObject summaryJson(const Statistics &statistics, Time elapsed);

/// "1.234"
QString seconds(Time time);

void printLine(const QString &line);       ///< to stdout
void printJson(const QJsonObject &json);   ///< the same, as one line
void printMessage(const QString &message); ///< to stderr
/// 0, or once stdout takes nothing any more the errno that tells why.
int flushOutput();

} // namespace fgs

#endif
